#include "generator/GSThumbnailSize.h"

#include <gtest/gtest.h>

namespace {

struct DrawingCase {
    double w, h, maxW, maxH;
    double outW, outH;
};

class ThumbnailDrawingSize : public testing::TestWithParam<DrawingCase> {};

TEST_P(ThumbnailDrawingSize, MatchesTheRule)
{
    DrawingCase const& c = GetParam();
    GSDrawingSize s = GSThumbnailDrawingSize(c.w, c.h, c.maxW, c.maxH);
    EXPECT_EQ(s.width, c.outW);
    EXPECT_EQ(s.height, c.outH);
}

INSTANTIATE_TEST_SUITE_P(Cases, ThumbnailDrawingSize, testing::Values(
    DrawingCase{256, 128, 128, 128, 128, 64},      // wider than the box: width decides
    DrawingCase{100, 128, 128, 128, 100, 128},     // exactly as tall: enters the fit, stays as it is
    DrawingCase{128, 100, 128, 128, 128, 100},     // exactly as wide: no scaling (strict test)
    DrawingCase{128, 64, 127.6, 128, 128, 64},     // 127.6 + 0.49 floors to 128
    DrawingCase{128, 64, 127.4, 128, 127, 63},     // 127.4 + 0.49 floors to 127: width decides
    DrawingCase{512, 512, 256, 256, 256, 256},     // tie: height decides, width scaled
    DrawingCase{300, 1000, 256, 256, 76, 256},     // tall: height decides, 0.256 * 300 truncated
    DrawingCase{0, 0, 128, 128, 0, 0},             // no picture: nothing to scale
    DrawingCase{0, 300, 128, 128, 0, 128},         // zero width: its ratio counts as 1.0
    DrawingCase{300, 0, 128, 128, 128, 0},         // zero height: ratio 1.0 beats 128/300, width decides
    DrawingCase{99.5, 130.6, 128, 128, 96, 128}    // rounded to 99 x 131 first, then fitted
),
    [](testing::TestParamInfo<DrawingCase> const& p) { return "case" + std::to_string(p.index); });

TEST(FitSizeIntoBox, OnlyAForcedFitEnlargesAndTheScaleSaysHowMuch)
{
    for (bool force : {true, false}) {
        GSTSize<int> size{50, 25};
        double scale = 0;
        GSFitSizeIntoBox({100, 100}, &size, &scale, force);
        EXPECT_EQ(size, force ? (GSTSize<int>{100, 50}) : (GSTSize<int>{50, 25}));
        EXPECT_DOUBLE_EQ(scale, force ? 2.0 : 1.0);
    }
}

} // namespace
