// Compiled with -ffp-contract=off (tests/CMakeLists.txt), so that the single-precision
// recomputations below round every step as the fills do.
#include "gs/util/GSMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <thread>
#include <vector>

namespace {

// FNV-1a over each value's bit pattern as little-endian bytes: the same on any byte order.
template <class T>
std::uint64_t hashOf(T const* values, std::size_t n)
{
    std::uint64_t h = 14695981039346656037ull;
    for (std::size_t i = 0; i < n; ++i) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &values[i], sizeof(T));
        for (std::size_t b = 0; b < sizeof(T); ++b)
            h = (h ^ ((bits >> (8 * b)) & 0xFF)) * 1099511628211ull;
    }
    return h;
}

// Pinned once from the tables that the entry-by-entry tests below check against their formulas.
std::vector<std::uint64_t> tableHashes()
{
    // The private arctangent table through fAtan: T[k] at ((k + 0.5) / 511, 1) for k < 511, and
    // pi/2 + T[511] at the diagonal point (1, -1).
    std::vector<float> atan;
    for (int k = 0; k < 511; ++k)
        atan.push_back(fAtan((static_cast<float>(k) + 0.5f) / 511.0f, 1.0f));
    atan.push_back(fAtan(1.0f, -1.0f));
    return {hashOf(uToF255, 260), hashOf(uToF1, 260), hashOf(uToF1Inv, 260), hashOf(usToF1, 65536),
            hashOf(usSquareRootTable1, 65536), hashOf(uSquareRootTable1, 256), hashOf(&uMulTab[0][0], 256 * 512),
            hashOf(&__gsCubicFactorTableFloat[0][0], 1024), hashOf(&__gsCubicFactorTableInt[0][0], 1024),
            hashOf(atan.data(), atan.size())};
}

std::vector<std::uint64_t> const pinnedHashes = {
    4656375605969757713u,  9313696846632324711u, 9258645563026635923u, 11646124952234469096u, 17243217490146233553u,
    14205719895430984484u, 5296346284808731753u, 4199356597783455737u, 8740410730349400213u,  16807657897582873685u};

// 0 when four threads calling MathInit at once all return 0 after the tables were filled from zero.
int fillConcurrently()
{
    bool const emptyBefore = uToF1[255] == 0 && __gsCubicFactorTableInt[0][1] == 0;
    std::vector<int> results(4, 1);
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < 4; ++i)
        threads.emplace_back([&results, i] { results[i] = MathInit(); });
    for (std::thread& thread : threads)
        thread.join();
    return emptyBefore && results == std::vector<int>(4, 0) && tableHashes() == pinnedHashes ? 0 : 1;
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
    EXPECT_EXIT(std::exit(fillConcurrently()), testing::ExitedWithCode(0), "");
    MathInit();
    float const kept = uToF1[7];
    uToF1[7] = -1;
    EXPECT_EQ(MathInit(), 0); // a later call writes nothing
    EXPECT_EQ(uToF1[7], -1);
    uToF1[7] = kept;
}

TEST_F(MathTables, EveryTableKeepsItsPinnedHash) { EXPECT_EQ(tableHashes(), pinnedHashes); }

TEST_F(MathTables, ChannelAndSquareRootTablesEntryByEntry)
{
    // A float quotient of integers is the double quotient rounded to float; 257 entries, then 0.
    for (int i = 0; i < 260; ++i) {
        bool const filled = i < 257;
        ASSERT_EQ(uToF255[i], filled ? static_cast<float>(i) : 0) << i;
        ASSERT_EQ(uToF1[i], filled ? static_cast<float>(i / 255.0) : 0) << i;
        ASSERT_EQ(uToF1Inv[i], filled ? static_cast<float>((255 - i) / 255.0) : 0) << i;
    }
    for (int i = 0; i < 65536; ++i) {
        ASSERT_EQ(usToF1[i], static_cast<float>(i / 65535.0)) << i;
        // In single precision step by step (63 entries differ from the same in double).
        float const scaled = std::sqrt(static_cast<float>(i) / 65535.0f) * 65535.0f;
        ASSERT_EQ(usSquareRootTable1[i], static_cast<int>(std::floor(scaled + 0.49f))) << i;
    }
    for (int i = 0; i < 256; ++i)
        ASSERT_EQ(uSquareRootTable1[i], std::floor(std::sqrt(i / 255.0) * 255.0 + 0.49)) << i;
}

