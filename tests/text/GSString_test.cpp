#include "gs/text/GSString.h"

#include "gs/object/GSArrayMemory.h"

#include "tests/text/TextTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cctype>
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

namespace {

// The model of replaceStringInString (words: of replaceAllWords) on ASCII text.
std::string modelReplace(std::string const& s, std::string const& what, std::string const& with, bool words)
{
    auto inWord = [&](size_t i) { return i < s.size() && (std::isalnum(static_cast<unsigned char>(s[i])) || s[i] == '_'); };
    std::string out;
    for (size_t i = 0; i < s.size();) {
        bool const whole = !words || (!(i > 0 && inWord(i - 1)) && !inWord(i + what.size()));
        if (!what.empty() && s.compare(i, what.size(), what) == 0 && whole) {
            out += with;
            i += what.size();
        } else {
            out += s[i++];
        }
    }
    return out;
}

std::string modelTrim(std::string s, std::string const& set)
{
    s.erase(0, std::min(s.find_first_not_of(set), s.size()));
    return s.erase(s.find_last_not_of(set) + 1);
}

} // namespace

// Random edits of a few strings, compared with std::string after every step; allocations fail at
// random, and a failure must leave an empty string and status 1, never a crash or a change to a
// string that shares the block. Outside the failing stretches every edit must succeed.
TEST(GSStringStorage, BehavesLikeStdStringUnderRandomEditsAndFailures)
{
    std::mt19937 random(7);
    failRandom = &random;
    std::vector<GSString> strings(4);
    std::vector<std::string> model(4);
    static char const pool[] = "the quick brown fox jumps over the lazy dog, 0123456789 times over\t \n the_end";
    static char const* const pieces[] = {"", "o", "over", "the", " ", "ov", "the the", "x_y"};
    auto piece = [&] { return std::string(pieces[random() % 8]); };
    std::string const whiteSpace("\3\7\t\n\f\r ", 7);
    for (int step = 0; step < 30000; ++step) {
        bool const failing = step % 1000 >= 700;
        GSSetArrayAllocationHook(failing ? failSometimes : nullptr);
        size_t const i = random() % 4, j = random() % 4;
        std::string& m = model[i];
        GSString& s = strings[i];
        // Applies the model's edit when the string's edit succeeded; a failure empties both.
        auto check = [&](short status, auto edit) {
            ASSERT_TRUE(status == 0 || failing) << "step " << step;
            if (status == 0)
                edit();
            else
                m.clear();
        };
        switch (m.size() > 600 ? 5 : random() % 16) {
        case 0: {
            long const from = random() % 40, n = random() % 30;
            check(s.add(pool + from, n), [&] { m.append(pool + from, static_cast<size_t>(n)); });
            break;
        }
        case 1:
            s = strings[j];
            m = model[j];
            break;
        case 2: { // part of itself
            long const length = s.getLength();
            long const from = length ? random() % length : 0;
            std::string const part = m.substr(static_cast<size_t>(from));
            check(s.add(s.c_str() + from, length - from), [&] { m += part; });
            break;
        }
        case 3:
            check(s.setSize(random() % 200), [] {});
            break;
        case 4:
            s = strings[j].getSubstring(3, 50);
            m = s.isEmpty() ? "" : model[j].substr(std::min<size_t>(3, model[j].size()), 50);
            break;
        case 5: // keeps the texts short
            if (m.size() > 300) {
                s.releaseData();
                m.clear();
            }
            break;
        case 6: { // insert, also of the string itself
            long const at = static_cast<long>(random() % (m.size() + 3)) - 1;
            std::string const text = model[j];
            check(s.insert(at, strings[j]), [&] { m.insert(std::clamp<size_t>(at < 0 ? 0 : at, 0, m.size()), text); });
            break;
        }
        case 7: {
            long const at = static_cast<long>(random() % (m.size() + 3)) - 1;
            long const n = static_cast<long>(random() % 40) - 5;
            check(s.remove(at, n), [&] {
                size_t const start = std::min<size_t>(at < 0 ? 0 : at, m.size());
                m.erase(start, n < 0 ? std::string::npos : static_cast<size_t>(n));
            });
            break;
        }
        case 8: {
            char const from = pool[random() % 20], to = pool[random() % 20];
            check(s.replaceChar(from, to), [&] { std::replace(m.begin(), m.end(), from, to); });
            break;
        }
        case 9:
        case 10: { // the replacement may be a string that shares the block, or this one itself
            bool const other = model[j].size() < 40;
            std::string const what = piece(), with = other ? model[j] : piece();
            GSString const plain(with.c_str());
            check(s.replaceStringInString(what.c_str(), other ? strings[j] : plain), [&] { m = modelReplace(m, what, with, false); });
            break;
        }
        case 11: {
            std::string const word = piece(), with = piece();
            check(s.replaceAllWords(word.c_str(), with.c_str()), [&] { m = modelReplace(m, word, with, true); });
            break;
        }
        case 12:
            check(s.trim(), [&] { m = modelTrim(m, whiteSpace); });
            break;
        case 13: {
            char const c = pool[random() % 20];
            switch (random() % 3) {
            case 0:
                check(s.trimChar(c), [&] { m = modelTrim(m, std::string(1, c)); });
                break;
            case 1:
                check(s.removeLeadingChar(c), [&] { m.erase(0, std::min(m.find_first_not_of(c), m.size())); });
                break;
            default:
                check(s.removeTrailingChar(c), [&] { m.erase(m.find_last_not_of(c) + 1); });
                break;
            }
            break;
        }
        case 14:
            if (random() % 2)
                check(s.toUpper(), [&] { for (char& c : m) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c))); });
            else
                check(s.toLower(), [&] { for (char& c : m) c = static_cast<char>(std::tolower(static_cast<unsigned char>(c))); });
            break;
        case 15: {
            size_t const k = random() % 4;
            std::string const sum = model[j] + model[k];
            s = strings[j] + strings[k];
            m = failing && s.isEmpty() ? "" : sum;
            break;
        }
        }
        if (testing::Test::HasFatalFailure())
            return;
        for (size_t k = 0; k < 4; ++k)
            ASSERT_EQ(bytes(strings[k]), model[k]) << "step " << step;
        ASSERT_EQ(s.c_str()[s.getLength()], 0);
    }
    GSSetArrayAllocationHook(nullptr);
}
