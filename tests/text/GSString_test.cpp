#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

using texttest::bytes;

namespace {

std::mt19937* failRandom = nullptr;
bool failSometimes(size_t) { return (*failRandom)() % 8 != 0; }

} // namespace

TEST(GSStringStorage, ModesAndSizes)
{
    std::string const inlineMost(46, 'a');
    GSString empty;
    EXPECT_EQ(empty.getStorageMode(), GSString::kShared);
    EXPECT_EQ(empty.getSize(), 0);
    EXPECT_EQ(empty.getEncoding(), GSString::kUTF8);

    GSString small(inlineMost.c_str());
    EXPECT_EQ(small.getStorageMode(), GSString::kInline);
    EXPECT_EQ(small.getSize(), 47);
    EXPECT_EQ(bytes(small), inlineMost);

    GSString large((inlineMost + "b").c_str());
    EXPECT_EQ(large.getStorageMode(), GSString::kShared);
    EXPECT_GE(large.getSize(), 48);

    // A reservation below 48 characters changes nothing; above it asks for 2n + 2 bytes.
    EXPECT_EQ(small.setSize(47), 0);
    EXPECT_EQ(small.getStorageMode(), GSString::kInline);
    EXPECT_EQ(small.setSize(100), 0);
    EXPECT_EQ(small.getStorageMode(), GSString::kShared);
    EXPECT_EQ(small.getSize(), 202);
    EXPECT_EQ(bytes(small), inlineMost);

    EXPECT_EQ(GSString::calcNewSize(15), 31);
    EXPECT_EQ(GSString::calcNewSize(16), 32);

    // A string that already has a block keeps using blocks, also for short text.
    GSString sharer(large);
    EXPECT_EQ(large.add("c", 1), 0);
    EXPECT_EQ(large.getStorageMode(), GSString::kShared);
}

TEST(GSStringStorage, CopiesShareTheBlockAndWritesCopyIt)
{
    std::string const long1(100, 'x');
    GSString a(long1.c_str());
    GSString b(a);
    GSString c;
    c = b;
    EXPECT_EQ(a.c_str(), b.c_str()); // the same block
    EXPECT_EQ(a.c_str(), c.c_str());
    EXPECT_EQ(b.add("!", 1), 0);
    EXPECT_NE(a.c_str(), b.c_str());
    EXPECT_EQ(bytes(a), long1);
    EXPECT_EQ(bytes(c), long1);
    EXPECT_EQ(bytes(b), long1 + "!");
    c = c; // self-assignment changes nothing
    EXPECT_EQ(bytes(c), long1);
}

TEST(GSStringStorage, FixedTextIsCountedOnceAndCopiedBeforeAChange)
{
    char outside[] = "abc\0ef";
    GSString f = GSString::fixed(outside, GSString::kMac);
    EXPECT_EQ(f.getStorageMode(), GSString::kFixed);
    EXPECT_EQ(f.c_str(), outside);
    outside[3] = 'd'; // not counted yet: the new terminator position is found
    EXPECT_EQ(f.getLength(), 6);
    EXPECT_EQ(f.getSize(), 7);
    outside[3] = 0; // counted now: the cached length stays
    EXPECT_EQ(f.getLength(), 6);
    outside[3] = 'd';
    GSString copy(f);
    EXPECT_EQ(copy.c_str(), outside);
    EXPECT_EQ(f.add("g", 1), 0);
    EXPECT_EQ(bytes(f), "abcdefg");
    EXPECT_EQ(f.getEncoding(), GSString::kMac);
    EXPECT_STREQ(outside, "abcdef");
    // Copying fixed text that needs a block can fail like any allocation: empty, status 1.
    std::string const longText(100, 'x');
    GSString g = GSString::fixed(longText.c_str());
    GSSetArrayAllocationHook([](size_t) { return false; });
    EXPECT_EQ(g.add("y", 1), 1);
    GSSetArrayAllocationHook(nullptr);
    EXPECT_TRUE(g.isEmpty());
}

