// Helpers shared by the text tests: the bytes of a string, a string from bytes, a comparison's sign,
// the C.UTF-8 locale for cases and character classes beyond ASCII, and string tables from pairs.
#pragma once
#include "gs/text/GSString.h"
#include "gs/text/GSStringTable.h"

#include <gtest/gtest.h>

#include <clocale>
#include <string>
#include <utility>
#include <vector>

namespace texttest {

// The bytes of a string, zero bytes included.
inline std::string bytes(GSString const& s) { return std::string(s.c_str(), static_cast<size_t>(s.getLength())); }

// A string of exactly these bytes, in encoding `tag`.
inline GSString make(std::string const& b, int tag) { return GSString(b.data(), static_cast<long>(b.size()), tag); }

inline int sign(int v) { return (v > 0) - (v < 0); }

// C.UTF-8 for LC_CTYPE while it lives.
class UTF8Locale {
public:
    UTF8Locale() : old(std::setlocale(LC_CTYPE, nullptr)) { std::setlocale(LC_CTYPE, "C.UTF-8"); }
    ~UTF8Locale() { std::setlocale(LC_CTYPE, old.c_str()); }
    UTF8Locale(UTF8Locale const&) = delete;
    UTF8Locale& operator=(UTF8Locale const&) = delete;

private:
    std::string old;
};

using Pairs = std::vector<std::pair<std::string, std::string>>;

// The entries of a table, in its order.
inline Pairs pairsOf(GSBasicStringTable const& table)
{
    Pairs out;
    GSString key, value;
    for (long i = 0; i < table.getCount(); ++i) {
        table.get(i, &key, &value);
        out.emplace_back(bytes(key), bytes(value));
    }
    return out;
}

// A table of these pairs, each added in turn (so an unsorted table keeps their order).
inline GSStringTable tableOf(Pairs const& pairs, short sorted = 1)
{
    GSStringTable table;
    table.setSorted(sorted);
    for (auto const& [key, value] : pairs)
        EXPECT_EQ(table.add(GSString(key.c_str()), GSString(value.c_str())), 0);
    return table;
}

// A numbered table of these texts.
inline GSNumericStringTable numbersOf(std::vector<std::pair<int, char const*>> const& pairs)
{
    GSNumericStringTable table;
    for (auto const& [id, text] : pairs)
        EXPECT_GE(table.setValue(id, GSString(text)), 0);
    return table;
}

} // namespace texttest
