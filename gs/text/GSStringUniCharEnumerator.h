// GSStringUniCharEnumerator: walks the characters of a GSString by code point, reading code-page
// text through its tag's table (a zero byte gives no character) and UTF-8 leniently. With
// `decompose` set, a precomposed letter below U+2000 that the combining table makes comes out as
// its base letter followed by its accent. The string must outlive the enumerator and stay unchanged.
#pragma once

#include "gs/util/GSRange.h"

class GSString;

class GSStringUniCharEnumerator {
public:
    GSStringUniCharEnumerator(GSString const& string, short decompose);

    // The range is clamped to the text.
    void setRange(GSRange const& range);
    void setIndex(long i) { index = i; }
    long getIndex() const { return index; }
    // The next character; false at the end.
    bool getNext(unsigned int* c);
    // Drops an accent held back after a decomposed letter.
    void ignoreCombiningDiacreticalMark() { pending = 0; }

private:
    friend class GSStringCombiningUniCharEnumerator;
    bool readUniChar(unsigned int* c);

    unsigned char const* text;
    unsigned short const* table;
    short decompose;
    long index = 0;
    long end;
    unsigned int pending = 0;
    long textLength; // setRange never reaches beyond the text
};
