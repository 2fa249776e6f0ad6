#include "gs/file/GSFileWorker.h"

#include "tests/file/FileTestSupport.h"

#include <gtest/gtest.h>

#include <cstring>
#include <random>

using namespace qmtest;

namespace {

TEST(GSFileWorkerAccessMode, FlagsAndStoredMode)
{
    struct Case {
        char const* mode;
        unsigned flags;
        char const* stored;
    } const cases[] = {
        {"r", 1, "rb"},    {"rb", 5, "rb"},  {"r+", 3, "rb+"},  {"rb+", 7, "rb+"}, {"w", 10, "wb"},
        {"wb", 14, "wb"},  {"w+", 11, "wb+"}, {"wb+", 15, "wb+"}, {"a", 2, "ab"},    {"ab", 6, "ab"},
        {"rt", 1, "rb"},   {"wt+", 11, "wb+"},
    };
    for (auto const& c : cases) {
        GSFileWorkerMemory worker;
        worker.setAccessMode(c.mode);
        EXPECT_EQ(worker.getAccessFlags(), c.flags) << c.mode;
        EXPECT_STREQ(worker.getAccessMode(), c.stored) << c.mode;
    }
    GSFileWorkerMemory fresh;
    EXPECT_STREQ(fresh.getAccessMode(), "rb");
    EXPECT_EQ(fresh.getAccessFlags(), 5u);
}

class GSFileWorkerText : public qmtest::FileOverBackend {};

INSTANTIATE_TEST_SUITE_P(Backends, GSFileWorkerText, testing::Values(Backend::Memory, Backend::Stdio), backendName);

std::vector<int> allChars(GSFile& file)
{
    std::vector<int> out;
    for (int c; (c = file.getChar()) != -1;)
        out.push_back(c);
    return out;
}

TEST_P(GSFileWorkerText, TextModeReadsEveryLineEndAsOneNewLineBinaryModeAsItIs)
{
    EXPECT_EQ(allChars(*makeFile("41 0D 42", "rt")), (std::vector<int>{65, 10, 66}));
    EXPECT_EQ(allChars(*makeFile("41 0D 0A 42 0A 0D 43 0A 0A 0D 0D", "r")), (std::vector<int>{65, 10, 66, 10, 67, 10, 10, 10}));
    EXPECT_EQ(allChars(*makeFile("0D", "r")), (std::vector<int>{10}));
    EXPECT_EQ(allChars(*makeFile("41 0D 0A FF", "rb")), (std::vector<int>{65, 13, 10, 255}));
    // getString keeps the line ends raw in text mode.
    GSString s;
    EXPECT_EQ(makeFile("61 0D 0A 62", "r")->getString(&s, 100), 0);
    EXPECT_EQ(s, GSString("a\r\n"));
}

TEST(GSFileWorkerMemory, SeeksAreClampedToTheBytes)
{
    GSFileWorkerMemory worker(toArray(fromHex("01 02 03 04")));
    EXPECT_EQ(worker.seek(5, 0), 1);
    EXPECT_EQ(worker.tell(), 4);
    EXPECT_EQ(worker.eof(), 1);
    EXPECT_EQ(worker.seek(-5, 1), 1);
    EXPECT_EQ(worker.tell(), 0);
    EXPECT_EQ(worker.seek(-1, 2), 0);
    EXPECT_EQ(worker.tell(), 3);
    EXPECT_EQ(worker.seek(LONG_MAX, 1), 1);
    EXPECT_EQ(worker.tell(), 4);
    EXPECT_EQ(worker.seek(0, 7), 1);
}

TEST(GSFileWorkerMemory, WritesOverwriteThenAppendWithoutTouchingSharedBytes)
{
    auto source = toArray(fromHex("01 02 03"));
    GSFileWorkerMemory worker(source);
    EXPECT_EQ(worker.open(), 0);
    EXPECT_EQ(worker.open(), 1); // already open
    ASSERT_EQ(worker.seek(1, 0), 0);
    unsigned char const more[3] = {0xAA, 0xBB, 0xCC};
    EXPECT_EQ(worker.writeData(more, 3), 3);
    EXPECT_EQ(worker.tell(), 4);
    auto const& bytes = worker.getArray();
    EXPECT_EQ(toHex(bytes.getPointer(), static_cast<size_t>(bytes.getCount())), "01 AA BB CC");
    EXPECT_EQ(toHex(source.getPointer(), static_cast<size_t>(source.getCount())), "01 02 03");
    EXPECT_EQ(worker.close(0), 0);
    EXPECT_EQ(worker.close(0), 1); // not open
    worker.setAccessMode("wb"); // opening for writing empties, reading does not
    EXPECT_EQ(worker.open(), 0);
    EXPECT_EQ(worker.getArray().getCount(), 0);
    // The capacity rule: 8192 for the growth -100 without a capacity.
    EXPECT_EQ(GSFileWorkerMemory(-100, 0).getArray().getCapacity(), 8192);
    EXPECT_EQ(GSFileWorkerMemory(300, 0).getArray().getCapacity(), 300);
    EXPECT_EQ(GSFileWorkerMemory(-100, 64).getArray().getCapacity(), 64);
}

// The stdio worker keeps its own read buffer; a random walk of reads, seeks and writes must see
// exactly what the memory worker sees over the same bytes.
TEST(GSFileWorkerStream, RandomWalkMatchesTheMemoryWorker)
{
    std::mt19937 random(12345);
    std::vector<unsigned char> bytes(300000);
    for (auto& b : bytes)
        b = static_cast<unsigned char>(random());
    TempFile path(bytes);
    GSFile stdio(pathOf(path));
    EXPECT_EQ(stdio.setAccessMode("rb+"), 0);
    ASSERT_EQ(stdio.open(), 0);
    GSFile memory(qmtest::toArray(bytes));

    std::vector<unsigned char> a(100000), b(100000);
    for (int step = 0; step < 3000; ++step) {
        int const op = static_cast<int>(random() % 10);
        if (op < 5) {
            long const n = op == 0 ? static_cast<long>(random() % 100000) : static_cast<long>(random() % 16);
            long const gotA = stdio.read(a.data(), 1, n);
            long const gotB = memory.read(b.data(), 1, n);
            ASSERT_EQ(gotA, gotB) << step;
            ASSERT_EQ(std::memcmp(a.data(), b.data(), static_cast<size_t>(gotA)), 0) << step;
        } else if (op < 8) {
            long const length = static_cast<long>(bytes.size());
            long target = static_cast<long>(random() % static_cast<unsigned>(length));
            int const whence = static_cast<int>(random() % 3);
            long const position = memory.tell();
            long offset = whence == 0 ? target : whence == 1 ? target - position : target - length;
            ASSERT_EQ(stdio.seek(offset, whence), memory.seek(offset, whence)) << step;
        } else {
            long const n = static_cast<long>(random() % 40) + 1;
            for (long k = 0; k < n; ++k)
                a[static_cast<size_t>(k)] = static_cast<unsigned char>(random());
            ASSERT_EQ(stdio.write(a.data(), n), 0) << step;
            ASSERT_EQ(memory.write(a.data(), n), 0) << step;
        }
        ASSERT_EQ(stdio.tell(), memory.tell()) << step;
    }
    EXPECT_EQ(stdio.getLength(), memory.getLength());
    ASSERT_EQ(stdio.close(), 0);
    EXPECT_EQ(readFile(path.path()), fileBytes(memory));
}

TEST(GSFileWorkerStream, EndOfFileAndExistingStreams)
{
    std::FILE* stream = std::tmpfile();
    ASSERT_NE(stream, nullptr);
    std::fputs("xy", stream);
    std::rewind(stream);
    GSFile file;
    ASSERT_EQ(file.init(new GSFileWorkerStream(stream), 1), 0);
    EXPECT_TRUE(file.isOpened());
    EXPECT_EQ(file.getChar(), 'x');
    EXPECT_EQ(file.eof(), 0);  // 'y' is still buffered
    EXPECT_EQ(file.getChar(), 'y');
    EXPECT_EQ(file.getChar(), -1);
    EXPECT_EQ(file.eof(), 1);
    EXPECT_EQ(file.seek(-2, 0), 1);
    EXPECT_EQ(file.getLength(), 2);
    EXPECT_EQ(file.close(), 0);
    EXPECT_EQ(file.eof(), 1);
    EXPECT_EQ(file.tell(), -1);
}

} // namespace
