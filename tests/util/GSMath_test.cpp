// Compiled with -ffp-contract=off (tests/CMakeLists.txt), so that the single-precision
// recomputations below round every step as the fills do.
#include "gs/util/GSMath.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <numbers>
#include <random>
#include <thread>
#include <vector>

namespace {

// FNV-1a over each value's bit pattern taken as little-endian bytes: the same on any byte order.
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

// The arctangent table is private; T[k] is read as fAtan((k + 0.5) / 511, 1), and T[511] through
// the diagonal point (1, -1), which gives pi/2 + T[511].
std::vector<float> arctangentEntries()
{
    std::vector<float> entries;
    for (int k = 0; k < 511; ++k)
        entries.push_back(fAtan((static_cast<float>(k) + 0.5f) / 511.0f, 1.0f));
    entries.push_back(fAtan(1.0f, -1.0f));
    return entries;
}

// Each table's hash, computed once from the tables that the entry-by-entry tests below check.
std::vector<std::uint64_t> tableHashes()
{
    std::vector<float> const atan = arctangentEntries();
    return {hashOf(uToF255, 260), hashOf(uToF1, 260), hashOf(uToF1Inv, 260), hashOf(usToF1, 65536),
            hashOf(usSquareRootTable1, 65536), hashOf(uSquareRootTable1, 256), hashOf(&uMulTab[0][0], 256 * 512),
            hashOf(&__gsCubicFactorTableFloat[0][0], 1024), hashOf(&__gsCubicFactorTableInt[0][0], 1024),
            hashOf(atan.data(), atan.size())};
}

std::vector<std::uint64_t> const pinnedHashes = {
    4656375605969757713u,  9313696846632324711u, 9258645563026635923u, 11646124952234469096u, 17243217490146233553u,
    14205719895430984484u, 5296346284808731753u, 4199356597783455737u, 8740410730349400213u,  16807657897582873685u};

float expectedArctangent(int k) { return static_cast<float>(std::atan(static_cast<double>(static_cast<float>(k) / 511.0f))); }

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

TEST_F(MathTables, EveryTableKeepsItsPinnedHash) { EXPECT_EQ(tableHashes(), pinnedHashes); }

TEST_F(MathTables, ChannelTablesAreTheNearestFloats)
{
    // A float division rounds i / 255 once, as the double quotient rounded to float does here.
    for (int i = 0; i <= 256; ++i) {
        ASSERT_EQ(uToF255[i], static_cast<float>(i));
        ASSERT_EQ(uToF1[i], static_cast<float>(i / 255.0)) << i;
        ASSERT_EQ(uToF1Inv[i], static_cast<float>((255 - i) / 255.0)) << i;
    }
    EXPECT_EQ(uToF1Inv[256], -1.0f / 255.0f);
    for (int i = 257; i < 260; ++i)
        EXPECT_EQ(uToF255[i] + uToF1[i] + uToF1Inv[i], 0.0f);
    for (int i = 0; i < 65536; ++i)
        ASSERT_EQ(usToF1[i], static_cast<float>(i / 65535.0)) << i;
}

TEST_F(MathTables, SquareRootTablesRoundEachStepInSinglePrecision)
{
    int differFromDouble = 0;
    for (int i = 0; i < 65536; ++i) {
        float const root = std::sqrt(static_cast<float>(i) / 65535.0f);
        float const scaled = root * 65535.0f;
        ASSERT_EQ(usSquareRootTable1[i], static_cast<int>(std::floor(scaled + 0.49f))) << i;
        double const exact = std::floor(std::sqrt(i / 65535.0) * 65535.0 + 0.49);
        ASSERT_LE(std::abs(usSquareRootTable1[i] - exact), 1) << i;
        differFromDouble += usSquareRootTable1[i] != exact;
    }
    EXPECT_EQ(differFromDouble, 63); // what single precision changes
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
    EXPECT_EQ(uMulTab[255][0], 0x01); // -255 as a byte
}

TEST_F(MathTables, CubicRowsAreCatmullRomWeightsSummingToOne)
{
    for (int i = 0; i < 256; ++i) {
        float const t = static_cast<float>(2 * i + 1) / 512.0f;
        float const t2 = t * t, t3 = t2 * t;
        float const w[4] = {t2 - t3 / 2 - t / 2, 3 * t3 / 2 - 5 * t2 / 2 + 1, t / 2 + 2 * t2 - 3 * t3 / 2, t3 / 2 - t2 / 2};
        float const* row = __gsCubicFactorTableFloat[i];
        int const* integers = __gsCubicFactorTableInt[i];
        float const correction = 1 - (((w[0] + w[1]) + w[2]) + w[3]);
        EXPECT_EQ(row[0], w[0]);
        EXPECT_EQ(row[1], w[1] + correction);
        EXPECT_EQ(row[2], w[2]);
        EXPECT_EQ(row[3], w[3]);
        EXPECT_NEAR(((row[0] + row[1]) + row[2]) + row[3], 1.0f, 2.5e-7f);
        EXPECT_EQ(integers[0] + integers[1] + integers[2] + integers[3], 256);
        for (int k : {0, 2, 3})
            EXPECT_EQ(integers[k], static_cast<int>(w[k] * 256.49f)) << i;
        // The weights against the double-precision curve: 1/2 (-t^3 + 2t^2 - t, 3t^3 - 5t^2 + 2, ...).
        double const u = (2 * i + 1) / 512.0;
        double const exact[4] = {(-u * u * u + 2 * u * u - u) / 2, (3 * u * u * u - 5 * u * u + 2) / 2,
                                 (-3 * u * u * u + 4 * u * u + u) / 2, (u * u * u - u * u) / 2};
        for (int k = 0; k < 4; ++k) {
            EXPECT_NEAR(row[k], exact[k], 3e-7) << i << " " << k;
            EXPECT_NEAR(integers[k], exact[k] * 256.49, k == 1 ? 3 : 1) << i << " " << k;
        }
    }
}

TEST(GSCalcCubicFactors, DoubleWeightsInterpolateLinesAndHitTheMiddlePoints)
{
    for (double t = 0; t <= 1; t += 1.0 / 64) {
        double w[4];
        GSCalcCubicFactors(t, w);
        EXPECT_NEAR(w[0] + w[1] + w[2] + w[3], 1, 1e-15);
        // Points at 0, 1, 2, 3 on any line: the curve between the middle two is that line.
        EXPECT_NEAR(w[0] * 5 + w[1] * 7 + w[2] * 9 + w[3] * 11, 7 + 2 * t, 1e-14);
        EXPECT_NEAR(w[3], (t * t * t - t * t) / 2, 1e-16);
    }
    double w[4];
    GSCalcCubicFactors(0.0, w);
    EXPECT_EQ(w[1], 1);
    GSCalcCubicFactors(1.0, w);
    EXPECT_EQ(w[2], 1);
}

TEST_F(MathTables, ArctangentReadsEveryEntryInEveryOctant)
{
    float const halfPi = 1.5707964f, pi = 3.1415927f, threeHalvesPi = 4.712389f, twoPi = 6.2831855f;
    std::vector<float> const entries = arctangentEntries();
    for (int k = 0; k < 511; ++k) {
        float const r = (static_cast<float>(k) + 0.5f) / 511.0f;
        float const T = expectedArctangent(k);
        ASSERT_EQ(entries[static_cast<std::size_t>(k)], T) << k;
        ASSERT_EQ(fAtan(1, r), halfPi - T) << k;
        ASSERT_EQ(fAtan(r, -1), pi - T) << k;
        ASSERT_EQ(fAtan(1, -r), halfPi + T) << k;
        ASSERT_EQ(fAtan(-1, -r), threeHalvesPi - T) << k;
        ASSERT_EQ(fAtan(-r, -1), pi + T) << k;
        ASSERT_EQ(fAtan(-r, 1), twoPi - T) << k;
        ASSERT_EQ(fAtan(-1, r), threeHalvesPi + T) << k;
    }
    float const T511 = expectedArctangent(511);
    struct Case {
        float y, x, angle;
    } const cases[] = {
        {0, 0, 0.7853982f}, {2, 2, 0.7853982f}, {INFINITY, INFINITY, 0.7853982f}, // the diagonal, the origin too
        {1, -1, halfPi + T511}, {-1, -1, threeHalvesPi - T511}, {-1, 1, threeHalvesPi + T511},
        {0, 1, 0}, {-0.0f, 1, 0}, {1, 0, halfPi}, {0, -1, pi}, {-1, 0, threeHalvesPi},
        {-1e-9f, 1, twoPi}, // just below the axis: 2pi - T[0]
        {INFINITY, -INFINITY, halfPi + T511}, {-INFINITY, -INFINITY, threeHalvesPi - T511},
        {-INFINITY, INFINITY, threeHalvesPi + T511}, {NAN, -1, pi + T511}, {1, NAN, halfPi + T511},
        {NAN, 1, threeHalvesPi + T511}, {-1, NAN, threeHalvesPi + T511},
    };
    for (Case const& c : cases)
        EXPECT_EQ(fAtan(c.y, c.x), c.angle) << c.y << " " << c.x;
}

TEST_F(MathTables, ArctangentIsWithinOneTableStepOfAtan2)
{
    std::mt19937 random(7);
    std::uniform_real_distribution<float> coordinate(-1000, 1000);
    for (int i = 0; i < 100000; ++i) {
        float const y = coordinate(random), x = coordinate(random);
        double angle = std::atan2(static_cast<double>(y), static_cast<double>(x));
        double const error = std::remainder(fAtan(y, x) - angle, 2 * std::numbers::pi);
        ASSERT_LE(std::abs(error), 1.0 / 511 + 1e-6) << y << " " << x;
    }
}

TEST(MathArctangentTable, EveryEntryIsFarFromAFloatRoundingMidpoint)
{
    // So any C library whose double atan is within a few units in the last place gives these floats.
    for (int k = 1; k < 512; ++k) {
        double const exact = std::atan(static_cast<double>(static_cast<float>(k) / 511.0f));
        float const f = expectedArctangent(k);
        double const below = (static_cast<double>(f) + std::nextafter(f, 0.0f)) / 2;
        double const above = (static_cast<double>(f) + std::nextafter(f, 2.0f)) / 2;
        double const margin = std::min(exact - below, above - exact);
        EXPECT_GT(margin, 1000 * (std::nextafter(exact, 2.0) - exact)) << k;
    }
}

TEST(MathInit, FillsOnceAlsoUnderConcurrentFirstCalls)
{
    // In a freshly started copy of this program, where no test has filled the tables yet.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(std::exit(fillConcurrently()), testing::ExitedWithCode(0), "");
    // Later calls write nothing.
    MathInit();
    float const kept = uToF1[7];
    uToF1[7] = -1;
    EXPECT_EQ(MathInit(), 0);
    EXPECT_EQ(uToF1[7], -1);
    uToF1[7] = kept;
    MathExit();
}
