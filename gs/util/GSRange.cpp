#include "gs/util/GSRange.h"

#include <algorithm>

namespace {

template <class R>
R intersect(R const& a, R const& b)
{
    if (a.start <= b.getEnd() && b.start <= a.getEnd()) {
        auto start = std::max(a.start, b.start);
        return R(start, std::min(a.getEnd(), b.getEnd()) - start);
    }
    return R::invalid();
}

template <class R>
R unite(R const& a, R const& b)
{
    if (!a.isValid())
        return b;
    if (!b.isValid())
        return a;
    auto start = std::min(a.start, b.start);
    return R(start, std::max(a.getEnd(), b.getEnd()) - start);
}

} // namespace

GSRange IntersectionRange(GSRange const& a, GSRange const& b) { return intersect(a, b); }
GSRange UnionRange(GSRange const& a, GSRange const& b) { return unite(a, b); }
GSRRange IntersectionRange(GSRRange const& a, GSRRange const& b) { return intersect(a, b); }
GSRRange UnionRange(GSRRange const& a, GSRRange const& b) { return unite(a, b); }

void GSRRange::intersectWith(GSRRange const& other) { *this = intersect(*this, other); }
void GSRRange::unifyWith(GSRRange const& other) { *this = unite(*this, other); }

GSRRange GSRRange::getBestNonIntersectingRange(GSRRange const& other) const
{
    if (!(other.getEnd() > start && getEnd() > other.start))
        return *this;
    float mid = start + length / 2;
    if (mid - other.start < other.getEnd() - mid)
        return GSRRange(other.start - length, length);
    return GSRRange(other.getEnd(), length);
}
