// What the GSURL files share: the check that a reference is a URL, path texts to and from the
// bytes the file system takes, and error texts handed on to the caller. Not part of the library's
// interface.
#pragma once

#include "gs/platform/GSPlatformItem.h"
#include "gs/platform/GSPlatformURL.h"
#include "gs/text/GSString.h"

#include <string>

class GSDate;
class GSFileState;

// The URL behind a reference, or null when the reference is null or not a URL.
inline GSPlatformURL const* GSURLCast(void const* reference)
{
    return reference ? dynamic_cast<GSPlatformURL const*>(static_cast<GSPlatformObject const*>(reference)) : nullptr;
}

// The bytes of a path text for the file system: UTF-8 and table-less text as it stands, other code
// pages converted to UTF-8. Empty for a text with a zero byte inside (no file system takes one) or
// one that cannot be converted.
std::string GSURLPathBytes(GSString const& text);
// A name or path from the file system as text: tagged UTF-8 when the bytes are valid UTF-8, else
// tagged 2 (bytes without tables), so that it goes back to the file system unchanged.
GSString GSURLTextFromBytes(std::string const& bytes);

// Collects the system's error text of one call and hands it to the caller's GSString on failure,
// when the caller asked for it and the system gave one; otherwise the caller's text stays.
class GSURLErrorText {
public:
    explicit GSURLErrorText(GSString* caller) : target(caller) {}
    GSURLErrorText(GSURLErrorText const&) = delete;
    GSURLErrorText& operator=(GSURLErrorText const&) = delete;

    // Where the platform call writes its text; null when the caller wants none.
    std::string* get() { return target ? &text : nullptr; }
    // Hands the text on when status is a failure; returns status.
    short finish(short status)
    {
        if (status != 0 && target && !text.empty())
            *target = GSURLTextFromBytes(text);
        return status;
    }

private:
    GSString* target;
    std::string text;
};

// A file-system time as a GSDate (GMT) to the millisecond: ms = floor(fraction * 1000 + 0.49), and
// 1000 carries into the next second. Times before 1970 count their fraction forward from the
// second before (so that -0.3 s is 23:59:59.700 on 31 December 1969).
GSDate GSURLDateFromTime(long long seconds, long nanoseconds);
// The three dates of an item's state. One date is carried from key to key in the order access,
// creation, modification: a time the file system did not give takes the value of the one read
// before it (the first one missing: the invalid date).
void GSURLFillDates(GSPlatformItemState const& item, GSFileState* state);
// A GSDate (GMT) as a file-system time; false for a date that fails checkForError or has a
// millisecond above 999.
bool GSURLTimeFromDate(GSDate const& date, GSPlatformTime* time);
