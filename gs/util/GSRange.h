// GSRange and GSRRange: a start and a length, in signed 64-bit integers and in floats.
//
// Each has an invalid value that means "no range": GSRange (-2147483648, 0) and GSRRange
// (-3.4028235e38, 0), the most negative float. A default-constructed range is the invalid one, so
// that a union can be accumulated from it.
//
// Intersection: two ranges intersect when each starts at or before the other's end; the result
// runs from the larger start to the smaller end. Ranges that only touch therefore intersect with
// length 0, deliberately (a caret between two runs belongs to both). No overlap gives the invalid
// range. Union: an invalid operand is ignored; otherwise from the smaller start to the larger end.
#pragma once

class GSRange {
public:
    static constexpr long kInvalidStart = -2147483648L;

    constexpr GSRange() = default;
    constexpr GSRange(long s, long l) : start(s), length(l) {}

    static constexpr GSRange invalid() { return GSRange(); }
    constexpr bool isValid() const { return start != kInvalidStart; }
    constexpr long getEnd() const { return start + length; }
    // (p, start + length - p): the part of the range from p on.
    constexpr GSRange getSubRangeStartingAt(long p) const { return GSRange(p, start + length - p); }

    constexpr bool operator==(GSRange const& other) const = default;

    long start = kInvalidStart;
    long length = 0;
};

GSRange IntersectionRange(GSRange const& a, GSRange const& b);
GSRange UnionRange(GSRange const& a, GSRange const& b);

class GSRRange {
public:
    static constexpr float kInvalidStart = -3.40282347e38f;

    constexpr GSRRange() = default;
    constexpr GSRRange(float s, float l) : start(s), length(l) {}

    static constexpr GSRRange invalid() { return GSRRange(); }
    constexpr bool isValid() const { return start != kInvalidStart; }
    constexpr float getEnd() const { return start + length; }

    // In place: the intersection / union with `other` (same rules as the free functions).
    void intersectWith(GSRRange const& other);
    void unifyWith(GSRRange const& other);
    // This range when it does not overlap `other` (an overlap needs other.end > start and
    // end > other.start). Otherwise this range moved out of `other` the shorter way: before it when
    // this range's centre lies nearer other's start than other's end, else after it.
    GSRRange getBestNonIntersectingRange(GSRRange const& other) const;

    constexpr bool operator==(GSRRange const& other) const = default;

    float start = kInvalidStart;
    float length = 0;
};

GSRRange IntersectionRange(GSRRange const& a, GSRRange const& b);
GSRRange UnionRange(GSRRange const& a, GSRRange const& b);
