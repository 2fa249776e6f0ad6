#include "gs/file/GSTagRead.h"

#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using namespace qmtest;

namespace {

TEST(GSTagReadVersion, ClassicForms)
{
    struct Case {
        char const* hex;
        short maximum, status, version;
        long position;
    } const cases[] = {
        {"03 02", 0, 0, 0x0302, 2},          // one short
        {"00 03 00 02", 0, 0, 0x0302, 4},    // major alone, then minor
        {"03 10", 0, 1, 0x0310, 2},          // minor 16 is invalid
        {"03 0F", 0x0302, 0, 0x030F, 2},     // minors are never compared
        {"7F 00", 0, 0, 0x7F00, 2},          // no maximum, any major
        {"00 FF 00 02", 0, 1, -254, 4},      // 0x00FF takes the two-short form
        {"01 00", 0x0100, 0, 0x0100, 2},
        {"00 00 00 00", 0, 1, 0, 4},         // below 256
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(testing::Message() << c.hex << " (maximum " << c.maximum << ")");
        ReadFile r(c.hex);
        GSTagRead reader(&r.f);
        short version = -99;
        EXPECT_EQ(reader.readVersion(c.maximum, &version), c.status);
        EXPECT_EQ(version, c.version);
        EXPECT_EQ(reader.getVersion(), c.version);
        EXPECT_EQ(r.f.tell(), c.position);
    }
    ReadFile r("03");
    short version = -99;
    EXPECT_EQ(GSTagRead(&r.f).readVersion(0, &version), 1);
    EXPECT_EQ(version, -99);
}

// A file in compact mode (an object table with long positions attached) holding `hex` at the
// current position.
struct CompactFile {
    explicit CompactFile(std::string const& hex) : file(-100, 0)
    {
        EXPECT_EQ(file.startObjectMergingWrite(1), 0);
        start = file.tell();
        auto bytes = fromHex(hex);
        EXPECT_EQ(file.write(bytes.data(), static_cast<long>(bytes.size())), 0);
        EXPECT_EQ(file.seek(start, 0), 0);
    }
    ~CompactFile() { EXPECT_EQ(file.stopObjectMergingWrite(), 0); }
    GSFile file;
    long start = 0;
};

// A version above the maximum skips the whole sequence, nested-looking records included; a
// damaged sequence still ends.
TEST(GSTagReadVersion, TooNewSkipsToTheEndOfTheSequence)
{
    ReadFile classic("04 00  00 00 00 01 00 00 00 02 AA BB  00 00 00 02 00 00 00 00  FF FF FF FF  77");
    CompactFile compact("40  01 02 AA BB  7F  77");
    for (GSFile* f : {&classic.f, &compact.file}) {
        short version = 0;
        EXPECT_EQ(GSTagRead(f).readVersion(0x0302, &version), 1);
        EXPECT_EQ(version, 0x0400);
        EXPECT_EQ(f->getChar(), 0x77);
    }
    ReadFile damaged("04 00  00 00 00 01 FF FF FF F0  00 00");
    EXPECT_EQ(GSTagRead(&damaged.f).readVersion(0x0302, nullptr), 1);
}

TEST(GSTagReadHeaders, ClassicHeadersEndTagAndFailure)
{
    ReadFile classic("00 00 00 05 00 00 00 10  " + std::string(32, 'A') + "  FF FF FF FF  00 00 00");
    GSTagRead reader(&classic.f);
    EXPECT_EQ(reader.getDataStart(), 0);
    EXPECT_EQ(reader.read(), 5);
    EXPECT_EQ(reader.getSize(), 16);
    EXPECT_EQ(reader.getDataStart(), 8);
    ASSERT_EQ(classic.f.seek(24, 0), 0);
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
    EXPECT_EQ(reader.read(), GSTagRead::kReadFailure);
    EXPECT_EQ(reader.getSize(), 0);
}

TEST(GSTagReadHeaders, CompactModeHeadersAndSkips)
{
    auto filler = [](int n) {
        std::string hex;
        while (n--)
            hex += " AA";
        return hex;
    };
    CompactFile c("32  05 10" + filler(16) + "  85 00 00 00 00 00 00 01 00" + filler(256) + "  06 00  7F FF");
    GSTagRead reader(&c.file);
    short version = 0;
    EXPECT_EQ(reader.readVersion(0x0302, &version), 0);
    EXPECT_EQ(version, 0x0302);
    for (auto [tag, size] : {std::pair{5, 16L}, std::pair{5, 256L}, std::pair{6, 0L}}) {
        EXPECT_EQ(reader.read(), tag);
        EXPECT_EQ(reader.getSize(), size);
        EXPECT_EQ(reader.skip(), 0);
    }
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag); // FF ends a sequence as 7F does
    CompactFile cut("05");
    EXPECT_EQ(GSTagRead(&cut.file).read(), GSTagRead::kReadFailure); // a short header without its size byte
}

class GSTagReadBounds : public FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSTagReadBounds, testing::Values(Backend::Memory, Backend::Stdio), backendName);

