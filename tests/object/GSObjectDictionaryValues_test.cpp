#include "gs/object/GSObjectDictionary.h"

#include "gs/filespec/GSFileSpec.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>

using namespace qmtest;

namespace {

GSString text(char const* s) { return GSString(s); }

bool sameNumber(double a, double b) { return (std::isnan(a) && std::isnan(b)) || a == b; }

} // namespace

// One value of each class under its own key: each typed getter finds its own class only, exactly.
TEST(GSObjectDictionaryGetters, TypedGettersTakeExactlyTheirClass)
{
    GSObjectDictionary d;
    GSObjectDictionary const inner(text("i"), 4);
    int marker = 0;
    ASSERT_EQ(d.addLongValue(text("long"), 1) | d.addULongValue(text("ulong"), 2) | d.addPointerValue(text("pointer"), &marker) |
                  d.addFloatValue(text("float"), 4.5f) | d.addDoubleValue(text("double"), 5.5) |
                  d.addStringValue(text("string"), text("six")) | d.addFileSpecValue(text("spec"), GSFileSpec(text("/7"))) |
                  d.addDictionaryValue(text("dict"), inner) | d.addBufferValue(text("buffer"), arrayOf<unsigned char>({9})) |
                  d.addFloatArrayValue(text("floats"), 1, std::vector<float>{10.5f}.data()) |
                  d.addLongArrayValue(text("longs"), 1, std::vector<int>{11}.data()),
              0);
    // Each getter: its key, and whether it gave its default for a key.
    std::pair<char const*, std::function<bool(GSString const&)>> const getters[] = {
        {"long", [&](GSString const& k) { return d.getLongValue(k, -1) == -1; }},
        {"ulong", [&](GSString const& k) { return d.getULongValue(k, 99u) == 99u; }},
        {"pointer", [&](GSString const& k) { return d.getPointerValue(k, nullptr) == nullptr; }},
        {"float", [&](GSString const& k) { return d.getFloatValue(k, -1.0f) == -1.0f; }},
        {"double", [&](GSString const& k) { return d.getDoubleValue(k, -1.0) == -1.0; }},
        {"string", [&](GSString const& k) { return d.getStringValue(k, text("none")) == text("none"); }},
        {"spec", [&](GSString const& k) { return !d.getFileSpecValue(k, GSFileSpec()).isValid(); }},
        {"dict", [&](GSString const& k) { return d.getDictionaryValue(k, GSObjectDictionary()).getCount() == 0; }},
        {"buffer", [&](GSString const& k) { return d.getBufferValue(k).isEmpty(); }},
        {"floats", [&](GSString const& k) { return d.getFloatArrayValue(k).isEmpty(); }},
        {"longs", [&](GSString const& k) { return d.getLongArrayValue(k).isEmpty(); }},
    };
    for (auto const& [own, gaveDefault] : getters)
        for (auto const& [key, unused] : getters)
            EXPECT_EQ(gaveDefault(text(key)), std::string(own) != key) << own << " getter, key " << key;
    EXPECT_EQ(d.getULongValue(text("ulong"), 0), 2u);
    EXPECT_EQ(d.getPointerValue(text("pointer"), nullptr), &marker);
    EXPECT_EQ(d.getFileSpecValue(text("spec"), GSFileSpec()), GSFileSpec(text("/7")));
    EXPECT_EQ(d.getDictionaryValue(text("dict"), GSObjectDictionary()).getLongValue(text("i"), 0), 4);
    EXPECT_EQ(d.getFloatArrayValue(text("floats"))[0], 10.5f);
    EXPECT_EQ(d.getObjectValue(text("nothing"), d.getValue(nullptr)), nullptr);
    EXPECT_NE(d.getObjectValue(text("string"), nullptr), nullptr);
}

