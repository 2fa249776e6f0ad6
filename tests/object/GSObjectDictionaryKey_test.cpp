#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSStringDictionaryKey.h"

#include <gtest/gtest.h>

#include <random>
#include <string>

// The shortcut must agree with compareValue everywhere: texts made of pieces that compare equal in
// different bytes (a composed and a decomposed é, a Mac-code-page é), ASCII letters in both cases,
// and a lone combining accent, under the UTF-8 and the Mac tag.
TEST(GSStringDictionaryKeyText, EqualityAgreesWithCompareValue)
{
    std::mt19937 rng(17);
    char const* const utf8Pieces[] = {"a", "b", "A", "\xC3\xA9", "e\xCC\x81", "\xCC\x81", "e"};
    char const* const macPieces[] = {"a", "b", "A", "\x8E", "e"};
    auto text = [&] {
        bool const mac = rng() % 4 == 0;
        std::string s;
        for (unsigned n = rng() % 4; n > 0; --n)
            s += mac ? macPieces[rng() % 5] : utf8Pieces[rng() % 7];
        return GSString(s.c_str(), static_cast<long>(s.size()), mac ? GSString::kMac : GSString::kUTF8);
    };
    int equalButDifferentBytes = 0;
    for (int i = 0; i < 20000; ++i) {
        GSString const a = text();
        GSString const b = text();
        bool const expected = a.compareValue(b) == 0;
        ASSERT_EQ(GSStringDictionaryKey::isEqualText(a, b), expected) << a.c_str() << " | " << b.c_str();
        equalButDifferentBytes += expected && !(a == b);
    }
    EXPECT_GT(equalButDifferentBytes, 50); // the inputs do reach the slow comparison
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