// Every record must end inside its bound: the file at the top level, the enclosing record inside
// one. Each case reads one header (`nested`: inside an outer record 9 that holds everything after
// its own header) and skips it; both back ends must agree on status and position.
TEST_P(GSTagReadBounds, RecordsMustEndInsideTheirBound)
{
    struct Case {
        char const* name;
        char const* hex;
        bool nested;
        int tag;          // what read() gives
        bool pastEnd;
        long afterRead;   // the position after read()
        short skip;       // skip()'s status
        long afterSkip;
    } const cases[] = {
        {"size = bytes left", "00 00 00 01 00 00 00 03 AA BB CC", false, 1, false, 8, 0, 11},
        {"size = bytes left + 1", "00 00 00 01 00 00 00 04 AA BB CC", false, GSTagRead::kReadFailure, true, 8, 1, 8},
        {"4096 in an 11-byte file", "00 00 00 01 00 00 10 00 AA BB CC", false, GSTagRead::kReadFailure, true, 8, 1, 8},
        {"largest size", "00 00 00 01 7F FF FF FF AA", false, GSTagRead::kReadFailure, true, 8, 1, 8},
        {"negative size", "00 00 00 01 FF FF FF F8 AA", false, GSTagRead::kReadFailure, true, 8, 1, 8},
        {"empty record at the end", "00 00 00 01 00 00 00 00", false, 1, false, 8, 0, 8},
        {"size cut short", "00 00 00 01 00 00", false, GSTagRead::kReadFailure, false, 4, 0, 4},
        {"end tag", "FF FF FF FF", false, GSTagRead::kEndTag, false, 4, 0, 4},
        {"nested, fits its record", "00 00 00 09 00 00 00 0B  00 00 00 01 00 00 00 03 AA BB CC  DD DD", true, 1, false, 16, 0, 19},
        {"nested, past its record", "00 00 00 09 00 00 00 0B  00 00 00 01 00 00 00 04 AA BB CC  DD DD", true, GSTagRead::kReadFailure, true, 16, 1, 16},
        {"nested header past its record", "00 00 00 09 00 00 00 06  00 00 00 01 00 00 00 00  DD DD", true, GSTagRead::kReadFailure, true, 16, 1, 16},
        {"nested end tag inside", "00 00 00 09 00 00 00 04  FF FF FF FF  DD DD", true, GSTagRead::kEndTag, false, 12, 0, 12},
    };
    for (Case const& c : cases) {
        SCOPED_TRACE(c.name);
        auto file = makeFile(c.hex);
        GSTagRead outer(file.get());
        if (c.nested) {
            ASSERT_EQ(outer.read(), 9);
        }
        GSTagRead reader(file.get());
        EXPECT_EQ(reader.read(), c.tag);
        EXPECT_EQ(reader.isPastEnd(), c.pastEnd);
        EXPECT_EQ(file->tell(), c.afterRead);
        EXPECT_EQ(reader.skip(), c.skip);
        EXPECT_EQ(file->tell(), c.afterSkip);
    }
}

// Readers of nested blocks see their record's end through the file, and get the outer end back
// when they are done; a damaged sequence still ends.
TEST_P(GSTagReadBounds, TheFileCarriesTheEnclosingEnd)
{
    auto file = makeFile("00 00 00 09 00 00 00 04 AA BB CC DD  00 00 00 02 00 00 00 00  FF FF FF FF");
    EXPECT_EQ(file->getRecordEnd(), -1);
    {
        GSTagRead outer(file.get());
        EXPECT_EQ(file->getRecordEnd(), 24);
        ASSERT_EQ(outer.read(), 9);
        EXPECT_EQ(file->getRecordEnd(), 12);
        EXPECT_EQ(file->getBytesLeft(), 4);
        {
            GSTagRead inner(file.get());
            EXPECT_EQ(inner.getEnd(), 12);
        }
        EXPECT_EQ(file->getRecordEnd(), 12);
        ASSERT_EQ(file->seek(16, 0), 0);
        EXPECT_EQ(file->getBytesLeft(), -1); // past the record: nothing is left, not a negative count
        ASSERT_EQ(outer.skip(), 0);
        EXPECT_EQ(file->getBytesLeft(), 0);
        EXPECT_EQ(outer.read(), 2);
        EXPECT_EQ(file->getRecordEnd(), 20);
        EXPECT_EQ(outer.read(), GSTagRead::kEndTag);
        EXPECT_EQ(file->getRecordEnd(), 24); // the header belongs to the sequence, not to record 2
    }
    EXPECT_EQ(file->getRecordEnd(), -1);

    // A negative size never moves a walk backwards: the walk goes on after the header and ends.
    file = makeFile("00 00 00 01 FF FF FF F8  00 00 00 02 00 00 00 00  FF FF FF FF");
    GSTagRead reader(file.get());
    int headers = 0;
    for (int tag = 0; tag != GSTagRead::kEndTag && headers < 100; ++headers) {
        tag = reader.read();
        (void)reader.skip(); // the negative record cannot be skipped: the walk reads on after it
    }
    EXPECT_EQ(headers, 3);
}

TEST(GSTagReadCompactMode, HugeLongSizeCannotWrapAndArrayCountsAreCompact)
{
    CompactFile c("81 7F FF FF FF FF FF FF FF  00");
    GSTagRead reader(&c.file);
    EXPECT_EQ(reader.read(), GSTagRead::kReadFailure); // data start + size does not fit
    EXPECT_TRUE(reader.isPastEnd());
    EXPECT_EQ(reader.getSize(), LONG_MAX);
    EXPECT_EQ(reader.skip(), 1);
    EXPECT_EQ(c.file.tell(), c.start + 9);

    CompactFile counts("C0 01  80 01");
    long v = 0;
    EXPECT_EQ(counts.file.readArrayCount(&v), 0);
    EXPECT_EQ(v, -65);
    EXPECT_EQ(counts.file.readArrayCount(&v), 0);
    EXPECT_EQ(v, 64);
    long const end = counts.file.tell();
    EXPECT_EQ(counts.file.writeArrayCount(8192), 0);
    EXPECT_EQ(counts.file.tell(), end + 3);
}

} // namespace
