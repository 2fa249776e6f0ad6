// GSStringCombiningUniCharEnumerator: walks the characters of a GSString with one following
// combining mark folded into the precomposed letter (e + U+0301 gives U+00E9); a second mark comes
// out by itself. The string must outlive the enumerator and stay unchanged.
#pragma once

#include "gs/util/GSRange.h"

class GSString;

class GSStringCombiningUniCharEnumerator {
public:
    explicit GSStringCombiningUniCharEnumerator(GSString const& string);

    // The range is clamped to the text.
    void setRange(GSRange const& range);
    void setIndex(long i);
    // The byte index after the last character given out.
    long getPosition() const { return position; }
    // The next character with one accent folded in; false at the end.
    bool getNext(unsigned int* c);
    // One raw character.
    bool readUniChar(unsigned int* c);

private:
    unsigned char const* text;
    unsigned short const* table;
    long index = 0;
    long end;
    bool restart = true;
    unsigned int lookAhead = 0;
    long position = 0;
    long textLength; // setRange never reaches beyond the text
};
