// GSStringCombiningUniCharEnumerator: characters of a string with one following accent folded in.
#include "gs/text/GSStringCombiningUniCharEnumerator.h"

#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"

#include <algorithm>

GSStringCombiningUniCharEnumerator::GSStringCombiningUniCharEnumerator(GSString const& string)
    : text(reinterpret_cast<unsigned char const*>(string.c_str())),
      table(GSString::getToUnicodeTableForEncoding(string.getEncoding())), end(string.getLength()),
      textLength(end)
{
}

void GSStringCombiningUniCharEnumerator::setRange(GSRange const& range)
{
    index = std::clamp(range.start, 0L, textLength);
    end = std::clamp(range.getEnd(), index, textLength);
    restart = true;
    position = index;
}

void GSStringCombiningUniCharEnumerator::setIndex(long i)
{
    index = i;
    restart = true;
    position = i;
}

bool GSStringCombiningUniCharEnumerator::readUniChar(unsigned int* c)
{
    return GSReadRawUniChar(text, table, &index, end, c);
}

bool GSStringCombiningUniCharEnumerator::getNext(unsigned int* c)
{
    if (restart) {
        if (!readUniChar(&lookAhead))
            lookAhead = 0;
        restart = false;
    }
    if (!lookAhead)
        return false;
    unsigned int result = lookAhead;
    position = index;
    if (!readUniChar(&lookAhead)) {
        lookAhead = 0;
        *c = result;
        return true;
    }
    // One accent only: a second one comes out by itself on the next call.
    if (unsigned int const combined = GSString::getCombinationWithDiacriticalMark(result, lookAhead)) {
        result = combined;
        position = index;
        if (!readUniChar(&lookAhead))
            lookAhead = 0;
    }
    *c = result;
    return true;
}