// The tolerant numeric getters over every kind of stored value, with defaults no result can be by
// accident: the long getter's -7, the double's -0.5, the float's -0.25, the bool's 5 (the unsigned
// getter's default, 9, must never come back).
TEST(GSObjectDictionaryGetters, TolerantNumbersConvertRoundAndKeepTheirSentinels)
{
    double const nan = std::numeric_limits<double>::quiet_NaN();
    struct Case {
        char const* name;
        std::function<short(GSObjectDictionary&)> store;
        int asLong;
        unsigned asULong;
        double asDouble;
        float asFloat;
        short asBool;
    } const cases[] = {
        {"missing", [](auto&) { return short(0); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"long 7", [](auto& d) { return d.addLongValue(text("v"), 7); }, 7, 7, 7.0, 7.0f, 1},
        {"long 0", [](auto& d) { return d.addLongValue(text("v"), 0); }, 0, 0, 0.0, 0.0f, 0},
        {"long 2", [](auto& d) { return d.addLongValue(text("v"), 2); }, 2, 2, 2.0, 2.0f, 5},
        {"long sentinel", [](auto& d) { return d.addLongValue(text("v"), INT_MIN); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"ulong max", [](auto& d) { return d.addULongValue(text("v"), 0xFFFFFFFFu); }, -1, 0xFFFFFFFFu, 4294967295.0,
         4294967296.0f, 1},
        {"ulong sentinel", [](auto& d) { return d.addULongValue(text("v"), 0x80000000u); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"double 2.5", [](auto& d) { return d.addDoubleValue(text("v"), 2.5); }, 2, 2, 2.5, 2.5f, 5},
        {"double 2.51", [](auto& d) { return d.addDoubleValue(text("v"), 2.51); }, 3, 3, 2.51, 2.51f, 1},
        {"double -2.5", [](auto& d) { return d.addDoubleValue(text("v"), -2.5); }, -3, 0xFFFFFFFDu, -2.5, -2.5f, 1},
        {"double -2.49", [](auto& d) { return d.addDoubleValue(text("v"), -2.49); }, -2, 0xFFFFFFFEu, -2.49, -2.49f, 1},
        {"double INT_MAX", [](auto& d) { return d.addDoubleValue(text("v"), 2147483647.0); }, INT_MAX, 0x7FFFFFFFu,
         2147483647.0, 2147483648.0f, 1},
        {"double 3e9", [](auto& d) { return d.addDoubleValue(text("v"), 3e9); }, INT_MIN, 0x80000000u, 3e9, 3e9f, 1},
        {"double NaN", [nan](auto& d) { return d.addDoubleValue(text("v"), nan); }, INT_MIN, 0x80000000u, nan, float(nan), 1},
        {"double sentinel", [](auto& d) { return d.addDoubleValue(text("v"), -DBL_MAX); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"float 0.49", [](auto& d) { return d.addFloatValue(text("v"), 0.49f); }, 0, 0, double(0.49f), 0.49f, 0},
        {"float sentinel", [](auto& d) { return d.addFloatValue(text("v"), -FLT_MAX); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"text TRUE", [](auto& d) { return d.addStringValue(text("v"), text("TRUE")); }, -7, 0x80000000u, -0.5, -0.25f, 1},
        {"text False", [](auto& d) { return d.addStringValue(text("v"), text("False")); }, -7, 0x80000000u, -0.5, -0.25f, 0},
        {"text yes", [](auto& d) { return d.addStringValue(text("v"), text("yes")); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"text 12", [](auto& d) { return d.addStringValue(text("v"), text("12")); }, -7, 0x80000000u, -0.5, -0.25f, 5},
        {"buffer", [](auto& d) { return d.addBufferValue(text("v"), arrayOf<unsigned char>({1})); }, -7, 0x80000000u, -0.5,
         -0.25f, 5},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        GSObjectDictionary d;
        ASSERT_EQ(c.store(d), 0);
        EXPECT_EQ(d.getLongValueTolerant(text("v"), -7), c.asLong);
        EXPECT_EQ(d.getULongValueTolerant(text("v"), 9), c.asULong);
        EXPECT_TRUE(sameNumber(d.getDoubleValueTolerant(text("v"), -0.5), c.asDouble));
        EXPECT_TRUE(sameNumber(d.getFloatValueTolerant(text("v"), -0.25f), c.asFloat));
        EXPECT_EQ(d.getBoolValueTolerant(text("v"), 5), c.asBool);
    }
}

TEST(GSObjectDictionaryGetters, TolerantArraysAndFileSpecsTakeRelatedClasses)
{
    struct Case {
        char const* name;
        std::function<short(GSObjectDictionary&)> store;
        std::vector<unsigned char> bytes;
        std::vector<float> floats;
        std::vector<int> ints;
    } const cases[] = {
        {"missing", [](auto&) { return short(0); }, {}, {}, {}},
        {"bytes", [](auto& d) { return d.addBufferValue(text("v"), arrayOf<unsigned char>({1, 2})); }, {1, 2}, {}, {}},
        {"hex text", [](auto& d) { return d.addStringValue(text("v"), text("0aFF")); }, {0x0A, 0xFF}, {}, {}},
        {"other text", [](auto& d) { return d.addStringValue(text("v"), text("0aF")); }, {}, {}, {}},
        {"floats", [](auto& d) { return d.addFloatArrayValue(text("v"), arrayOf<float>({1.5f, -2.5f, 2.51f})); }, {},
         {1.5f, -2.5f, 2.51f}, {1, -3, 2}}, // 2.51f is 2.50999999: the float's own value is rounded
        {"ints", [](auto& d) { return d.addLongArrayValue(text("v"), arrayOf<int>({3, -4})); }, {}, {3.0f, -4.0f}, {3, -4}},
        {"one double", [](auto& d) { return d.addDoubleValue(text("v"), 2.51); }, {}, {2.51f}, {3}},
        {"one ulong", [](auto& d) { return d.addULongValue(text("v"), 7); }, {}, {7.0f}, {7}},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        GSObjectDictionary d;
        ASSERT_EQ(c.store(d), 0);
        EXPECT_EQ(contents(d.getBufferValueTolerant(text("v"))), c.bytes);
        EXPECT_EQ(contents(d.getFloatArrayValueTolerant(text("v"))), c.floats);
        EXPECT_EQ(contents(d.getLongArrayValueTolerant(text("v"))), c.ints);
    }
    GSFileSpec const fallback(text("/fallback"));
    GSObjectDictionary d(text("spec"), GSFileSpec(text("/a")));
    ASSERT_EQ(d.addStringValue(text("path"), text("/b")) | d.addStringValue(text("empty"), GSString()) |
                  d.addLongValue(text("long"), 1),
              0);
    EXPECT_EQ(d.getFileSpecValueTolerant(text("spec"), fallback), GSFileSpec(text("/a")));
    EXPECT_EQ(d.getFileSpecValueTolerant(text("path"), fallback), GSFileSpec(text("/b")));
    EXPECT_EQ(d.getFileSpecValueTolerant(text("empty"), fallback), fallback);
    EXPECT_EQ(d.getFileSpecValueTolerant(text("long"), fallback), fallback);
}

// Arrays given as a count and elements are copied first: when that copy cannot be made nothing is
// stored, even where the entry itself would find room.
TEST(GSObjectDictionaryGetters, ArraysThatCannotBeCopiedAreNotStored)
{
    GSObjectDictionary d(text("first"), 1);
    float const floats[] = {1.0f, 2.0f};
    int const ints[] = {3, 4};
    {
        AllocationFailures const failing;
        EXPECT_EQ(d.addFloatArrayValue(text("f"), 2, floats), 1);
        EXPECT_EQ(d.addLongArrayValue(text("l"), 2, ints), 1);
    }
    EXPECT_EQ(d.getCount(), 1);
}
