#include "gs/file/GSTagRead.h"

#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>

using qmtest::Backend;
using qmtest::fromHex;
using qmtest::toArray;

namespace {

struct VersionCase {
    char const* hex;
    short maximum;
    short status;
    short version;
    long position;
};

void PrintTo(VersionCase const& c, std::ostream* out)
{
    *out << c.hex << " (maximum " << c.maximum << ")";
}

class GSTagReadVersion : public testing::TestWithParam<VersionCase> {};

TEST_P(GSTagReadVersion, ClassicForms)
{
    auto const& c = GetParam();
    GSFile file(toArray(fromHex(c.hex)));
    GSTagRead reader(&file);
    short version = -99;
    EXPECT_EQ(reader.readVersion(c.maximum, &version), c.status);
    EXPECT_EQ(version, c.version);
    EXPECT_EQ(reader.getVersion(), c.version);
    EXPECT_EQ(file.tell(), c.position);
}

INSTANTIATE_TEST_SUITE_P(
    Cases, GSTagReadVersion,
    testing::Values(VersionCase{"03 02", 0, 0, 0x0302, 2},             // one short
                    VersionCase{"00 03 00 02", 0, 0, 0x0302, 4},       // major alone, then minor
                    VersionCase{"03 10", 0, 1, 0x0310, 2},             // minor 16 is invalid
                    VersionCase{"03 0F", 0x0302, 0, 0x030F, 2},        // minors are never compared
                    VersionCase{"7F 00", 0, 0, 0x7F00, 2},             // no maximum, any major
                    VersionCase{"00 FF 00 02", 0, 1, -254, 4},         // 0x00FF takes the two-short form
                    VersionCase{"01 00", 0x0100, 0, 0x0100, 2},
                    VersionCase{"00 00 00 00", 0, 1, 0, 4}));          // below 256

TEST(GSTagReadVersionTooNew, SkipsToTheEndOfTheSequence)
{
    // Version 4.0, one record (tag 1, two bytes), a nested-looking record, the end tag, then 77.
    GSFile file(toArray(fromHex("04 00  00 00 00 01 00 00 00 02 AA BB  00 00 00 02 00 00 00 00  FF FF FF FF  77")));
    GSTagRead reader(&file);
    short version = 0;
    EXPECT_EQ(reader.readVersion(0x0302, &version), 1);
    EXPECT_EQ(version, 0x0400);
    EXPECT_EQ(file.tell(), 24);
    char c = 0;
    EXPECT_EQ(file.readChar(&c), 0);
    EXPECT_EQ(c, 0x77);
}

TEST(GSTagReadVersionTooNew, DamagedSequenceStillEnds)
{
    // A negative size inside the sequence that is being skipped.
    GSFile file(toArray(fromHex("04 00  00 00 00 01 FF FF FF F0  00 00")));
    GSTagRead reader(&file);
    EXPECT_EQ(reader.readVersion(0x0302, nullptr), 1);
}

TEST(GSTagReadVersion, ReadFailure)
{
    GSFile file(toArray(fromHex("03")));
    GSTagRead reader(&file);
    short version = -99;
    EXPECT_EQ(reader.readVersion(0, &version), 1);
    EXPECT_EQ(version, -99);
}

TEST(GSTagReadCompact, ByteVersionAndHeaders)
{
    GSFile file(toArray(fromHex("32  05 10  85 00 00 00 00 00 00 01 00  7F  FF  06")));
    GSTagRead reader(&file);
    short version = 0;
    EXPECT_EQ(reader.readByteVersion(&version), 0);
    EXPECT_EQ(version, 0x0302);
    EXPECT_EQ(reader.readByteTag(), 0);
    EXPECT_EQ(reader.getTag(), 5);
    EXPECT_EQ(reader.getSize(), 16);
    EXPECT_EQ(reader.readByteTag(), 0);
    EXPECT_EQ(reader.getTag(), 5);
    EXPECT_EQ(reader.getSize(), 256);
    EXPECT_EQ(reader.readByteTag(), 0);
    EXPECT_EQ(reader.getTag(), GSTagRead::kEndTag);
    EXPECT_EQ(reader.readByteTag(), 0);
    EXPECT_EQ(reader.getTag(), GSTagRead::kEndTag);
    EXPECT_EQ(reader.readByteTag(), 1);  // a short header without its size byte
}

TEST(GSTagReadClassic, HeadersEndTagAndFailure)
{
    GSFile file(toArray(fromHex("00 00 00 05 00 00 00 10  FF FF FF FF  00 00 00")));
    GSTagRead reader(&file);
    EXPECT_EQ(reader.getDataStart(), 0);
    EXPECT_EQ(reader.read(), 5);
    EXPECT_EQ(reader.getSize(), 16);
    EXPECT_EQ(reader.getDataStart(), 8);
    ASSERT_EQ(file.seek(8, 0), 0);
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
    EXPECT_EQ(reader.read(), GSTagRead::kReadFailure);
    EXPECT_EQ(reader.getSize(), 0);
}

// A memory worker that counts the bytes handed out.
class CountingWorker : public GSFileWorkerMemory {
public:
    using GSFileWorkerMemory::GSFileWorkerMemory;
    long readData(void* buffer, long length) override
    {
        long n = GSFileWorkerMemory::readData(buffer, length);
        bytesRead += n;
        return n;
    }
    long bytesRead = 0;
};

TEST(GSTagReadSkip, IsOneSeekWithoutReadingTheData)
{
    std::vector<unsigned char> bytes = fromHex("03 02  00 00 00 01 00 00 03 E8");
    bytes.resize(bytes.size() + 1000, 0xEE);
    for (auto b : fromHex("00 00 00 02 00 00 00 00  FF FF FF FF"))
        bytes.push_back(b);
    auto* worker = new CountingWorker(toArray(bytes));
    GSFile file;
    file.init(worker, 1);
    GSTagRead reader(&file);
    ASSERT_EQ(reader.readVersion(0x0302, nullptr), 0);
    ASSERT_EQ(reader.read(), 1);
    EXPECT_EQ(reader.skip(), 0);
    EXPECT_EQ(file.tell(), 1010);
    EXPECT_EQ(reader.read(), 2);
    EXPECT_EQ(reader.skip(), 0);
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
    EXPECT_EQ(worker->bytesRead, 2 + 8 + 8 + 4);
}

class GSTagReadDamaged : public qmtest::FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSTagReadDamaged, testing::Values(Backend::Memory, Backend::Stdio),
                         qmtest::backendName);

