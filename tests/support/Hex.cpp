#include "tests/support/Hex.h"

#include <stdexcept>

namespace qmtest {

namespace {
int nibble(char c)
{
    if (c >= '0' && c <= '9') return c - '0';
    if (c >= 'a' && c <= 'f') return c - 'a' + 10;
    if (c >= 'A' && c <= 'F') return c - 'A' + 10;
    throw std::invalid_argument(std::string("not a hex digit: ") + c);
}
} // namespace

std::vector<unsigned char> fromHex(std::string const& text)
{
    std::vector<unsigned char> out;
    int high = -1;
    for (char c : text) {
        if (c == ' ' || c == '\n' || c == '\t')
            continue;
        int n = nibble(c);
        if (high < 0) {
            high = n;
        } else {
            out.push_back(static_cast<unsigned char>(high << 4 | n));
            high = -1;
        }
    }
    if (high >= 0)
        throw std::invalid_argument("odd number of hex digits");
    return out;
}

std::string toHex(unsigned char const* bytes, size_t length)
{
    static char const digits[] = "0123456789ABCDEF";
    std::string out;
    for (size_t i = 0; i < length; ++i) {
        if (i)
            out += ' ';
        out += digits[bytes[i] >> 4];
        out += digits[bytes[i] & 15];
    }
    return out;
}

std::string toHex(std::vector<unsigned char> const& bytes)
{
    return toHex(bytes.data(), bytes.size());
}

} // namespace qmtest
