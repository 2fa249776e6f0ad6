#include "gs/filespec/GSFileSpec.h"
#include "gs/util/GSRandom.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

namespace {

std::string str(GSString const& s) { return s.c_str(); }

} // namespace

TEST(GSFileSpecNames, ExtensionIsFromTheLastDotBehindTheLastDivider)
{
    struct Case {
        char const* name;
        long position;
        char const* extender;
    } const cases[] = {
        {"pic.jpg", 3, ".jpg"},
        {"archive.tar.gz", 11, ".gz"},
        {"/a.b/pic", 8, ""},        // the only dot is in a folder name
        {"/a.b/pic.x", 8, ".x"},
        {"/home/.profile", 6, ".profile"},
        {"noext", 5, ""},
        {"trailing.", 8, "."},
        {"", 0, ""},
    };
    for (auto const& c : cases) {
        GSString const name(c.name);
        EXPECT_EQ(GSFileSpec::getExtenderPositionForFilename(name), c.position) << c.name;
        EXPECT_EQ(str(GSFileSpec::getExtenderForFilename(name)), c.extender) << c.name;
    }

    struct Change {
        char const* name;
        char const* extender;
        char const* result;
    } const changes[] = {
        {"pic.jpg", ".png", "pic.png"},
        {"pic", ".png", "pic.png"},
        {"pic.jpg", "", "pic"},
        {"/a.b/pic", ".c", "/a.b/pic.c"},
    };
    for (auto const& c : changes) {
        GSString name(c.name);
        ASSERT_EQ(GSFileSpec::setExtenderOfFilename(GSString(c.extender), &name), 0);
        EXPECT_EQ(str(name), c.result) << c.name << " + " << c.extender;
    }
}

TEST(GSFileSpecNames, ExtensionListsDropTheirTypePartsAndCompareCaseless)
{
    struct Case {
        char const* list;
        char const* withoutTypes;
        char const* first;
    } const cases[] = {
        {"*.jpg:JPEG;*.png:PNGf;", "*.jpg;*.png;", ".jpg"},
        {"*.jpg;*.jpeg", "*.jpg;*.jpeg", ".jpg"},
        {"a:b:c;d", "a;d", "a"},       // two ":" parts before one ";"
        {"*.txt:TEXT", "*.txt", ".txt"}, // a ":" part without ";" runs to the end
        {":x;*.a", ";*.a", ""},
        {".raw", ".raw", ".raw"},
        {"**.x", "**.x", "*.x"},       // only one leading star goes
        {"", "", ""},
    };
    for (auto const& c : cases) {
        EXPECT_EQ(str(GSFileSpec::getExtenderListFromString(GSString(c.list))), c.withoutTypes) << c.list;
        EXPECT_EQ(str(GSFileSpec::getExtenderFromString(GSString(c.list))), c.first) << c.list;
    }

    struct Equal {
        char const* a;
        long lengthA;
        char const* b;
        long lengthB;
        bool equal;
    } const equals[] = {
        {"*.JPG", 5, ".jpg", 4, true},
        {".jpg", 4, "*.Jpg", 5, true},
        {"*.jpg", 5, "*.jpg", 5, true},
        {".jpg", 4, ".jpeg", 5, false},
        {".jpgX", 4, ".JPGY", 4, true}, // only the given lengths count
        {"**.a", 4, ".a", 2, false},
        {"*", 1, "", 0, true}, {"", 0, "*", 0, true}, // a star beyond the length is not there
        {".jpg", 4, ".jpf", 4, false},
    };
    for (auto const& e : equals)
        EXPECT_EQ(GSFileSpec::extendersAreEqual(e.a, e.lengthA, e.b, e.lengthB), e.equal) << e.a << " " << e.b;

    GSString const list("*.jpg:JPEG;*.PNG:PNGf;;.tif");
    EXPECT_TRUE(GSFileSpec::isExtenderInList(GSString(".png"), list));
    EXPECT_TRUE(GSFileSpec::isExtenderInList(GSString(".JPG"), list));
    EXPECT_TRUE(GSFileSpec::isExtenderInList(GSString(".tif"), list)); // the last item, without ";"
    EXPECT_FALSE(GSFileSpec::isExtenderInList(GSString(".gif"), list));
    EXPECT_FALSE(GSFileSpec::isExtenderInList(GSString(""), list)); // the empty item matches nothing
    EXPECT_FALSE(GSFileSpec::isExtenderInList(GSString(".JPEG"), list)); // the type is no extension
}

TEST(GSFileSpecNames, CorrectFilenameBlanksForbiddenCharactersAndTheDividerUnlessAllowed)
{
    struct Case {
        char const* name;
        int flags;
        char const* corrected;
    } const cases[] = {
        {"a*b\"c?d<e>f|g:h/i", 0, "a b c d e f g h i"},
        {"a*b\"c?d<e>f|g:h/i", 1, "a b c d e f g h/i"},
        {"a*b/c", 2, "a b c"}, // only bit 0 keeps the divider
        {"fine name.txt", 0, "fine name.txt"},
        {"Grüße/März", 0, "Grüße März"},
    };
    for (auto const& c : cases) {
        GSString name(c.name);
        ASSERT_EQ(GSFileSpec::correctFilename(&name, c.flags), 0);
        EXPECT_EQ(str(name), c.corrected) << c.name << " flags " << c.flags;
    }
}

// The name rule against its own computation of the generator (state * 1103515245 + 12345 modulo
// 2^32, the value the state shifted right by one) from several seeds.
TEST(GSFileSpecNames, TemporaryNamesFollowTheGeneratorModulo36)
{
    for (int seed : {0, 1, 4385737, -7, 123456789}) {
        GSRandomSetSeed(seed);
        std::uint32_t state = static_cast<std::uint32_t>(seed);
        for (int round = 0; round < 20; ++round) {
            std::string expected = "tmp";
            for (int i = 0; i < 10; ++i) {
                state = state * 1103515245u + 12345u;
                int const v = static_cast<int>(state >> 1) % 36;
                expected += static_cast<char>(v < 10 ? '0' + v : 'a' + v - 10);
            }
            ASSERT_EQ(str(GSFileSpec::getTemporaryFilename()), expected) << "seed " << seed << " round " << round;
        }
    }
}

TEST(GSFileSpecNames, NaturalOrderInPathModeAndTheDivider)
{
    // Path mode: the shorter text before a number comes first (else the two would be equal).
    EXPECT_LT(GSFileSpec::compareFilenameWithNumberCaseless(GSString("ab1"), GSString("abc1")), 0);

    int length = 0;
    EXPECT_EQ(GSFileSpec::getPathDividerChar(&length), '/');
    EXPECT_EQ(length, 1);
}
