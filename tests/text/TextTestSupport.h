// Helpers shared by the text tests: the bytes of a string, a string from bytes, a comparison's sign,
// and the C.UTF-8 locale for cases and character classes beyond ASCII.
#pragma once
#include "gs/text/GSString.h"

#include <clocale>
#include <string>

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

} // namespace texttest
