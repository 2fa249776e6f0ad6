#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSStringDictionaryKey.h"

#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

// The shortcut must agree with compareValue everywhere. Texts are made of characters that have
// several spellings (é composed, decomposed, or as the Mac code page's byte), ASCII letters in both
// cases, a lone combining accent and stray bytes (\x8E is é in the Mac code page but a stray byte
// in UTF-8); half of the pairs spell the same characters twice.
TEST(GSStringDictionaryKeyText, EqualityAgreesWithCompareValue)
{
    struct Character {
        char const* utf8[2];
        char const* mac; // null: none
    };
    Character const characters[] = {{{"a", "a"}, "a"},        {{"A", "A"}, "A"},     {{"e", "e"}, "e"},
                                    {{"\xC3\xA9", "e\xCC\x81"}, "\x8E"}, {{"\xCC\x81", "\xCC\x81"}, nullptr},
                                    {{"\x8E", "\x8E"}, nullptr}, {{"\x80", "\x80"}, nullptr}, {{"\xFF", "\xFF"}, nullptr}};
    std::mt19937 rng(17);
    auto spell = [&](std::vector<int> const& word) {
        bool mac = rng() % 3 == 0;
        for (int c : word)
            mac = mac && characters[c].mac;
        std::string s;
        for (int c : word)
            s += mac ? characters[c].mac : characters[c].utf8[rng() % 2];
        return GSString(s.c_str(), static_cast<long>(s.size()), mac ? GSString::kMac : GSString::kUTF8);
    };
    auto word = [&] {
        std::vector<int> w(rng() % 4);
        for (int& c : w)
            c = static_cast<int>(rng() % 8);
        return w;
    };
    int equalButDifferentBytes = 0;
    for (int i = 0; i < 20000; ++i) {
        std::vector<int> const w = word();
        GSString const a = spell(w);
        GSString const b = spell(rng() % 2 ? w : word());
        bool const expected = a.compareValue(b) == 0;
        ASSERT_EQ(GSStringDictionaryKey::isEqualText(a, b), expected) << a.c_str() << " | " << b.c_str();
        equalButDifferentBytes += expected && !(a == b);
    }
    EXPECT_GT(equalButDifferentBytes, 500); // the inputs do reach the slow comparison
}

TEST(GSDictionaryKey, EqualOnlyWithinOneClass)
{
    GSStringDictionaryKey const a(GSString("5")), a2(GSString("5")), b(GSString("6"));
    GSLongDictionaryKey const five(5), five2(5), six(6);
    EXPECT_TRUE(a == a2);
    EXPECT_FALSE(a == b);
    EXPECT_TRUE(five == five2);
    EXPECT_FALSE(five == six);
    GSObjectDictionaryKey const& text = a;
    GSObjectDictionaryKey const& number = five;
    EXPECT_FALSE(text == number);
    EXPECT_FALSE(number == text);
}
