#include "gs/file/GSTagWrite.h"

#include "gs/file/GSFile.h"
#include "tests/object/TestObjects.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace qmtest;

namespace {

// A memory file, in compact mode when `compact` is set: a table of the newer kind is attached
// (its header takes the first 10 bytes, "02 00" and the 8-byte table offset).
class TagFile : public WriteFile {
public:
    explicit TagFile(bool compact) : start(compact ? 10 : 0)
    {
        if (compact) {
            EXPECT_EQ(f.startObjectMergingWrite(1), 0);
        }
    }
    ~TagFile()
    {
        if (start) {
            EXPECT_EQ(f.stopObjectMergingWrite(), 0);
        }
    }
    // The bytes behind the table header.
    std::string body() const
    {
        std::vector<unsigned char> b = fileBytes(f);
        return toHex(std::vector<unsigned char>(b.begin() + start, b.end()));
    }
    // Writes a record `tag` holding n bytes of `value`.
    void record(GSTagWrite& w, int tag, int n, unsigned char value)
    {
        std::vector<unsigned char> data(static_cast<size_t>(n), value);
        ASSERT_EQ(w.writeStart(tag), 0);
        if (n) {
            ASSERT_EQ(f.write(data.data(), n), 0);
        }
        ASSERT_EQ(w.writeEnd(), 0);
    }
    bool workerRestored() const
    {
        return f.getFileWorker()->isKindOfRuntimeClass(GSFileWorkerMemory::gsClassGSFileWorkerMemory);
    }
    long start;
};

std::string repeatHex(char const* byte, int n)
{
    std::string s;
    // Appended piece by piece: a temporary string concatenated in front of another trips a false
    // -Wrestrict of g++ 12 at -O3 inside std::string.
    for (int i = 0; i < n; ++i) {
        if (i)
            s += ' ';
        s += byte;
    }
    return s;
}

} // namespace

TEST(GSTagWriteClassic, VersionFormsRecordsAndEndTag)
{
    TagFile c(false);
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeVersion(0x0302), 0);
    c.record(w, 5, 2, 0x11);
    c.record(w, 6, 0, 0);
    ASSERT_EQ(w.writeEndTag(), 0);
    ASSERT_EQ(w.writeLongVersionIfNeeded(0x0302), 0);
    ASSERT_EQ(w.writeByteVersion(0x0302), 0);
    ASSERT_EQ(w.writeByteVersion(0x010F), 0);
    EXPECT_EQ(c.body(), "03 02 00 00 00 05 00 00 00 02 11 11 00 00 00 06 00 00 00 00 FF FF FF FF 00 03 00 02 32 1F");
}

TEST(GSTagWriteClassic, SizesArePatchedSixteenAtATime)
{
    TagFile c(false);
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeVersion(0x0100), 0);
    // Record i holds i bytes; each record is 8 header bytes, with the size once patched, plus its data.
    auto expected = [&](int patched) {
        std::string hex = "01 00";
        for (int i = 0; i < 17; ++i) {
            char header[64];
            std::snprintf(header, sizeof header, " 00 00 00 %02X 00 00 00 %02X", i, i < patched ? i : 0);
            hex += header;
            if (i) {
                hex += ' ';
                hex += repeatHex("AB", i);
            }
        }
        return hex;
    };
    for (int i = 0; i < 17; ++i) {
        c.record(w, i, i, 0xAB);
        if (i == 14) { // fifteen records ended: nothing patched yet
            EXPECT_EQ(w.getPendingCount(), 15);
            EXPECT_EQ(c.body(), expected(0).substr(0, c.body().size()));
        }
    }
    // The sixteenth writeEnd patched the first sixteen; the seventeenth waits for the end tag.
    EXPECT_EQ(w.getPendingCount(), 1);
    EXPECT_EQ(c.body(), expected(16));
    long end = c.f.tell();
    ASSERT_EQ(w.writeEndTag(), 0);
    EXPECT_EQ(c.f.tell(), end + 4);
    EXPECT_EQ(c.body(), expected(17) + " FF FF FF FF");
}

