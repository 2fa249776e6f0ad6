#include "gs/object/GSBufferObject.h"
#include "gs/object/GSDoubleObject.h"
#include "gs/object/GSFileSpecObject.h"
#include "gs/object/GSFloatArrayObject.h"
#include "gs/object/GSFloatObject.h"
#include "gs/object/GSLongArrayObject.h"
#include "gs/object/GSLongDictionaryKey.h"
#include "gs/object/GSLongObject.h"
#include "gs/object/GSObjectDictionaryObject.h"
#include "gs/object/GSPointerObject.h"
#include "gs/object/GSStringDictionaryKey.h"
#include "gs/object/GSStringObject.h"
#include "gs/object/GSULongObject.h"
#include "tests/object/DictionaryTestSupport.h"

#include <functional>
#include <memory>

using namespace qmtest;

namespace {

constexpr unsigned kIEEE = GSFile::kStandardFloats | GSFile::kStandardDoubles;

// Content blocks: version 1.0, record 1 with the value, the end tag. The classic rows give the
// record's data and its size; the compact ones the whole block.
struct ValueCase {
    char const* className;
    std::function<GSObject*()> make;
    unsigned flags;
    char const* size;
    char const* data;
    char const* compact;
};

std::string classicBlock(ValueCase const& c)
{
    return std::string("01 00 00 00 00 01 00 00 00 ") + c.size + " " + c.data + " FF FF FF FF";
}

std::vector<ValueCase> const& valueCases()
{
    static std::vector<ValueCase> const cases = {
        {"GSLongObject", [] { return new GSLongObject(-2); }, 0, "04", "FF FF FF FE", "10 01 04 FF FF FF FE 7F"},
        {"GSULongObject", [] { return new GSULongObject(0x80000001u); }, 0, "04", "80 00 00 01", "10 01 04 80 00 00 01 7F"},
        {"GSPointerObject", [] { return new GSPointerObject(reinterpret_cast<void*>(0x0102030405060708)); }, 0, "08",
         "01 02 03 04 05 06 07 08", "10 01 08 01 02 03 04 05 06 07 08 7F"},
        // Without flag 64 / 128: the mantissa (fraction x 2^30) and the exponent.
        {"GSFloatObject", [] { return new GSFloatObject(2.0f); }, 0, "06", "20 00 00 00 00 02", "10 01 04 40 00 00 00 7F"},
        {"GSFloatObject", [] { return new GSFloatObject(2.0f); }, kIEEE, "04", "40 00 00 00", "10 01 04 40 00 00 00 7F"},
        {"GSDoubleObject", [] { return new GSDoubleObject(-0.75); }, 0, "06", "D0 00 00 00 00 00",
         "10 01 08 BF E8 00 00 00 00 00 00 7F"},
        {"GSDoubleObject", [] { return new GSDoubleObject(-0.75); }, kIEEE, "08", "BF E8 00 00 00 00 00 00",
         "10 01 08 BF E8 00 00 00 00 00 00 7F"},
        {"GSStringObject", [] { return new GSStringObject(GSString("ab")); }, 0, "09", "FF 9B 00 00 00 03 61 62 00",
         "10 01 05 64 03 61 62 00 7F"},
        {"GSFileSpecObject", [] { return new GSFileSpecObject(GSFileSpec(GSString("/tmp/a"))); }, 0, "0D",
         "FF 9B 00 00 00 07 2F 74 6D 70 2F 61 00", "10 01 09 64 07 2F 74 6D 70 2F 61 00 7F"},
        {"GSFileSpecObject", [] { return new GSFileSpecObject(GSFileSpec()); }, 0, "02", "00 00", "10 01 02 64 00 7F"},
        {"GSBufferObject", [] { return new GSBufferObject(arrayOf<unsigned char>({1, 2, 3})); }, 0, "09",
         "01 00 00 00 00 03 01 02 03", "10 01 05 10 03 01 02 03 7F"},
        {"GSFloatArrayObject", [] { return new GSFloatArrayObject(arrayOf<float>({1.5f})); }, 0, "0C",
         "01 00 00 00 00 01 30 00 00 00 00 01", "10 01 06 10 01 3F C0 00 00 7F"},
        {"GSLongArrayObject", [] { return new GSLongArrayObject(arrayOf<int>({1, -1})); }, 0, "0E",
         "01 00 00 00 00 02 00 00 00 01 FF FF FF FF", "10 01 0A 10 02 00 00 00 01 FF FF FF FF 7F"},
        // An empty nested dictionary: version, records 1 and 2 each with the count 0, end tag.
        {"GSObjectDictionaryObject", [] { return new GSObjectDictionaryObject; }, 0, "1E",
         "01 00 00 00 00 01 00 00 00 04 00 00 00 00 00 00 00 02 00 00 00 04 00 00 00 00 FF FF FF FF",
         "10 01 08 10 01 01 00 02 01 00 7F 7F"},
        {"GSStringDictionaryKey", [] { return new GSStringDictionaryKey(GSString("k")); }, 0, "08",
         "FF 9B 00 00 00 02 6B 00", "10 01 04 64 02 6B 00 7F"},
        {"GSLongDictionaryKey", [] { return new GSLongDictionaryKey(5); }, 0, "04", "00 00 00 05",
         "10 01 04 00 00 00 05 7F"},
    };
    return cases;
}

} // namespace

