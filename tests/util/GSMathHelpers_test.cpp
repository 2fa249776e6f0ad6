#include "gs/util/GSMathHelpers.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <climits>
#include <cmath>
#include <random>
#include <vector>

TEST(GSIntegerRoots, IsqrtRoundsAsqrtWhereItReturnsIlog2Floors)
{
    // Every argument below 2^20, then around every rounding boundary above: sqrt(k^2 + k) rounds
    // down, sqrt(k^2 + k + 1) up. The top two bits are ignored.
    auto check = [](long x) { ASSERT_EQ(isqrt(static_cast<int>(x)), std::lround(std::sqrt(double(x)))) << x; };
    for (long x = 0; x < (1L << 20); ++x)
        check(x);
    for (long k = 1024; k < 32768; ++k)
        for (long x : {k * k - 1, k * k + k, k * k + k + 1})
            check(x);
    EXPECT_TRUE(isqrt(-1) == 32768 && isqrt(INT_MIN | 10) == 3);
    // asqrt is never called with other arguments: it does not return for them.
    unsigned int const roots[][2] = {{147456, 384}, {589824, 768}, {2359296, 1536}, {9437184, 3072}, {37748736, 6144},
                                     {150994944, 12288}, {1u << 22, 2149582848}, {1u << 24, 2155876352}, {1u << 26, 2181046272}};
    for (auto const& c : roots)
        EXPECT_EQ(asqrt(c[0]), c[1]) << c[0];
    for (int x = -7; x < (1 << 16); ++x)
        ASSERT_EQ(ilog2(x), x < 2 ? 0 : std::bit_width(static_cast<unsigned int>(x)) - 1) << x;
}

TEST(GSMathCurves, GainBiasAndGamma)
{
    // Schlick's gain and bias, their parameter limited to 0.001..0.999 for invbias.
    auto bias = [](double p, double x) { return x / ((1 / p - 2) * (1 - x) + 1); };
    for (double a : {0.1, 0.25, 0.5, 0.8, 0.95}) {
        auto const af = static_cast<float>(a);
        for (double t = 0; t <= 1; t += 1.0 / 32) {
            double const schlick = t < 0.5 ? bias(a, 2 * t) / 2 : 1 - bias(a, 2 - 2 * t) / 2, b = std::clamp(t, 0.001, 0.999);
            auto const tf = static_cast<float>(t);
            EXPECT_TRUE(std::fabs(gain(a, t) - schlick) < 1e-12 && std::fabs(gain(af, tf) - schlick) < 1e-6) << a << " " << t;
            EXPECT_TRUE(std::fabs(bias(invbias(a, t), b) - a) < 1e-12 && std::fabs(bias(invbias(af, tf), b) - a) < 1e-4) << a << " " << t;
        }
        // The double version tests its upper limit against the widened float but limits to the double.
        double const widened = static_cast<double>(0.999f);
        EXPECT_EQ(invbias(a, widened), a / (2 * a + (widened - a) / (1 - widened)));
        EXPECT_EQ(invbias(a, 0.999000013), invbias(a, 0.999));
    }
    // Gamma positions are powers of two; gammas their inverse, the position limited to 0.001..0.999.
    for (double p : {-1.0, 0.0, 0.001, 0.25, 0.5, 0.999, 1.0, 8.0}) {
        double const gamma = -std::log2(std::clamp(p, 0.001, 0.999));
        EXPECT_TRUE(std::fabs(GSGetGammaForRelativePosition(p) - gamma) < 1e-15 &&
                    std::fabs(GSGetGammaForRelativePosition(static_cast<float>(p)) - gamma) < 2e-6) << p;
    }
    for (int g : {-3, 0, 2})
        EXPECT_TRUE(GSGetRelativePositionForGamma(double(g)) == std::ldexp(1.0, -g) && GSGetRelativePositionForGamma(float(g)) == std::ldexp(1.0f, -g));
}

TEST(GSMathAngles, ClipKeepsOrDropsTheFullTurnAndMergeTakesTheShorterArc)
{
    double const twoPi = 6.283185307179586, floatTwoPi = static_cast<double>(6.2831855f), pi = 3.141592653589793;
    double const cases[][3] = { // angle, keepFullTurn, result
        {twoPi, 0, 0}, {twoPi, 1, twoPi}, {2 * twoPi, 0, 0}, {200000, 1, twoPi}, {200000, 0, 0}, {-200000, 1, 0},
        {-1, 1, twoPi - 1}, {7, 1, 7 - twoPi}, {twoPi - 9e-6, 0, -9e-6}, {twoPi - 2e-5, 0, twoPi - 2e-5},
        {100000, 1, std::fmod(100000, twoPi)}, {-100000, 1, twoPi - std::fmod(100000, twoPi)}};
    for (auto const& c : cases)
        EXPECT_NEAR(GSClipAngle(c[0], static_cast<short>(c[1])), c[2], 1e-7) << c[0] << " " << c[1];
    // The float version's full turn is the float 6.2831855.
    EXPECT_TRUE(GSClipAngle(6.2831855f, 0) == 0 && GSClipAngle(6.2831855f, 1) == 6.2831855f && GSClipAngle(-1.0f, 1) == 6.2831855f - 1.0f);
    EXPECT_EQ(GSClipAngle(floatTwoPi, 1), floatTwoPi - twoPi);
    EXPECT_TRUE(std::isnan(GSClipAngle(NAN, 1)));
    // Merging computes in double with the float 2pi: forward across 0, back, and at pi exactly.
    EXPECT_EQ(GSMergeAngles(6.0, 0.5, 0.5), 6.0 + (0.5 + floatTwoPi - 6.0) * 0.5);
    EXPECT_TRUE(GSMergeAngles(2.0, 1.0, 0.5) == 1.5 && GSMergeAngles(1.0, 2.0, 0.25) == 1.25 && GSMergeAngles(0.0, pi, 1.0) == pi);
    EXPECT_EQ(GSMergeAngles(0.0, std::nextafter(pi, 4.0), 1.0), std::nextafter(pi, 4.0) - floatTwoPi);
    EXPECT_EQ(GSMergeAngles(0.1f, 0.05f, 0.3f), static_cast<float>(GSMergeAngles(double{0.1f}, double{0.05f}, double{0.3f})));
}

