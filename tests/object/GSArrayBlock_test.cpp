#include "gs/object/GSDynaArray.h"

#include "ArrayAllocationFailures.h"
#include "TestObjects.h"

#include <gtest/gtest.h>

#include <vector>

using namespace qmtest;

namespace {

struct WriteFile {
    WriteFile() : f(-100, 64) { openForWriting(f); }
    GSFile f;
};

struct ReadFile {
    explicit ReadFile(std::string const& hex) : f(hexArray(hex)) { f.open(); }
    GSFile f;
};

template <class T>
GSDynaArray<T> arrayOf(std::vector<T> const& values)
{
    GSDynaArray<T> a;
    EXPECT_EQ(a.append(values.data(), static_cast<long>(values.size())), 0);
    return a;
}

template <class T>
std::vector<T> contents(GSDynaArray<T> const& a)
{
    return std::vector<T>(a.getPointer(), a.getPointer() + a.getCount());
}

} // namespace

TEST(GSArrayBlockClassic, GoldenBytesForEachElementType)
{
    WriteFile bytes, ints, floats;
    ASSERT_EQ(arrayOf<unsigned char>({1, 2, 0xFF}).write(&bytes.f), 0);
    EXPECT_EQ(fileHex(bytes.f), "01 00 00 00 00 03 01 02 FF");
    ASSERT_EQ(arrayOf<int>({1, -1}).write(&ints.f), 0);
    EXPECT_EQ(fileHex(ints.f), "01 00 00 00 00 02 00 00 00 01 FF FF FF FF");
    floats.f.addFlags(GSFile::kStandardFloats);
    ASSERT_EQ(arrayOf<float>({1.5f, -2.0f}).write(&floats.f), 0);
    EXPECT_EQ(fileHex(floats.f), "01 00 00 00 00 02 3F C0 00 00 C0 00 00 00");
    WriteFile empty;
    ASSERT_EQ(GSDynaArray<int>().write(&empty.f), 0);
    EXPECT_EQ(fileHex(empty.f), "01 00 00 00 00 00");
}

TEST(GSArrayBlockClassic, ReadingAppendsToTheArray)
{
    ReadFile r("01 00 00 00 00 02 00 00 00 07 FF FF FF FE");
    GSDynaArray<int> a = arrayOf<int>({5});
    ASSERT_EQ(a.read(&r.f), 0);
    EXPECT_EQ(contents(a), (std::vector<int>{5, 7, -2}));
    EXPECT_EQ(r.f.tell(), 14);

    ReadFile b("01 00 00 00 00 02 AA BB");
    GSDynaArray<unsigned char> bytes = arrayOf<unsigned char>({1});
    GSDynaArray<unsigned char> shared(bytes);
    ASSERT_EQ(bytes.read(&b.f), 0);
    EXPECT_EQ(contents(bytes), (std::vector<unsigned char>{1, 0xAA, 0xBB}));
    EXPECT_EQ(contents(shared), (std::vector<unsigned char>{1}));
}

TEST(GSArrayBlockClassic, FloatsRoundTripInBothFloatFormats)
{
    std::vector<float> values{0.0f, 1.5f, -3.25f, 1e-9f, 6.5e9f};
    for (bool ieee : {false, true}) {
        WriteFile w;
        if (ieee)
            w.f.addFlags(GSFile::kStandardFloats);
        ASSERT_EQ(arrayOf(values).write(&w.f), 0);
        GSFile r(toArray(fileBytes(w.f)));
        r.open();
        if (ieee)
            r.addFlags(GSFile::kStandardFloats);
        GSDynaArray<float> back;
        ASSERT_EQ(back.read(&r), 0);
        ASSERT_EQ(back.getCount(), 5);
        for (long i = 0; i < 5; ++i)
            EXPECT_FLOAT_EQ(back[i], values[static_cast<size_t>(i)]) << "ieee " << ieee;
    }
}

struct BadBlock {
    char const* name;
    char const* hex;
};

class GSArrayBlockRejects : public testing::TestWithParam<BadBlock> {};

TEST_P(GSArrayBlockRejects, FailsWithoutTouchingTheArray)
{
    ReadFile r(GetParam().hex);
    GSDynaArray<unsigned char> a = arrayOf<unsigned char>({9});
    EXPECT_NE(a.read(&r.f), 0);
    EXPECT_EQ(contents(a), (std::vector<unsigned char>{9}));
    EXPECT_EQ(r.f.getObjectTable(), nullptr);
}

INSTANTIATE_TEST_SUITE_P(Cases, GSArrayBlockRejects,
                         testing::Values(BadBlock{"NegativeCount", "01 00 FF FF FF FF"},
                                         BadBlock{"CountBeyondTheFile", "01 00 00 00 00 04 01 02 03"},
                                         BadBlock{"HugeCount", "01 00 7F FF FF FF 01"},
                                         BadBlock{"TooNew", "03 00 00 00 00 01 01 FF FF FF FF"},
                                         BadBlock{"TruncatedCount", "01 00 00 00"},
                                         BadBlock{"BadTable", "02 00 7F 00 00 00 00 00"}),
                         [](testing::TestParamInfo<BadBlock> const& p) { return std::string(p.param.name); });

