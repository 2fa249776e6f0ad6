// GSStringWordEnumerator: splits a GSString (or a range of it) into pieces: words, runs of word
// delimiters, and single white-space characters, in order. The string must outlive the enumerator
// and stay unchanged.
#pragma once

#include "gs/text/GSString.h"
#include "gs/util/GSRange.h"

class GSStringWordEnumerator {
public:
    explicit GSStringWordEnumerator(GSString const& string);
    GSStringWordEnumerator(GSString const& string, GSRange const& range);

    void setRange(GSRange const& range) { remaining = range; }
    // The range of the next piece (piece may be null); false when nothing remains.
    bool getNext(GSRange* piece);
    // The text of the last piece.
    GSString getWord() const { return string->getSubstring(last.start, last.length); }
    // True when the last piece is not a word (it starts with a word delimiter).
    bool isDivider() const { return string->isWordDelimiter(last.start); }

private:
    GSString const* string;
    GSRange remaining;
    GSRange last{0, 0};
};