TEST(GSMathCompare, TolerancesAndGranularity)
{
    EXPECT_TRUE(GSIsEqual(0.0, 1e-5) && GSIsEqual(2.0, 2.0 - 5e-6) && GSIsEqual(0.0f, 1e-5f));
    EXPECT_FALSE(GSIsEqual(0.0, std::nextafter(1e-5, 1.0)) || GSIsEqual(0.0f, std::nextafter(1e-5f, 1.0f)));
    // Relative: two zeros are equal, a zero and anything else are not; the larger magnitude counts.
    double const relative[][3] = {{0, 0, 1}, {0, 1e-30, 0}, {1e-30, 0, 0}, {100000, 100000.9, 1}, {100000, 100001.1, 0},
                                  {100000, 100001.000005, 1}, {100001.000005, 100000, 1}, {-100000, -100000.9, 1}};
    for (auto const& c : relative)
        EXPECT_TRUE(GSIsEqualFloating(c[0], c[1]) == (c[2] != 0) && GSIsEqualFloating(float(c[0]), float(c[1])) == (c[2] != 0)) << c[0];
    // floor(v / g + 0.49) steps of g; step counts beyond the 32-bit (float) or 64-bit (double)
    // integer are limited to it.
    double const granular[][4] = {{7.3, 0.5, 7.5, 7.5}, {7.2, 0.5, 7, 7}, {2.52, 1, 3, 3}, {2.5, 1, 2, 2}, {-2.5, 1, -3, -3},
                                  {-2.4, 1, -2, -2}, {1e30, 2, 0x1p64, 0x1p32}, {-1e30, 1, -0x1p63, -0x1p31}};
    for (auto const& c : granular)
        EXPECT_TRUE(GSCorrectForGranularity(c[0], c[1]) == c[2] && GSCorrectForGranularity(float(c[0]), float(c[1])) == float(c[3])) << c[0];
    EXPECT_TRUE(std::isnan(GSCorrectForGranularity(NAN, 1.0f)));
}

TEST(GSMathInterpolation, CatmullRomWithTheEndSamplesTakenTwice)
{
    for (int n : {-1, 0, 3}) // too few samples: t itself, values not read
        EXPECT_TRUE(GSInterpolateValue(0.5f, n, nullptr) == 0.5f && GSInterpolateValueLinear(-3.0f, n, nullptr) == -3.0f);
    std::mt19937 random(3);
    std::uniform_real_distribution<float> sample(-10, 10);
    for (int n = 4; n < 10; ++n) {
        std::vector<float> padded(static_cast<std::size_t>(n) + 4, NAN); // shows reads outside the samples
        float* v = padded.data() + 2;
        std::generate(v, v + n, [&] { return sample(random); });
        for (float t : {0.0f, -0.5f, -INFINITY, NAN, 1.0f, 1.5f, 1e30f, INFINITY}) {
            float const expected = t > 0 ? v[n - 1] : v[0];
            EXPECT_TRUE(GSInterpolateValue(t, n, v) == expected && GSInterpolateValueLinear(t, n, v) == expected) << n << " " << t;
        }
        auto at = [&](int i) { return static_cast<double>(v[std::clamp(i, 0, n - 1)]); };
        for (int step = 1; step < 200; ++step) {
            double const t = step / 200.0, x = (n - 1) * t, u = x - std::floor(x);
            int const k = static_cast<int>(x);
            double const cubic = ((-u * u * u + 2 * u * u - u) * at(k - 1) + (3 * u * u * u - 5 * u * u + 2) * at(k) +
                                  (-3 * u * u * u + 4 * u * u + u) * at(k + 1) + (u * u * u - u * u) * at(k + 2)) / 2;
            EXPECT_NEAR(GSInterpolateValue(static_cast<float>(t), n, v), cubic, 1e-4) << n << " " << t;
            EXPECT_NEAR(GSInterpolateValueLinear(static_cast<float>(t), n, v), at(k) + u * (at(k + 1) - at(k)), 1e-4);
        }
    }
}