TEST(GSStringStorage, ConstructionRules)
{
    struct Case { char const* what; GSString s; std::string bytes; int encoding; } const cases[] = {
        {"null text", GSString(nullptr, 5, 0), "", 0},
        {"length 0", GSString("abc", 0, 0), "", 0},
        {"negative length runs to the terminator", GSString("abc", -1, 0), "abc", 0},
        {"exact length keeps zero bytes", GSString("a\0b", 3, 100), std::string("a\0b", 3), 100},
        {"negative encoding is Mac", GSString("a", 1, -1), "a", 1},
        {"detection: valid UTF-8", GSString("\xC3\xA9", 2, -2), "\xC3\xA9", 100},
        {"detection: not UTF-8", GSString("\xE9", 1, -2), "\xE9", 1},
    };
    for (auto const& c : cases) {
        SCOPED_TRACE(c.what);
        EXPECT_EQ(bytes(c.s), c.bytes);
        EXPECT_EQ(c.s.getEncoding(), c.encoding);
    }
    GSString s("hello");
    EXPECT_EQ(s.init(s.c_str() + 1, 3, 100), 0); // from its own text
    EXPECT_EQ(bytes(s), "ell");
    EXPECT_EQ(bytes(s.getSubstring(-4, 2)), "el");
    EXPECT_EQ(bytes(s.getSubstring(2, 99)), "l");
}

TEST(GSStringStorage, AppendsAsUTF8)
{
    GSString s;
    for (unsigned c : {0x41u, 0xE9u, 0x20ACu, 0x1F600u, 0x200000u, 0x7FFFFFFFu})
        EXPECT_EQ(s.addUnicodeChar(c), 0);
    EXPECT_EQ(bytes(s), "A\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xF8\x88\x80\x80\x80\xFD\xBF\xBF\xBF\xBF\xBF");
}

// Random edits of a few strings, compared with std::string after every step; allocations fail at
// random, and a failure must leave an empty string and status 1, never a crash or a change to a
// string that shares the block.
TEST(GSStringStorage, BehavesLikeStdStringUnderRandomEditsAndFailures)
{
    std::mt19937 random(7);
    failRandom = &random;
    std::vector<GSString> strings(4);
    std::vector<std::string> model(4);
    static char const pool[] = "the quick brown fox jumps over the lazy dog, 0123456789 times over";
    for (int step = 0; step < 20000; ++step) {
        bool const failing = step % 1000 >= 700;
        GSSetArrayAllocationHook(failing ? failSometimes : nullptr);
        size_t const i = random() % 4, j = random() % 4;
        switch (random() % 6) {
        case 0: {
            long const from = random() % 40, n = random() % 30;
            if (strings[i].add(pool + from, n) == 0)
                model[i].append(pool + from, static_cast<size_t>(n));
            else
                model[i].clear();
            break;
        }
        case 1:
            strings[i] = strings[j];
            model[i] = model[j];
            break;
        case 2: { // part of itself
            long const length = strings[i].getLength();
            long const from = length ? random() % length : 0;
            std::string const part = model[i].substr(static_cast<size_t>(from));
            if (strings[i].add(strings[i].c_str() + from, length - from) == 0)
                model[i] += part;
            else
                model[i].clear();
            break;
        }
        case 3:
            if (strings[i].setSize(random() % 200) != 0)
                model[i].clear();
            break;
        case 4:
            strings[i] = strings[j].getSubstring(3, 50);
            model[i] = strings[i].isEmpty() ? "" : model[j].substr(std::min<size_t>(3, model[j].size()), 50);
            break;
        case 5:
            if (model[i].size() > 300) {
                strings[i].releaseData();
                model[i].clear();
            }
            break;
        }
        for (size_t k = 0; k < 4; ++k)
            ASSERT_EQ(bytes(strings[k]), model[k]) << "step " << step;
        ASSERT_EQ(strings[i].c_str()[strings[i].getLength()], 0);
    }
    GSSetArrayAllocationHook(nullptr);
}