TEST(GSTagWriteCompact, HeadersAt255And256DataBytes)
{
    TagFile c(true);
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeVersion(0x0100), 0);
    c.record(w, 5, 255, 0x11);
    c.record(w, 6, 256, 0x22);
    c.record(w, 7, 0, 0);
    ASSERT_EQ(w.writeEndTag(), 0);
    EXPECT_EQ(c.body(), "10 05 FF " + repeatHex("11", 255) + " 86 00 00 00 00 00 00 01 00 " + repeatHex("22", 256) + " 07 00 7F");
    EXPECT_TRUE(c.workerRestored());

    // Small writes that add up to 256 bytes go long too.
    TagFile small(true);
    GSTagWrite s(&small.f);
    ASSERT_EQ(s.writeStart(1), 0);
    for (int i = 0; i < 64; ++i)
        ASSERT_EQ(small.f.writeLong(0x01020304), 0);
    ASSERT_EQ(s.writeEnd(), 0);
    EXPECT_EQ(small.body().substr(0, 26), "81 00 00 00 00 00 00 01 00");
}

// A nested sequence of more than 255 bytes makes the enclosing record long as well; small ones
// stay short.
TEST(GSTagWriteCompact, NestedRecordsGoLongOutwards)
{
    for (int n : {300, 2}) {
        TagFile c(true);
        GSTagWrite outer(&c.f);
        ASSERT_EQ(outer.writeStart(3), 0);
        ASSERT_EQ(c.f.writeChar(0x5A), 0);
        {
            GSTagWrite inner(&c.f);
            ASSERT_EQ(inner.writeVersion(0x0200), 0);
            c.record(inner, 4, n, 0x33);
            ASSERT_EQ(inner.writeEndTag(), 0);
        }
        ASSERT_EQ(outer.writeEnd(), 0);
        // Outer data: 5A, inner version 20, inner header (9 or 2), n bytes, 7F.
        EXPECT_EQ(c.body(), n == 2 ? "03 07 5A 20 04 02 33 33 7F"
                                   : "83 00 00 00 00 00 00 01 38 5A 20 84 00 00 00 00 00 00 01 2C " + repeatHex("33", 300) + " 7F");
    }
}

TEST(GSTagWriteCompact, TellSeekAndReadPassThrough)
{
    TagFile c(true);
    GSTagWrite w(&c.f);
    ASSERT_EQ(w.writeStart(2), 0);
    ASSERT_EQ(c.f.writeChar(1), 0);
    EXPECT_EQ(c.f.tell(), 20); // the real position: table header (10), long header (9), one byte
    ASSERT_EQ(c.f.writeChar(2), 0);
    ASSERT_EQ(c.f.seek(-1, 1), 0);
    char back = 0;
    ASSERT_EQ(c.f.readChar(&back), 0);
    EXPECT_EQ(back, 2);
    ASSERT_EQ(w.writeEnd(), 0);
    EXPECT_EQ(c.f.tell(), 21);
    EXPECT_EQ(c.body(), "82 00 00 00 00 00 00 00 02 01 02");
}

TEST(GSTagWriteCompact, DestructorEndsAnOpenRecordAndTagsAreLimited)
{
    TagFile c(true);
    {
        GSTagWrite w(&c.f);
        EXPECT_EQ(w.writeStart(127), 1);
        EXPECT_EQ(w.writeStart(-1), 1);
        ASSERT_EQ(w.writeStart(126), 0);
        EXPECT_EQ(w.writeStart(1), 1); // records of one writer do not nest
        ASSERT_EQ(c.f.writeChar(9), 0);
    }
    EXPECT_EQ(c.body(), "7E 01 09");
    EXPECT_TRUE(c.workerRestored());
}
