// Compiled with -ffp-contract=off (tests/CMakeLists.txt), so that the single-precision
// arithmetic below rounds every step as the fills do.
#include "gs/util/GSMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

// Each table's FNV-1a hash over its values' bit patterns as little-endian bytes (the same on any
// byte order); the private arctangent table read through fAtan: T[k] at ((k + 0.5) / 511, 1) for
// k < 511, and pi/2 + T[511] at the diagonal point (1, -1).
std::vector<std::uint64_t> tableHashes()
{
    std::vector<std::uint64_t> hashes;
    auto add = [&hashes](auto const* values, std::size_t n) {
        std::uint64_t h = 14695981039346656037ull;
        for (std::size_t i = 0; i < n; ++i) {
            std::uint32_t bits = 0;
            std::memcpy(&bits, &values[i], sizeof(values[i]));
            for (std::size_t b = 0; b < sizeof(values[i]); ++b)
                h = (h ^ ((bits >> (8 * b)) & 0xFF)) * 1099511628211ull;
        }
        hashes.push_back(h);
    };
    std::vector<float> atan;
    for (int k = 0; k < 511; ++k)
        atan.push_back(fAtan((static_cast<float>(k) + 0.5f) / 511.0f, 1.0f));
    atan.push_back(fAtan(1.0f, -1.0f));
    add(uToF255, 260), add(uToF1, 260), add(uToF1Inv, 260), add(usToF1, 65536), add(usSquareRootTable1, 65536);
    add(uSquareRootTable1, 256), add(&uMulTab[0][0], 256 * 512), add(&__gsCubicFactorTableFloat[0][0], 1024);
    add(&__gsCubicFactorTableInt[0][0], 1024), add(atan.data(), atan.size());
    return hashes;
}

// Pinned once from the tables that the tests below check against independent computations.
std::vector<std::uint64_t> const pinnedHashes = {
    4656375605969757713u,  9313696846632324711u, 9258645563026635923u, 11646124952234469096u, 17243217490146233553u,
    14205719895430984484u, 5296346284808731753u, 4199356597783455737u, 8740410730349400213u,  16807657897582873685u};

// Four threads call MathInit at once on empty tables: exit code 0 when each call returned 0 and
// found every table complete.
[[noreturn]] void fillConcurrently()
{
    bool const emptyBefore = uToF1[255] == 0 && __gsCubicFactorTableInt[0][1] == 0;
    std::vector<int> complete(4, 0);
    std::vector<std::thread> threads;
    for (int& c : complete)
        threads.emplace_back([&c] { c = MathInit() == 0 && tableHashes() == pinnedHashes; });
    for (std::thread& thread : threads)
        thread.join();
    std::exit(emptyBefore && complete == std::vector<int>(4, 1) ? 0 : 1);
}

class MathTables : public testing::Test {
protected:
    static void SetUpTestSuite() { MathInit(); }
};

} // namespace

TEST(MathInit, FillsOnceAlsoUnderConcurrentFirstCalls)
{
    // In a freshly started copy of this program, where no test has filled the tables yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(fillConcurrently(), testing::ExitedWithCode(0), "");
    MathInit();
    uToF1[7] = -1; // a later call writes nothing
    EXPECT_TRUE(MathInit() == 0 && uToF1[7] == -1);
    uToF1[7] = 7.0f / 255.0f;
}

TEST_F(MathTables, EveryTableKeepsItsPinnedHash) { EXPECT_EQ(tableHashes(), pinnedHashes); }

