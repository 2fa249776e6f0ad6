#include "gs/text/GSString.h"

#include <cstring>

GSString::GSString(char const* text, unsigned char e)
    : bytes(text ? text : ""), encoding(e)
{
}

GSString::GSString(char const* data, long length, unsigned char e)
    : bytes(data && length > 0 ? std::string(data, static_cast<size_t>(length)) : std::string()), encoding(e)
{
}

bool GSString::isValidUTF8(char const* data, long length)
{
    auto const* s = reinterpret_cast<unsigned char const*>(data);
    long i = 0;
    while (i < length) {
        unsigned char c = s[i];
        if (c < 0x80) {
            ++i;
            continue;
        }
        int extra;
        unsigned minimum;
        unsigned cp;
        if ((c & 0xE0) == 0xC0) { extra = 1; minimum = 0x80; cp = c & 0x1F; }
        else if ((c & 0xF0) == 0xE0) { extra = 2; minimum = 0x800; cp = c & 0x0F; }
        else if ((c & 0xF8) == 0xF0) { extra = 3; minimum = 0x10000; cp = c & 0x07; }
        else return false;
        if (extra > length - i - 1)
            return false;
        for (int k = 1; k <= extra; ++k) {
            unsigned char d = s[i + k];
            if ((d & 0xC0) != 0x80)
                return false;
            cp = (cp << 6) | (d & 0x3F);
        }
        if (cp < minimum || cp > 0x10FFFF || (cp >= 0xD800 && cp <= 0xDFFF))
            return false;
        i += extra + 1;
    }
    return true;
}