TEST(GSArrayBlockClassic, HugeCountAllocatesNothing)
{
    ReadFile r("01 00 7F FF FF FF 00 00 00 01");
    GSDynaArray<int> a;
    ArrayAllocationFailures failures(1000);
    EXPECT_EQ(a.read(&r.f), 1);
    EXPECT_EQ(ArrayAllocationFailures::attemptCount(), 0);
}

TEST(GSArrayBlockClassic, AllocationFailureIsAStatus)
{
    ReadFile r("01 00 00 00 00 03 01 02 03");
    GSDynaArray<unsigned char> a;
    ArrayAllocationFailures failures;
    EXPECT_EQ(a.read(&r.f), 1);
    EXPECT_EQ(a.getCount(), 0);
}

// Version 512: the block carries its own object table around the count and the elements.
TEST(GSArrayBlockTable, ShortAndLongPositionTables)
{
    WriteFile shortTable, longTable;
    GSDynaArray<unsigned char> a = arrayOf<unsigned char>({1, 2, 3});
    ASSERT_EQ(a.write(&shortTable.f, 1, 0), 0);
    EXPECT_EQ(fileHex(shortTable.f), "02 00 01 00 00 00 00 07 00 00 00 03 01 02 03 00 00 00 00");
    ASSERT_EQ(a.write(&longTable.f, 1, 1), 0);
    // 64-bit positions put the file in compact mode: the count is compact.
    EXPECT_EQ(fileHex(longTable.f), "02 00 02 00 00 00 00 00 00 00 00 04 03 01 02 03 00 00 00 00");
    EXPECT_EQ(longTable.f.getObjectTable(), nullptr);

    for (WriteFile* w : {&shortTable, &longTable}) {
        GSFile r(toArray(fileBytes(w->f)));
        r.open();
        GSDynaArray<unsigned char> back;
        ASSERT_EQ(back.read(&r), 0);
        EXPECT_EQ(contents(back), (std::vector<unsigned char>{1, 2, 3}));
        EXPECT_EQ(r.tell(), r.getLength());
        EXPECT_EQ(r.getObjectTable(), nullptr);
    }
}

TEST(GSArrayBlockTable, ABlockCannotStartATableInsideAnother)
{
    WriteFile w;
    ASSERT_EQ(arrayOf<int>({4}).write(&w.f, 1, 0), 0);
    std::vector<unsigned char> block = fileBytes(w.f);
    // An object table around the block: reading must not start a second one.
    std::vector<unsigned char> bytes = fromHex("01 00 00 00 00 00");
    bytes.insert(bytes.end(), block.begin(), block.end());
    auto tableAt = static_cast<long>(bytes.size());
    bytes.insert(bytes.end(), {0, 0, 0, 0});
    bytes[5] = static_cast<unsigned char>(tableAt - 6);
    GSFile r(toArray(bytes));
    r.open();
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    GSDynaArray<int> back;
    EXPECT_EQ(back.read(&r), 1);
    EXPECT_EQ(r.stopObjectMergingRead(), 0);
    // Writing a block with its own table while one is attached is misuse.
    ASSERT_EQ(w.f.startObjectMergingWrite(0), 0);
    EXPECT_THROW(arrayOf<int>({4}).write(&w.f, 1, 0), bad_file);
    EXPECT_EQ(w.f.stopObjectMergingWrite(), 0);
}

// In compact mode (a table with 64-bit positions attached) the version is one byte and the count
// compact.
TEST(GSArrayBlockCompact, GoldenBytesAndRoundTrip)
{
    WriteFile w;
    ASSERT_EQ(w.f.startObjectMergingWrite(1), 0);
    ASSERT_EQ(arrayOf<unsigned char>({1, 2, 3}).write(&w.f), 0);
    ASSERT_EQ(arrayOf<int>({-1}).write(&w.f), 0);
    ASSERT_EQ(w.f.stopObjectMergingWrite(), 0);
    std::vector<unsigned char> bytes = fileBytes(w.f);
    ASSERT_GE(bytes.size(), 21u);
    EXPECT_EQ(toHex(bytes.data() + 10, 11), "10 03 01 02 03 10 01 FF FF FF FF");

    GSFile r(toArray(bytes));
    r.open();
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    GSDynaArray<unsigned char> b;
    GSDynaArray<int> i;
    ASSERT_EQ(b.read(&r), 0);
    ASSERT_EQ(i.read(&r), 0);
    EXPECT_EQ(r.stopObjectMergingRead(), 0);
    EXPECT_EQ(contents(b), (std::vector<unsigned char>{1, 2, 3}));
    EXPECT_EQ(contents(i), (std::vector<int>{-1}));
}
