#include "gs/file/GSTagWrite.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using qmtest::fileBytes;
using qmtest::fileHex;
using qmtest::toHex;

namespace {

// A memory file in compact mode: a table of the newer kind is attached (its header takes the
// first 10 bytes, "02 00" and the 8-byte table offset).
struct CompactFile {
    CompactFile() : f(-100, 64)
    {
        qmtest::openForWriting(f);
        f.startObjectMergingWrite(1);
    }
    // The bytes behind the table header.
    std::string body() const
    {
        std::vector<unsigned char> b = fileBytes(f);
        return toHex(std::vector<unsigned char>(b.begin() + 10, b.end()));
    }
    GSFile f;
};

std::string repeatHex(char const* byte, int n)
{
    std::string s;
    for (int i = 0; i < n; ++i) {
        if (i)
            s += ' ';
        s += byte;
    }
    return s;
}

std::vector<unsigned char> filler(int n, unsigned char value)
{
    return std::vector<unsigned char>(static_cast<size_t>(n), value);
}

} // namespace

TEST(GSTagWriteClassic, VersionRecordAndEndTag)
{
    GSFile f(-100, 64);
    qmtest::openForWriting(f);
    GSTagWrite w(&f);
    ASSERT_EQ(w.writeVersion(0x0302), 0);
    ASSERT_EQ(w.writeStart(5), 0);
    ASSERT_EQ(f.writeLong(0x11223344), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    ASSERT_EQ(w.writeStart(6), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    ASSERT_EQ(w.writeEndTag(), 0);
    EXPECT_EQ(fileHex(f), "03 02 00 00 00 05 00 00 00 04 11 22 33 44 00 00 00 06 00 00 00 00 FF FF FF FF");
}

TEST(GSTagWriteClassic, VersionForms)
{
    GSFile f(-100, 64);
    qmtest::openForWriting(f);
    GSTagWrite w(&f);
    ASSERT_EQ(w.writeLongVersionIfNeeded(0x0302), 0);
    ASSERT_EQ(w.writeByteVersion(0x0302), 0);
    ASSERT_EQ(w.writeByteVersion(0x010F), 0);
    EXPECT_EQ(fileHex(f), "00 03 00 02 32 1F");

    GSFile r(qmtest::toArray(fileBytes(f)));
    ASSERT_EQ(r.open(), 0);
    GSTagRead reader(&r);
    short v = 0;
    ASSERT_EQ(reader.readVersion(0x0302, &v), 0);
    EXPECT_EQ(v, 0x0302);
}

TEST(GSTagWriteClassic, SizesArePatchedSixteenAtATime)
{
    GSFile f(-100, 64);
    qmtest::openForWriting(f);
    GSTagWrite w(&f);
    ASSERT_EQ(w.writeVersion(0x0100), 0);
    // Record i holds i bytes; each record is 8 header bytes plus its data.
    auto recordHex = [](int i, bool patched) {
        char header[64];
        std::snprintf(header, sizeof header, "00 00 00 %02X 00 00 00 %02X", i, patched ? i : 0);
        return std::string(header) + (i ? " " + repeatHex("AB", i) : "");
    };
    for (int i = 0; i < 17; ++i) {
        ASSERT_EQ(w.writeStart(i), 0);
        std::vector<unsigned char> data = filler(i, 0xAB);
        ASSERT_EQ(f.write(data.data(), i), 0);
        ASSERT_EQ(w.writeEnd(), 0);
        if (i == 14) {
            // Fifteen records ended: nothing patched yet.
            EXPECT_EQ(w.getPendingCount(), 15);
            EXPECT_EQ(fileHex(f).substr(0, 29), "01 00 " + recordHex(0, false));
            EXPECT_EQ(fileHex(f).substr(30, 23), recordHex(1, false).substr(0, 23));
        }
    }
    // The sixteenth writeEnd patched the first sixteen; the seventeenth waits for the end tag.
    EXPECT_EQ(w.getPendingCount(), 1);
    std::string expected = "01 00";
    for (int i = 0; i < 17; ++i)
        expected += " " + recordHex(i, i < 16);
    EXPECT_EQ(fileHex(f), expected);
    long end = f.tell();
    ASSERT_EQ(w.writeEndTag(), 0);
    EXPECT_EQ(f.tell(), end + 4);
    expected = "01 00";
    for (int i = 0; i < 17; ++i)
        expected += " " + recordHex(i, true);
    EXPECT_EQ(fileHex(f), expected + " FF FF FF FF");
}

TEST(GSTagWriteCompact, HeadersAt255And256DataBytes)
{
    CompactFile c;
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeVersion(0x0100), 0);
    ASSERT_EQ(w.writeStart(5), 0);
    std::vector<unsigned char> data = filler(255, 0x11);
    ASSERT_EQ(c.f.write(data.data(), 255), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    ASSERT_EQ(w.writeStart(6), 0);
    data = filler(256, 0x22);
    ASSERT_EQ(c.f.write(data.data(), 256), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    ASSERT_EQ(w.writeStart(7), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    ASSERT_EQ(w.writeEndTag(), 0);
    EXPECT_EQ(c.body(), "10 05 FF " + repeatHex("11", 255) + " 86 00 00 00 00 00 00 01 00 " + repeatHex("22", 256) +
                            " 07 00 7F");
    // The file's own worker is back in place.
    EXPECT_TRUE(c.f.getFileWorker()->isKindOfRuntimeClass(GSFileWorkerMemory::gsClassGSFileWorkerMemory));
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, SmallWritesThatAddUpTo256GoLong)
{
    CompactFile c;
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeStart(1), 0);
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(c.f.writeLong(0x01020304), 0);
    ASSERT_EQ(w.writeEnd(), 0);
    EXPECT_EQ(c.body().substr(0, 26), "81 00 00 00 00 00 00 01 00");
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, NestedRecordsGoLongOutwards)
{
    CompactFile c;
    GSTagWrite outer(&c.f);
    ASSERT_EQ(outer.writeStart(3), 0);
    ASSERT_EQ(c.f.writeChar(0x5A), 0);
    {
        GSTagWrite inner(&c.f);
        ASSERT_EQ(inner.writeVersion(0x0200), 0);
        ASSERT_EQ(inner.writeStart(4), 0);
        std::vector<unsigned char> data = filler(300, 0x33);
        ASSERT_EQ(c.f.write(data.data(), 300), 0);
        ASSERT_EQ(inner.writeEnd(), 0);
        ASSERT_EQ(inner.writeEndTag(), 0);
    }
    ASSERT_EQ(outer.writeEnd(), 0);
    // Outer data: 5A, inner version 20, inner header (9), 300 bytes, 7F = 312 = 0x138.
    EXPECT_EQ(c.body(), "83 00 00 00 00 00 00 01 38 5A 20 84 00 00 00 00 00 00 01 2C " + repeatHex("33", 300) + " 7F");
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, SmallNestedRecordsStayShort)
{
    CompactFile c;
    GSTagWrite outer(&c.f);
    ASSERT_EQ(outer.writeStart(3), 0);
    {
        GSTagWrite inner(&c.f);
        ASSERT_EQ(inner.writeVersion(0x0100), 0);
        ASSERT_EQ(inner.writeStart(4), 0);
        ASSERT_EQ(c.f.writeShort(0x0A0B), 0);
        ASSERT_EQ(inner.writeEnd(), 0);
        ASSERT_EQ(inner.writeEndTag(), 0);
    }
    ASSERT_EQ(outer.writeEnd(), 0);
    EXPECT_EQ(c.body(), "03 06 10 04 02 0A 0B 7F");
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, TellSeekAndReadPassThrough)
{
    CompactFile c;
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeStart(2), 0);
    ASSERT_EQ(c.f.writeChar(1), 0);
    // The real position: table header (10), long header (9), one byte.
    EXPECT_EQ(c.f.tell(), 20);
    ASSERT_EQ(c.f.writeChar(2), 0);
    ASSERT_EQ(c.f.seek(-1, 1), 0);
    char back = 0;
    ASSERT_EQ(c.f.readChar(&back), 0);
    EXPECT_EQ(back, 2);
    ASSERT_EQ(w.writeEnd(), 0);
    EXPECT_EQ(c.f.tell(), 21);
    EXPECT_EQ(c.body(), "82 00 00 00 00 00 00 00 02 01 02");
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, DestructorEndsAnOpenRecordAndTagsAreLimited)
{
    CompactFile c;
    {
        GSTagWrite w(&c.f);
        EXPECT_EQ(w.writeStart(127), 1);
        EXPECT_EQ(w.writeStart(-1), 1);
        ASSERT_EQ(w.writeStart(126), 0);
        EXPECT_EQ(w.writeStart(1), 1); // records of one writer do not nest
        ASSERT_EQ(c.f.writeChar(9), 0);
    }
    EXPECT_EQ(c.body(), "7E 01 09");
    EXPECT_TRUE(c.f.getFileWorker()->isKindOfRuntimeClass(GSFileWorkerMemory::gsClassGSFileWorkerMemory));
    c.f.stopObjectMergingWrite();
}

TEST(GSTagWriteCompact, RecordsReadBackThroughGSTagRead)
{
    CompactFile c;
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeVersion(0x0302), 0);
    for (int tag : {0, 9, 126}) {
        ASSERT_EQ(w.writeStart(tag), 0);
        std::vector<unsigned char> data = filler(tag * 3, static_cast<unsigned char>(tag));
        ASSERT_EQ(c.f.write(data.data(), static_cast<long>(data.size())), 0);
        ASSERT_EQ(w.writeEnd(), 0);
    }
    ASSERT_EQ(w.writeEndTag(), 0);
    ASSERT_EQ(c.f.stopObjectMergingWrite(), 0);

    GSFile r(qmtest::toArray(fileBytes(c.f)));
    ASSERT_EQ(r.open(), 0);
    ASSERT_EQ(r.startObjectMergingRead(), 0);
    GSTagRead reader(&r);
    short v = 0;
    ASSERT_EQ(reader.readVersion(0x0302, &v), 0);
    EXPECT_EQ(v, 0x0302);
    for (int tag : {0, 9, 126}) {
        ASSERT_EQ(reader.read(), tag);
        EXPECT_EQ(reader.getSize(), tag * 3);
        ASSERT_EQ(reader.skip(), 0);
    }
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
    ASSERT_EQ(r.stopObjectMergingRead(), 0);
}
