#include "gs/object/GSDynaArray.h"

#include "TestObjects.h"

#include <gtest/gtest.h>

#include <vector>

using namespace qmtest;

namespace {

// The block of `a` written to a fresh memory file with the given flags.
template <class T>
std::string blockHex(std::vector<T> const& values, unsigned flags = 0, short table = 0, short longPositions = 0)
{
    WriteFile w;
    w.f.addFlags(flags);
    EXPECT_EQ(arrayOf(values).write(&w.f, table, longPositions), 0);
    EXPECT_EQ(w.f.getObjectTable(), nullptr);
    return fileHex(w.f);
}

} // namespace

TEST(GSArrayBlockClassic, GoldenBytesForEachElementType)
{
    EXPECT_EQ(blockHex<unsigned char>({1, 2, 0xFF}), "01 00 00 00 00 03 01 02 FF");
    EXPECT_EQ(blockHex<int>({1, -1}), "01 00 00 00 00 02 00 00 00 01 FF FF FF FF");
    EXPECT_EQ(blockHex<float>({1.5f, -2.0f}, GSFile::kStandardFloats), "01 00 00 00 00 02 3F C0 00 00 C0 00 00 00");
    EXPECT_EQ(blockHex<int>({}), "01 00 00 00 00 00");
}

TEST(GSArrayBlockClassic, ReadingAppendsToTheArrayAndLeavesSharedCopiesAlone)
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
    for (unsigned flags : {0u, unsigned(GSFile::kStandardFloats)}) {
        ReadFile r(blockHex(values, flags));
        r.f.addFlags(flags);
        GSDynaArray<float> back;
        ASSERT_EQ(back.read(&r.f), 0);
        ASSERT_EQ(back.getCount(), 5);
        for (long i = 0; i < 5; ++i)
            EXPECT_FLOAT_EQ(back[i], values[static_cast<size_t>(i)]) << "flags " << flags;
    }
}

TEST(GSArrayBlockRejects, BadBlocksFailWithoutTouchingTheArrayOrAllocating)
{
    struct Case {
        char const* name;
        char const* hex;
    } const cases[] = {{"negative count", "01 00 FF FF FF FF"},
                       {"count beyond the file", "01 00 00 00 00 04 01 02 03"},
                       {"huge count", "01 00 7F FF FF FF 01"},
                       {"too new", "03 00 00 00 00 01 01 FF FF FF FF"},
                       {"truncated count", "01 00 00 00"},
                       {"bad table", "02 00 7F 00 00 00 00 00"}};
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        ReadFile r(std::string(c.hex));
        GSDynaArray<unsigned char> a = arrayOf<unsigned char>({9});
        EXPECT_NE(a.read(&r.f), 0);
        EXPECT_EQ(contents(a), (std::vector<unsigned char>{9}));
        EXPECT_EQ(r.f.getObjectTable(), nullptr);
    }
    ReadFile huge("01 00 7F FF FF FF 00 00 00 01"), small("01 00 00 00 00 03 01 02 03");
    GSDynaArray<int> a;
    GSDynaArray<unsigned char> b;
    {
        AllocationFailures failures;
        EXPECT_EQ(a.read(&huge.f), 1);
        EXPECT_EQ(AllocationFailures::refusals(), 0);
    }
    AllocationFailures failures; // a failed allocation is a status
    EXPECT_EQ(b.read(&small.f), 1);
    EXPECT_EQ(b.getCount(), 0);
}

// Version 512: the block carries its own object table around the count and the elements.
TEST(GSArrayBlockTable, ShortAndLongPositionTables)
{
    std::string const shortTable = blockHex<unsigned char>({1, 2, 3}, 0, 1, 0);
    EXPECT_EQ(shortTable, "02 00 01 00 00 00 00 07 00 00 00 03 01 02 03 00 00 00 00");
    // 64-bit positions put the file in compact mode: the count is compact.
    std::string const longTable = blockHex<unsigned char>({1, 2, 3}, 0, 1, 1);
    EXPECT_EQ(longTable, "02 00 02 00 00 00 00 00 00 00 00 04 03 01 02 03 00 00 00 00");
    for (std::string const& hex : {shortTable, longTable}) {
        ReadFile r(hex);
        GSDynaArray<unsigned char> back;
        ASSERT_EQ(back.read(&r.f), 0);
        EXPECT_EQ(contents(back), (std::vector<unsigned char>{1, 2, 3}));
        EXPECT_EQ(r.f.tell(), r.f.getLength());
        EXPECT_EQ(r.f.getObjectTable(), nullptr);
    }
}

TEST(GSArrayBlockTable, ABlockCannotStartATableInsideAnother)
{
    // An object table (version 256) around a block with its own table: reading must not start a
    // second one.
    std::string block = blockHex<int>({4}, 0, 1, 0);
    long const tableOffset = static_cast<long>(fromHex(block).size());
    char offset[16];
    std::snprintf(offset, sizeof offset, "%02lX", tableOffset);
    ReadFile r("01 00 00 00 00 " + std::string(offset) + " " + block + " 00 00 00 00");
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    GSDynaArray<int> back;
    EXPECT_EQ(back.read(&r.f), 1);
    EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    // Writing a block with its own table while one is attached is misuse.
    WriteFile w;
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
    EXPECT_EQ(fileHex(w.f).substr(30, 32), "10 03 01 02 03 10 01 FF FF FF FF");

    ReadFile r(w.f);
    ASSERT_EQ(r.f.startObjectMergingRead(), 0);
    GSDynaArray<unsigned char> b;
    GSDynaArray<int> i;
    ASSERT_EQ(b.read(&r.f), 0);
    ASSERT_EQ(i.read(&r.f), 0);
    EXPECT_EQ(r.f.stopObjectMergingRead(), 0);
    EXPECT_EQ(contents(b), (std::vector<unsigned char>{1, 2, 3}));
    EXPECT_EQ(contents(i), (std::vector<int>{-1}));
}
