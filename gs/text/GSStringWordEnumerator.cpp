// GSStringWordEnumerator: the pieces of a range in order, each the piece getWordRangeForIndex gives
// around the range's remaining start, cut to the range.
#include "gs/text/GSStringWordEnumerator.h"

#include <algorithm>

GSStringWordEnumerator::GSStringWordEnumerator(GSString const& s)
    : string(&s), remaining(0, s.getLength())
{
}

GSStringWordEnumerator::GSStringWordEnumerator(GSString const& s, GSRange const& range)
    : string(&s), remaining(range)
{
}

// A piece starts exactly at the remaining start, even when that lies inside a character (a range
// may start anywhere), and always ends behind it: the piece around an index holds the whole
// cluster of that index. So the pieces tile the range and every call moves forward.
bool GSStringWordEnumerator::getNext(GSRange* piece)
{
    long const start = std::max(remaining.start, 0L);
    long const stop = std::min(remaining.getEnd(), string->getLength());
    if (remaining.length <= 0 || start >= stop) {
        remaining.length = 0;
        return false;
    }
    long const end = std::min(string->getWordRangeForIndex(start).getEnd(), stop);
    last = GSRange(start, end - start);
    remaining = GSRange(end, stop - end);
    if (piece)
        *piece = last;
    return true;
}
