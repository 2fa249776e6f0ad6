// GSStringUniCharEnumerator: characters of a string one at a time, optionally decomposed.
#include "gs/text/GSStringUniCharEnumerator.h"

#include "gs/text/GSCodePages.h"
#include "gs/text/GSString.h"

#include <algorithm>

GSStringUniCharEnumerator::GSStringUniCharEnumerator(GSString const& string, short d)
    : text(reinterpret_cast<unsigned char const*>(string.c_str())),
      table(GSString::getToUnicodeTableForEncoding(string.getEncoding())), decompose(d),
      end(string.getLength()), textLength(end)
{
}

void GSStringUniCharEnumerator::setRange(GSRange const& range)
{
    index = std::clamp(range.start, 0L, textLength);
    end = std::clamp(range.getEnd(), index, textLength);
    pending = 0;
}

bool GSStringUniCharEnumerator::readUniChar(unsigned int* c)
{
    return GSReadRawUniChar(text, table, &index, end, c);
}

bool GSStringUniCharEnumerator::getNext(unsigned int* c)
{
    if (pending) {
        *c = pending;
        pending = 0;
        return true;
    }
    unsigned int ch;
    if (!readUniChar(&ch))
        return false;
    unsigned short base;
    unsigned short mark;
    if (decompose && GSCodePages::getDecomposition(ch, &base, &mark)) {
        *c = base;
        pending = mark;
    } else {
        *c = ch;
    }
    return true;
}
