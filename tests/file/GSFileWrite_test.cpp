#include "gs/file/GSFile.h"
#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
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

// The guards of the byte writers and copies: what an empty request, a file without a worker or a
// missing destination gives, and that nothing is written for them.
TEST(GSFileWriteGuards, EmptyRequestsAndMissingFilesGiveTheirStatus)
{
    unsigned char const bytes[4] = {1, 2, 3, 4};
    GSFile file(-100, 0);
    GSFile closed;
    EXPECT_EQ(file.write(bytes, 0), 0); // nothing to write is a success
    EXPECT_EQ(file.write(bytes, -1), 1);
    EXPECT_EQ(closed.write(bytes, 4), 1);
    EXPECT_EQ(file.write(bytes, 0, 4), 0); // items of no size: none written, no division by 0
    EXPECT_EQ(file.write(bytes, 2, -1), 0);
    EXPECT_EQ(closed.write(bytes, 2, 2), 0);
    EXPECT_EQ(closed.putChar('z'), 1);
    EXPECT_TRUE(fileBytes(file).empty());

    GSFile source(toArray(fromHex("2A 2B")));
    EXPECT_EQ(source.copySize(5, nullptr), 1);
    EXPECT_EQ(source.copySize(5, &closed), 1);
    EXPECT_EQ(closed.copySize(5, &file), 1);
    EXPECT_EQ(source.copySize(1, &file), 0); // a single byte is copied too
    EXPECT_EQ(toHex(fileBytes(file)), "2A");
    GSFile empty(-100, 0);
    EXPECT_EQ(empty.copyContent(&file), 0); // an empty rest copies nothing and succeeds
    source.transferWorker(nullptr);          // no destination: nothing moves
    EXPECT_NE(source.getFileWorker(), nullptr);
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