// Walks a sequence the way readers do and returns the number of headers met (capped).
int walk(GSFile& file)
{
    GSTagRead reader(&file);
    int headers = 0;
    while (headers < 100) {
        int tag = reader.read();
        ++headers;
        if (tag == GSTagRead::kEndTag || tag == GSTagRead::kReadFailure)
            break;
        reader.skip();
    }
    return headers;
}

TEST_P(GSTagReadDamaged, NegativeSizeNeverMovesBackwards)
{
    auto file = makeFile("00 00 00 01 FF FF FF F8  00 00 00 02 00 00 00 00  FF FF FF FF");
    GSTagRead first(file.get());
    ASSERT_EQ(first.read(), 1);
    EXPECT_EQ(first.getSize(), -8);
    EXPECT_EQ(first.skip(), 1);
    EXPECT_EQ(file->tell(), 8);
    ASSERT_EQ(file->seek(0, 0), 0);
    EXPECT_EQ(walk(*file), 3);  // the walk goes on after the header and still ends
}

TEST_P(GSTagReadDamaged, SizePastTheEndEndsTheWalk)
{
    auto file = makeFile("00 00 00 01 7F FF FF FF  00 00 00 02 00 00 00 00  FF FF FF FF");
    EXPECT_EQ(walk(*file), 2);
    EXPECT_EQ(GSTagRead(file.get()).read(), GSTagRead::kReadFailure);
}

} // namespace

namespace {

// A memory file in compact mode (an object table with long positions attached) holding `hex` at the
// current position.
struct CompactFile {
    explicit CompactFile(std::string const& hex) : file(-100, 0)
    {
        EXPECT_EQ(file.startObjectMergingWrite(1), 0);
        EXPECT_EQ(file.getUse64Bit(), 1);
        start = file.tell();
        auto bytes = fromHex(hex);
        EXPECT_EQ(file.write(bytes.data(), static_cast<long>(bytes.size())), 0);
        EXPECT_EQ(file.seek(start, 0), 0);
    }
    ~CompactFile() { file.stopObjectMergingWrite(); }
    GSFile file;
    long start = 0;
};

TEST(GSTagReadCompactMode, VersionHeadersAndSkips)
{
    std::string hex = "32  05 10";
    for (int k = 0; k < 16; ++k)
        hex += " AA";
    hex += "  85 00 00 00 00 00 00 01 00";
    for (int k = 0; k < 256; ++k)
        hex += " BB";
    hex += "  06 00  FF";
    CompactFile c(hex);
    GSTagRead reader(&c.file);
    short version = 0;
    EXPECT_EQ(reader.readVersion(0x0302, &version), 0);
    EXPECT_EQ(version, 0x0302);
    EXPECT_EQ(reader.read(), 5);
    EXPECT_EQ(reader.getSize(), 16);
    EXPECT_EQ(reader.getDataStart(), c.start + 3);
    EXPECT_EQ(reader.skip(), 0);
    EXPECT_EQ(reader.read(), 5);
    EXPECT_EQ(reader.getSize(), 256);
    EXPECT_EQ(reader.skip(), 0);
    EXPECT_EQ(reader.read(), 6);
    EXPECT_EQ(reader.getSize(), 0);
    EXPECT_EQ(reader.skip(), 0);
    EXPECT_EQ(reader.read(), GSTagRead::kEndTag);
}

TEST(GSTagReadCompactMode, TooNewVersionSkipsTheSequence)
{
    CompactFile c("40  01 02 AA BB  7F  66");  // version 4.0, one record, the end tag, then 66
    GSTagRead reader(&c.file);
    EXPECT_EQ(reader.readVersion(0x0302, nullptr), 1);
    char next = 0;
    EXPECT_EQ(c.file.readChar(&next), 0);
    EXPECT_EQ(next, 0x66);
}

TEST(GSTagReadCompactMode, HugeLongSizeCannotWrap)
{
    CompactFile c("81 7F FF FF FF FF FF FF FF  00");
    GSTagRead reader(&c.file);
    EXPECT_EQ(reader.read(), 1);
    EXPECT_EQ(reader.getSize(), LONG_MAX);
    EXPECT_EQ(reader.skip(), 1);  // data start + size does not fit
    EXPECT_EQ(c.file.tell(), c.start + 9);
}

TEST(GSFileCompactMode, ArrayCountsUseTheCompactEncoding)
{
    CompactFile c("C0 01  80 01");
    long v = 0;
    EXPECT_EQ(c.file.readArrayCount(&v), 0);
    EXPECT_EQ(v, -65);
    EXPECT_EQ(c.file.readArrayCount(&v), 0);
    EXPECT_EQ(v, 64);
    long const end = c.file.tell();
    EXPECT_EQ(c.file.writeArrayCount(8192), 0);
    EXPECT_EQ(c.file.tell(), end + 3);
}

} // namespace