TEST_F(MathTables, MultiplicationTableHoldsRoundedProducts)
{
    // floor(d * a / 255 + 0.49) exactly, in integers: floor((100 d a + 12495) / 25500).
    for (int a = 0; a < 256; ++a) {
        for (int d = -255; d <= 255; ++d) {
            long const numerator = 100L * d * a + 12495;
            long const rounded = numerator >= 0 ? numerator / 25500 : -((-numerator + 25499) / 25500);
            ASSERT_EQ(uMulTab[a][d + 255], static_cast<unsigned char>(rounded)) << a << " " << d;
        }
        ASSERT_EQ(uMulTab[a][511], 0);
    }
}

TEST_F(MathTables, CubicRowsAreCatmullRomWeightsSummingToOne)
{
    for (int i = 0; i < 256; ++i) {
        float const t = static_cast<float>(2 * i + 1) / 512.0f, t2 = t * t, t3 = t2 * t;
        float const w[4] = {t2 - t3 / 2 - t / 2, 3 * t3 / 2 - 5 * t2 / 2 + 1, t / 2 + 2 * t2 - 3 * t3 / 2, t3 / 2 - t2 / 2};
        float const* row = __gsCubicFactorTableFloat[i];
        int const* integers = __gsCubicFactorTableInt[i];
        float const correction = 1 - (((w[0] + w[1]) + w[2]) + w[3]);
        EXPECT_EQ(std::vector<float>(row, row + 4), std::vector<float>({w[0], w[1] + correction, w[2], w[3]})) << i;
        EXPECT_NEAR(((row[0] + row[1]) + row[2]) + row[3], 1.0f, 2.5e-7f) << i;
        for (int k : {0, 2, 3})
            EXPECT_EQ(integers[k], static_cast<int>(w[k] * 256.49f)) << i;
        EXPECT_EQ(integers[0] + integers[1] + integers[2] + integers[3], 256) << i;
        // Against the double weights, which reproduce points on a line between the middle two.
        double exact[4];
        GSCalcCubicFactors((2 * i + 1) / 512.0, exact);
        EXPECT_NEAR(exact[0] * 5 + exact[1] * 7 + exact[2] * 9 + exact[3] * 11, 7 + (2 * i + 1) / 256.0, 1e-14);
        EXPECT_NEAR(exact[1], row[1], 3e-7) << i;
    }
}

TEST_F(MathTables, ArctangentReadsEveryEntryInEveryOctant)
{
    float const halfPi = 1.5707964f, pi = 3.1415927f, threeHalvesPi = 4.712389f, twoPi = 6.2831855f;
    for (int k = 0; k < 511; ++k) {
        // The correctly rounded float arctangent, far from any float rounding midpoint, so that any
        // C library whose double atan is within a few units in the last place gives the same table.
        double const exact = std::atan(static_cast<double>(static_cast<float>(k) / 511.0f));
        float const T = static_cast<float>(exact);
        double const below = (double{T} + std::nextafter(T, 0.0f)) / 2, above = (double{T} + std::nextafter(T, 2.0f)) / 2;
        EXPECT_TRUE(k == 0 || std::min(exact - below, above - exact) > 1000 * (std::nextafter(exact, 2.0) - exact)) << k;
        float const r = (static_cast<float>(k) + 0.5f) / 511.0f;
        float const angles[8] = {fAtan(r, 1), fAtan(1, r), fAtan(r, -1), fAtan(1, -r), fAtan(-1, -r), fAtan(-r, -1), fAtan(-r, 1), fAtan(-1, r)};
        float const expected[8] = {T, halfPi - T, pi - T, halfPi + T, threeHalvesPi - T, pi + T, twoPi - T, threeHalvesPi + T};
        ASSERT_EQ(std::vector<float>(angles, angles + 8), std::vector<float>(expected, expected + 8)) << k;
    }
    float const T511 = static_cast<float>(std::atan(1.0));
    struct Case {
        float y, x, angle;
    } const cases[] = {
        {0, 0, 0.7853982f}, {2, 2, 0.7853982f}, {1, -1, halfPi + T511}, {-1, -1, threeHalvesPi - T511}, // diagonals
        {-1, 1, threeHalvesPi + T511}, {0, 1, 0}, {-0.0f, 1, 0}, {1, 0, halfPi}, {0, -1, pi}, {-1, 0, threeHalvesPi},
        {-1e-9f, 1, twoPi}, // just below the axis: 2pi - T[0]
        {INFINITY, -INFINITY, halfPi + T511}, {NAN, -1, pi + T511}, {1, NAN, halfPi + T511}, {NAN, 1, threeHalvesPi + T511},
    };
    for (Case const& c : cases)
        EXPECT_EQ(fAtan(c.y, c.x), c.angle) << c.y << " " << c.x;
}
