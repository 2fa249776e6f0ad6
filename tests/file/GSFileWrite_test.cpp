#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <functional>
#include <limits>

using namespace qmtest;

namespace {

// The bytes a write produces on a fresh memory file.
std::string written(std::function<short(GSFile&)> const& write, unsigned extraFlags = 0)
{
    GSFile file(-100, 0);
    file.addFlags(extraFlags);
    EXPECT_EQ(write(file), 0);
    return toHex(fileBytes(file));
}

// The fixed-width values are checked in both directions with the readers.
TEST(GSFileWriteGolden, TruncationsTextAndFloatFormats)
{
    EXPECT_EQ(written([](GSFile& f) { return f.writeBool(256); }), "00"); // the low byte only
    EXPECT_EQ(written([](GSFile& f) { return f.writeIntAsShort(0x12345); }), "23 45");
    EXPECT_EQ(written([](GSFile& f) { return f.writeArrayCount(0x100000003L); }), "00 00 00 03");
    EXPECT_EQ(written([](GSFile& f) { return f.writeCompactInt(-65); }), "C0 01");
    EXPECT_EQ(written([](GSFile& f) { return f.writeUTF8BOM(); }), "EF BB BF");
    EXPECT_EQ(written([](GSFile& f) { return f.initWithID("Qm", 1); }), "51 6D 00");
    EXPECT_EQ(written([](GSFile& f) { return f.putLong(42, 4); }), "20 20 34 32");
    EXPECT_EQ(written([](GSFile& f) { return f.putFloat(1.5f, 2); }), "31 2E 35 30");
    EXPECT_EQ(written([](GSFile& f) { return f.putString(GSString("ab"), 1); }), "61 62 0A");
    EXPECT_EQ(written([](GSFile& f) { return f.putChar('z'); }), "7A");
    EXPECT_EQ(written([](GSFile& f) { return f.writeFloat(2.0f); }, GSFile::kStandardFloats), "40 00 00 00");
    EXPECT_EQ(written([](GSFile& f) { return f.writeFloat(0.0f); }), "00 00 00 00 00 00");
    EXPECT_EQ(written([](GSFile& f) { return f.writeDouble(2.0); }), "20 00 00 00 00 02");
    EXPECT_EQ(written([](GSFile& f) { return f.writeDouble(2.0); }, GSFile::kStandardDoubles), "40 00 00 00 00 00 00 00");

    // Infinity and NaN stay readable: the largest float, the infinite double, 0.
    GSFile file(-100, 0);
    ASSERT_EQ(file.writeFloat(std::numeric_limits<float>::infinity()), 0);
    ASSERT_EQ(file.writeDouble(-std::numeric_limits<double>::infinity()), 0);
    ASSERT_EQ(file.writeDouble(std::numeric_limits<double>::quiet_NaN()), 0);
    ASSERT_EQ(file.seek(0, 0), 0);
    float f = 0;
    double d = 0;
    EXPECT_EQ(file.readFloat(&f), 0);
    EXPECT_EQ(f, FLT_MAX);
    EXPECT_EQ(file.readDouble(&d), 0);
    EXPECT_EQ(d, -std::numeric_limits<double>::infinity());
    EXPECT_EQ(file.readDouble(&d), 0);
    EXPECT_EQ(d, 0.0);
}

class GSFileRoundTrip : public FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSFileRoundTrip, testing::Values(Backend::Memory, Backend::Stdio), backendName);

TEST_P(GSFileRoundTrip, CompactValuesAndFloatsReadBackWhatWasWritten)
{
    auto file = makeFile("", "wb+");
    if (GetParam() == Backend::Memory) {
        ASSERT_EQ(file->open(), 0);
    }
    std::vector<long> compact = {INT_MAX, INT_MIN, LONG_MAX, LONG_MIN};
    for (int shift = 0; shift < 63; shift += 5) {
        compact.push_back(1L << shift);
        compact.push_back(-(1L << shift) - 1);
    }
    for (long v : compact)
        ASSERT_EQ(file->writeCompactLongLong(v), 0);
    ASSERT_EQ(file->writeLittleLong(-7), 0);
    ASSERT_EQ(file->writeFloat(3.14159f), 0);
    ASSERT_EQ(file->writeFloat(-1.0e-10f), 0);
    ASSERT_EQ(file->writeDouble(1.0 / 3.0), 0);
    ASSERT_EQ(file->writeStandardDouble(1.0 / 3.0), 0);

    ASSERT_EQ(file->seek(0, 0), 0);
    for (long expected : compact) {
        long v = 0;
        ASSERT_EQ(file->readCompactLongLong(&v), 0);
        EXPECT_EQ(v, expected);
    }
    int i = 0;
    float f = 0;
    double d = 0;
    EXPECT_EQ(file->readLittleLong(&i), 0);
    EXPECT_EQ(i, -7);
    EXPECT_EQ(file->readFloat(&f), 0);
    EXPECT_EQ(f, 3.14159f); // 24 mantissa bits fit in the 30 stored ones
    EXPECT_EQ(file->readFloat(&f), 0);
    EXPECT_EQ(f, -1.0e-10f);
    EXPECT_EQ(file->readDouble(&d), 0);
    EXPECT_NEAR(d, 1.0 / 3.0, 1e-9); // the pair keeps 30 bits of a double
    EXPECT_EQ(file->readStandardDouble(&d), 0);
    EXPECT_EQ(d, 1.0 / 3.0);
    EXPECT_EQ(file->getChar(), -1);
}

TEST_P(GSFileRoundTrip, CopySizeMovesBytesInChunks)
{
    std::vector<unsigned char> bytes(20000);
    for (size_t k = 0; k < bytes.size(); ++k)
        bytes[k] = static_cast<unsigned char>(k * 7 + 3);
    auto source = makeFile(bytes);
    ASSERT_EQ(source->seek(100, 0), 0);
    GSFile destination(-100, 0);
    EXPECT_EQ(source->copySize(0, &destination), 0);
    EXPECT_EQ(source->copyContent(&destination), 0);
    std::vector<unsigned char> out = fileBytes(destination);
    EXPECT_TRUE(std::equal(bytes.begin() + 100, bytes.end(), out.begin(), out.end()));
    EXPECT_EQ(source->seek(19990, 0), 0);
    EXPECT_EQ(source->copySize(11, &destination), 1);
}

TEST(GSFileTransferWorker, TheDestinationTakesTheWorkerAndTheFormat)
{
    GSFile source(toArray(fromHex("00 00 00 2A")));
    source.addFlags(GSFile::kStandardFloats);
    source.setSafetyMode(3);
    GSFileWorker* worker = source.getFileWorker();
    GSFile destination(-100, 0);
    source.transferWorker(&destination);
    EXPECT_EQ(source.getFileWorker(), nullptr);
    EXPECT_EQ(destination.getFileWorker(), worker);
    EXPECT_EQ(worker->getRefCount(), 1);
    EXPECT_EQ(destination.getSafetyMode(), 3);
    EXPECT_TRUE(destination.getFlags() & GSFile::kStandardFloats);
    EXPECT_TRUE(destination.getFlags() & GSFile::kOwnsWorker);
    int v = 0;
    EXPECT_EQ(destination.readLong(&v), 0);
    EXPECT_EQ(v, 42);
    source.transferWorker(&source);
}

} // namespace
