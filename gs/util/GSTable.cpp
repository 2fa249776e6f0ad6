#include "gs/util/GSTable.h"

#include <cstring>

int GSTableFindValue(int value, int const* table, int defaultIndex)
{
    for (int i = 0; table[i] != GSTableEnd; ++i) {
        if (table[i] == value)
            return i;
    }
    return defaultIndex;
}

int GSTableGetEntry(int index, int const* table, int defaultValue)
{
    if (index < 0)
        return defaultValue;
    // Walk up to the index so that an index past the terminator is never read.
    for (int i = 0; table[i] != GSTableEnd; ++i) {
        if (i == index)
            return table[i];
    }
    return defaultValue;
}

int GSTableGetCount(int const* table)
{
    int n = 0;
    while (table[n] != GSTableEnd)
        ++n;
    return n;
}

int GSTableFindString(GSString const& s, char const* const* list, int defaultIndex)
{
    size_t length = static_cast<size_t>(s.getLength());
    for (int i = 0; list[i]; ++i) {
        if (std::strlen(list[i]) == length && std::memcmp(list[i], s.c_str(), length) == 0)
            return i;
    }
    return defaultIndex;
}
