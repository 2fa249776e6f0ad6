#include "thumbnailer/AreaScaler.h"

#include "tests/support/PictureSamples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <random>
#include <vector>

namespace {

std::vector<uint8_t> scale(std::vector<uint8_t> const& src, int sw, int sh, int ch, int dw, int dh, bool* opaque = nullptr)
{
    AreaScaler s;
    EXPECT_EQ(s.start(sw, sh, ch, dw, dh), 0);
    for (int y = 0; y < sh; ++y)
        EXPECT_EQ(s.pushRow(src.data() + size_t(y) * size_t(sw) * size_t(ch)), 0);
    EXPECT_TRUE(s.finished());
    if (opaque)
        *opaque = s.opaque();
    return std::vector<uint8_t>(s.pixels(), s.pixels() + size_t(dw) * size_t(dh) * 4);
}

}  // namespace

TEST(AreaScaler, AveragesFractionalCoverageExactly)
{
    // Three source columns into two: each output covers one and a half source pixels.
    std::vector<uint8_t> src = {0, 0, 0, 90, 90, 90, 180, 180, 180};
    auto out = scale(src, 3, 1, 3, 2, 1);
    EXPECT_EQ(out[0], 30);
    EXPECT_EQ(out[4], 150);
    EXPECT_EQ(out[3], 255);
    // The same down the rows, one column wide.
    out = scale(src, 1, 3, 3, 1, 2);
    EXPECT_EQ(out[0], 30);
    EXPECT_EQ(out[4], 150);
}

TEST(AreaScaler, TransparentPixelsDoNotBleedColour)
{
    // Opaque red beside fully transparent green: the average is red at half coverage.
    std::vector<uint8_t> src = {255, 0, 0, 255, 0, 255, 0, 0};
    bool opaque = true;
    auto out = scale(src, 2, 1, 4, 1, 1, &opaque);
    EXPECT_EQ(out[0], 255);
    EXPECT_EQ(out[1], 0);
    EXPECT_EQ(out[2], 0);
    EXPECT_EQ(out[3], 128);
    EXPECT_FALSE(opaque);

    // Fully transparent everywhere: colour is defined as black, not garbage.
    std::vector<uint8_t> clear = {10, 20, 30, 0, 40, 50, 60, 0};
    out = scale(clear, 2, 1, 4, 1, 1);
    EXPECT_EQ(out, (std::vector<uint8_t>{0, 0, 0, 0}));
    // Likewise at 1:1, where pixels are copied rather than averaged.
    out = scale(clear, 2, 1, 4, 2, 1, &opaque);
    EXPECT_EQ(out, (std::vector<uint8_t>(8, 0)));
    EXPECT_FALSE(opaque);
}

struct ScaleCase {
    int sw, sh, ch, dw, dh;
};

class AreaScalerRatios : public ::testing::TestWithParam<ScaleCase> {};

TEST_P(AreaScalerRatios, MatchesFloatAreaAverageWithinRounding)
{
    ScaleCase c = GetParam();
    std::mt19937 rng(uint32_t(c.sw * 131 + c.dh));
    std::vector<uint8_t> src(size_t(c.sw) * size_t(c.sh) * size_t(c.ch));
    for (size_t i = 0; i < src.size(); ++i)
        src[i] = uint8_t(rng());
    // Some rows fully opaque so that both alpha paths are taken.
    if (c.ch == 4)
        for (int y = 0; y < c.sh; y += 3)
            for (int x = 0; x < c.sw; ++x)
                src[(size_t(y) * size_t(c.sw) + size_t(x)) * 4 + 3] = 255;
    auto out = scale(src, c.sw, c.sh, c.ch, c.dw, c.dh);
    auto ref = samples::areaAverage(src.data(), size_t(c.sw) * size_t(c.ch), c.sw, c.sh, c.ch, c.dw, c.dh);
    for (size_t i = 0; i < out.size(); ++i) {
        double alpha = ref[i - i % 4 + 3];
        // Colour of a nearly transparent pixel is ill-defined after 8-bit rounding of alpha.
        if (i % 4 != 3 && alpha < 8)
            continue;
        // The scaler gives straight colour.
        double want = i % 4 == 3 ? alpha : ref[i] * 255 / alpha;
        ASSERT_NEAR(out[i], want, 0.51 + 1e-9) << "byte " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, AreaScalerRatios,
                         ::testing::Values(ScaleCase{97, 61, 3, 13, 7}, ScaleCase{97, 61, 4, 13, 7},
                                           ScaleCase{64, 64, 4, 64, 64}, ScaleCase{100, 3, 4, 7, 1},
                                           ScaleCase{5, 200, 3, 1, 19}, ScaleCase{256, 256, 4, 255, 17}));

TEST(AreaScaler, RejectsUpscalingBadSizesAndExtraRows)
{
    AreaScaler s;
    EXPECT_NE(s.start(10, 10, 4, 11, 5), 0);
    EXPECT_NE(s.start(10, 10, 4, 5, 0), 0);
    EXPECT_NE(s.start(10, 10, 2, 5, 5), 0);
    EXPECT_NE(s.start(AreaScaler::kMaxSourceSide + 1, 10, 3, 5, 5), 0);
    uint8_t row[12] = {};
    EXPECT_NE(s.pushRow(row), 0);  // not started

    ASSERT_EQ(s.start(4, 2, 3, 2, 1), 0);
    EXPECT_EQ(s.pushRow(row), 0);
    EXPECT_FALSE(s.finished());
    EXPECT_EQ(s.pushRow(row), 0);
    EXPECT_TRUE(s.finished());
    EXPECT_NE(s.pushRow(row), 0);
}

TEST(AreaScaler, LargeOpaqueSumsDoNotOverflow)
{
    // The tallest source with the brightest pixels: the vertical sums sit at their 32-bit bound.
    int const h = AreaScaler::kMaxSourceSide;
    std::vector<uint8_t> row(2 * 4, 255);
    AreaScaler s;
    ASSERT_EQ(s.start(2, h, 4, 1, 1), 0);
    for (int y = 0; y < h; ++y)
        ASSERT_EQ(s.pushRow(row.data()), 0);
    ASSERT_TRUE(s.finished());
    EXPECT_EQ(s.pixels()[0], 255);
    EXPECT_EQ(s.pixels()[3], 255);
    EXPECT_TRUE(s.opaque());
}