TEST_F(MathTables, ChannelRootAndProductTablesAgainstExactArithmetic)
{
    // A float quotient of integers is the double quotient rounded to float; 257 entries, then 0.
    // Single-precision steps move 63 of the 16-bit roots by one from the same in double.
    int movedByFloat = 0;
    for (int i = 0; i < 65536; ++i) {
        ASSERT_EQ(usToF1[i], static_cast<float>(i / 65535.0)) << i;
        double const root = std::floor(std::sqrt(i / 65535.0) * 65535.0 + 0.49);
        ASSERT_LE(std::fabs(usSquareRootTable1[i] - root), 1) << i;
        movedByFloat += usSquareRootTable1[i] != root;
        if (i < 260) {
            std::vector<float> const channel = {float(i), float(i / 255.0), float((255 - i) / 255.0)};
            ASSERT_EQ(std::vector<float>({uToF255[i], uToF1[i], uToF1Inv[i]}), i < 257 ? channel : std::vector<float>(3));
            ASSERT_TRUE(i > 255 || uSquareRootTable1[i] == std::floor(std::sqrt(i / 255.0) * 255.0 + 0.49)) << i;
        }
    }
    EXPECT_EQ(movedByFloat, 63);
    // floor(d * a / 255 + 0.49) in integers, floor((100 d a + 12495) / 25500), as a byte; column 511 is 0.
    for (int a = 0; a < 256; ++a) {
        for (int d = -255; d <= 256; ++d) {
            long const n = 100L * d * a + 12495;
            long const rounded = d == 256 ? 0 : n >= 0 ? n / 25500 : -((-n + 25499) / 25500);
            ASSERT_EQ(uMulTab[a][d + 255], static_cast<unsigned char>(rounded)) << a << " " << d;
        }
    }
}

TEST_F(MathTables, CubicRowsAreTheWeightsSummingToOne)
{
    // Row i: the weights at the middle of the i-th of 256 steps, the second taking up what the others
    // lack of 1 in the float row, of 256 in the integer row (the weights times 256.49, truncated).
    // The pinned hashes hold the exact bits.
    for (int i = 0; i < 256; ++i) {
        double w[4];
        GSCalcCubicFactors((2 * i + 1) / 512.0, w);
        float const* row = __gsCubicFactorTableFloat[i];
        int const* n = __gsCubicFactorTableInt[i];
        for (int k = 0; k < 4; ++k)
            ASSERT_TRUE(std::fabs(row[k] - w[k]) < 3e-7 && (k == 1 || n[k] == int(w[k] * 256.49))) << i << " " << k;
        ASSERT_TRUE(std::fabs(((row[0] + row[1]) + row[2]) + row[3] - 1) <= 0x1p-22 && n[0] + n[1] + n[2] + n[3] == 256) << i;
    }
}

TEST_F(MathTables, ArctangentReadsEveryEntryInEveryOctant)
{
    float const halfPi = 1.5707964f, pi = 3.1415927f, threeHalvesPi = 4.712389f, twoPi = 6.2831855f;
    for (int k = 0; k < 511; ++k) {
        float const T = static_cast<float>(std::atan(static_cast<double>(static_cast<float>(k) / 511.0f)));
        float const r = (static_cast<float>(k) + 0.5f) / 511.0f;
        ASSERT_EQ(std::vector<float>({fAtan(r, 1), fAtan(1, r), fAtan(r, -1), fAtan(1, -r), fAtan(-1, -r), fAtan(-r, -1),
                                      fAtan(-r, 1), fAtan(-1, r)}),
                  std::vector<float>({T, halfPi - T, pi - T, halfPi + T, threeHalvesPi - T, pi + T, twoPi - T, threeHalvesPi + T}))
            << k;
    }
    float const T511 = static_cast<float>(std::atan(1.0));
    struct Case { float y, x, angle; } const cases[] = {
        {0, 0, 0.7853982f}, {2, 2, 0.7853982f}, {1, -1, halfPi + T511}, {-1, -1, threeHalvesPi - T511}, // diagonals
        {-1, 1, threeHalvesPi + T511}, {-0.0f, 1, 0}, {1, 0, halfPi}, {0, -1, pi}, {-1, 0, threeHalvesPi},
        {-1e-9f, 1, twoPi}, // just below the axis: 2pi - T[0]
        {INFINITY, -INFINITY, halfPi + T511}, {NAN, -1, pi + T511}, {1, NAN, halfPi + T511}, {NAN, 1, threeHalvesPi + T511}};
    for (Case const& c : cases)
        EXPECT_EQ(fAtan(c.y, c.x), c.angle) << c.y << " " << c.x;
}
