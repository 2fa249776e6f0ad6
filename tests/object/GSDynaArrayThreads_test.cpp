// Copies of one GSDynaArray on several threads: every thread copies the shared array, reads it,
// changes its own copy (which must take a private block) and hands copies to the other threads,
// so that retains, copy-on-write decisions and the last release all happen concurrently. Run under
// ThreadSanitizer (the tsan preset) this must report nothing.
#include "gs/object/GSDynaArray.h"

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <numeric>
#include <thread>
#include <vector>

namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 200;
constexpr long kCount = 1000;

long sum(GSDynaArray<int> const& a)
{
    return std::accumulate(a.getPointer(), a.getPointer() + a.getCount(), 0L);
}

} // namespace

TEST(GSDynaArrayThreads, CopiesAreReadAndChangedOnSeveralThreads)
{
    GSDynaArray<int> original(kCount, -100);
    for (long i = 0; i < kCount; ++i)
        ASSERT_EQ(original.add(static_cast<int>(i)), 0);
    GSDynaArray<int> const& shared = original;
    long const expected = sum(original);

    // Copies handed from thread to thread, released wherever they end up.
    std::mutex handOverLock;
    std::vector<GSDynaArray<int>> handOver;
    std::atomic<int> mismatches{0};

    auto work = [&](int id) {
        for (int round = 0; round < kRounds; ++round) {
            GSDynaArray<int> copy(shared);
            if (sum(copy) != expected)
                ++mismatches;
            int* mine = copy.getWritablePointer();
            if (!mine || copy.getData() == shared.getData()) {
                ++mismatches;
                continue;
            }
            mine[0] = id + 1;
            if (copy.add(id) != 0 || copy.getCount() != kCount + 1 || copy[0] != id + 1)
                ++mismatches;
            GSDynaArray<int> another(shared);
            std::lock_guard<std::mutex> lock(handOverLock);
            handOver.push_back(another);
            if (handOver.size() > 8)
                handOver.erase(handOver.begin(), handOver.begin() + 4);
        }
    };
    std::vector<std::thread> threads;
    for (int t = 0; t < kThreads; ++t)
        threads.emplace_back(work, t);
    for (auto& t : threads)
        t.join();

    EXPECT_EQ(mismatches.load(), 0);
    EXPECT_EQ(sum(original), expected);
    EXPECT_EQ(original.getData()->getRefCount(), 1 + static_cast<int>(handOver.size()));
    handOver.clear();
    EXPECT_FALSE(original.isShared());
}

TEST(GSDynaArrayThreads, LastReleaseMayHappenOnAnyThread)
{
    for (int round = 0; round < 50; ++round) {
        auto* first = new GSDynaArray<unsigned char>(64, -100);
        unsigned char bytes[64] = {};
        ASSERT_EQ(first->append(bytes, 64), 0);
        std::vector<GSDynaArray<unsigned char>> copies(kThreads, *first);
        delete first;
        std::vector<std::thread> threads;
        for (int t = 0; t < kThreads; ++t)
            threads.emplace_back([&copies, t] {
                GSDynaArray<unsigned char> mine(std::move(copies[static_cast<size_t>(t)]));
                if (t % 2)
                    mine.getWritablePointer()[0] = 1;
            });
        for (auto& t : threads)
            t.join();
    }
}
