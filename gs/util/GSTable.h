// Lookup in terminated tables.
//
// A terminated integer table is an array of 32-bit values ended by GSTableEnd (-2147483648), which
// is not an entry. A terminated string list is an array of C strings ended by a null pointer.
#pragma once

#include "gs/text/GSString.h"

inline constexpr int GSTableEnd = -2147483647 - 1;

// The index of the first entry equal to `value`, else `defaultIndex`.
int GSTableFindValue(int value, int const* table, int defaultIndex);
// The entry at `index`, or `defaultValue` for a negative index or one at or past the terminator.
int GSTableGetEntry(int index, int const* table, int defaultValue);
// The number of entries before the terminator.
int GSTableGetCount(int const* table);
// The index of the first list entry whose bytes equal those of `s`, else `defaultIndex`.
int GSTableFindString(GSString const& s, char const* const* list, int defaultIndex);