// Each class writes its golden block in both framings, and an object made from the class name
// (as a file makes it) reads the block back into the same value: it writes the same bytes again.
TEST(GSValueObjectBlock, GoldenBytesInBothFramingsReadBackByClassName)
{
    for (ValueCase const& c : valueCases()) {
        SCOPED_TRACE(c.className);
        std::unique_ptr<GSObject> made(c.make());
        EXPECT_STREQ(made->getRuntimeClass().getName().c_str(), c.className);
        EXPECT_EQ(contentHex(*made, false, c.flags), classicBlock(c));
        EXPECT_EQ(contentHex(*made, true), c.compact);
        for (bool compact : {false, true}) {
            std::unique_ptr<GSObject> back(GSRuntimeClass::createObjectForName(GSString(c.className)));
            ASSERT_NE(back, nullptr);
            bool atEnd = false;
            std::string const block = compact ? c.compact : classicBlock(c);
            ASSERT_EQ(readContent(back.get(), block, compact, c.flags, &atEnd), 0);
            EXPECT_TRUE(atEnd);
            EXPECT_EQ(contentHex(*back, compact, c.flags), block);
        }
    }
}

// The base of the keys has a name but cannot be made from a file.
TEST(GSValueObjectClass, TheKeyBaseIsNamedButNotMade)
{
    EXPECT_EQ(GSRuntimeClass::getRuntimeClassForName(GSString("GSObjectDictionaryKey")),
              &GSObjectDictionaryKey::gsClassGSObjectDictionaryKey);
    EXPECT_EQ(GSRuntimeClass::createObjectForName(GSString("GSObjectDictionaryKey")), nullptr);
}

TEST(GSValueObjectBlock, ReadingStepsOverOtherRecordsAndRefusesShortOnes)
{
    struct Case {
        char const* name;
        char const* hex;
        short status;
        int value;
    } const cases[] = {
        {"other record first", "01 00 00 00 00 05 00 00 00 01 AA 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF", 0, 7},
        {"longer record", "01 00 00 00 00 01 00 00 00 06 00 00 00 07 AA BB FF FF FF FF", 0, 7},
        {"minor version 15", "01 0F 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF", 0, 7},
        {"no record 1", "01 00 FF FF FF FF", 0, 0},
        {"record too short", "01 00 00 00 00 01 00 00 00 02 00 07 FF FF FF FF", 1, 0},
        {"too new", "02 00 00 00 00 01 00 00 00 04 00 00 00 07 FF FF FF FF", 1, 0},
        {"cut header", "01 00 00 00 00 01 00 00", 1, 0},
        {"tag 0x80000000", "01 00 80 00 00 00 00 00 00 00 FF FF FF FF", 1, 0},
    };
    for (Case const& c : cases) {
        GSLongObject o;
        bool atEnd = false;
        EXPECT_EQ(readContent(&o, c.hex, false, 0, &atEnd), c.status) << c.name;
        if (c.status == 0) {
            EXPECT_EQ(o.value, c.value) << c.name;
            EXPECT_TRUE(atEnd) << c.name;
        }
    }
}

TEST(GSValueObjectBlock, ArraysAreReadWithTheirOwnTableOnlyWhenNoneIsAttached)
{
    // Record 1 holds an array block of version 512: a table of 32-bit positions (its version 256,
    // the offset 7, then the count and the bytes, then the empty directory).
    std::string const block = "01 00 00 00 00 01 00 00 00 13 02 00 01 00 00 00 00 07 00 00 00 03 01 02 03 00 00 00 00 FF FF FF FF";
    GSBufferObject bytes;
    bytes.value = arrayOf<unsigned char>({9}); // reading replaces, though an array block appends
    ASSERT_EQ(readContent(&bytes, block, false), 0);
    EXPECT_EQ(contents(bytes.value), (std::vector<unsigned char>{1, 2, 3}));
    // Inside a file whose table is attached the same block is refused.
    GSBufferObject inner;
    EXPECT_EQ(readContent(&inner, "10 01 0A 20 00 00 00 00 00 00 00 00 00 7F", true), 1);
}

TEST(GSValueObjectBlock, FileSpecsTravelAsPathsMadeAbsolute)
{
    GSFileSpecObject o;
    ASSERT_EQ(readContent(&o, "01 00 00 00 00 01 00 00 00 09 FF 9B 00 00 00 03 61 62 00 FF FF FF FF", false), 0);
    EXPECT_EQ(o.value, GSFileSpec(GSString("ab")));
    EXPECT_EQ(o.value.getPathname(1).c_str()[0], '/');
}

TEST(GSValueObjectBlock, NoFileOrNoBackEndIsAFailure)
{
    GSFile none; // no back end: every write fails
    GSLongObject const value(1);
    GSObjectDictionary const dictionary(GSString("a"), 1);
    EXPECT_EQ(value.write(&none), 1);
    EXPECT_EQ(dictionary.write(&none), 1);
    EXPECT_EQ(value.write(nullptr), 1);
    EXPECT_EQ(dictionary.write(nullptr), 1);
    GSLongObject in;
    GSObjectDictionary d;
    EXPECT_EQ(in.read(nullptr), 1);
    EXPECT_EQ(d.read(nullptr), 1);
}
