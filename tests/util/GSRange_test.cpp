#include "gs/util/GSRange.h"

#include <gtest/gtest.h>

#include <limits>
#include <ostream>

static std::ostream& operator<<(std::ostream& os, GSRange const& r) { return os << "(" << r.start << ", " << r.length << ")"; }
static std::ostream& operator<<(std::ostream& os, GSRRange const& r) { return os << "(" << r.start << ", " << r.length << ")"; }

TEST(GSRangeIntersection, OverlapTouchAndGap)
{
    EXPECT_EQ(IntersectionRange(GSRange(0, 10), GSRange(4, 10)), GSRange(4, 6));
    EXPECT_EQ(IntersectionRange(GSRange(4, 10), GSRange(0, 10)), GSRange(4, 6));
    EXPECT_EQ(IntersectionRange(GSRange(0, 10), GSRange(2, 3)), GSRange(2, 3));
    // Touching ranges intersect with length 0, on either side.
    EXPECT_EQ(IntersectionRange(GSRange(0, 10), GSRange(10, 5)), GSRange(10, 0));
    EXPECT_EQ(IntersectionRange(GSRange(10, 5), GSRange(0, 10)), GSRange(10, 0));
    // One past touching: no intersection.
    EXPECT_EQ(IntersectionRange(GSRange(0, 10), GSRange(11, 5)), GSRange::invalid());
    EXPECT_EQ(IntersectionRange(GSRange(11, 5), GSRange(0, 10)), GSRange::invalid());
    EXPECT_TRUE(GSRange(0, 0).isValid());
    // 64-bit starts are kept whole.
    EXPECT_EQ(IntersectionRange(GSRange(1L << 40, 100), GSRange((1L << 40) + 50, 100)), GSRange((1L << 40) + 50, 50));
}

TEST(GSRangeUnion, SpansBothAndIgnoresInvalid)
{
    EXPECT_EQ(UnionRange(GSRange(), GSRange(3, 4)), GSRange(3, 4));
    EXPECT_EQ(UnionRange(GSRange(3, 4), GSRange()), GSRange(3, 4));
    EXPECT_EQ(UnionRange(GSRange(3, 4), GSRange(20, 1)), GSRange(3, 18));
    EXPECT_EQ(UnionRange(GSRange(0, 100), GSRange(20, 1)), GSRange(0, 100));
    // Only the start marks a range invalid: a length does not rescue it.
    EXPECT_EQ(UnionRange(GSRange(GSRange::kInvalidStart, 50), GSRange(3, 4)), GSRange(3, 4));
}

TEST(GSRRange, SameRulesOnFloatsAndUnionsAccumulateFromTheInvalidRange)
{
    EXPECT_EQ(IntersectionRange(GSRRange(0, 10), GSRRange(10, 5)), GSRRange(10, 0));
    EXPECT_EQ(IntersectionRange(GSRRange(0, 10), GSRRange(10.5f, 5)), GSRRange());
    GSRRange r(0, 10);
    r.intersectWith(GSRRange(2.5f, 100));
    EXPECT_EQ(r, GSRRange(2.5f, 7.5f));
    r.intersectWith(GSRRange(50, 1));
    EXPECT_FALSE(r.isValid());
    EXPECT_EQ(r.start, -std::numeric_limits<float>::max()); // the most negative float
    r.unifyWith(GSRRange(5, 1));
    EXPECT_EQ(r, GSRRange(5, 1));
    r.unifyWith(GSRRange(-1, 2));
    EXPECT_EQ(r, GSRRange(-1, 7));
    r.unifyWith(GSRRange());
    EXPECT_EQ(r, GSRRange(-1, 7));
    EXPECT_EQ(UnionRange(GSRRange(), GSRRange()), GSRRange());
}

TEST(GSRRangeNonIntersecting, MovesOutTheShorterWay)
{
    // Centre 5 is nearer other's start (8) than its end (18): moved before it.
    EXPECT_EQ(GSRRange(0, 10).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(-2, 10));
    // Centre 15 is nearer other's end (18): moved after it.
    EXPECT_EQ(GSRRange(10, 10).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(18, 10));
    // Centre exactly in the middle of other: after it.
    EXPECT_EQ(GSRRange(12, 2).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(18, 2));
    // Touching is not overlapping: unchanged.
    EXPECT_EQ(GSRRange(18, 3).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(18, 3));
    EXPECT_EQ(GSRRange(5, 3).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(5, 3));
    EXPECT_EQ(GSRRange(0, 3).getBestNonIntersectingRange(GSRRange(8, 10)), GSRRange(0, 3)); // apart
}
