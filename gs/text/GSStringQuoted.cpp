// The quoted text form of GSString and the key/value lines built on it (formats in GSString.h).
#include "gs/text/GSString.h"

#include "gs/file/GSFile.h"

namespace {

// Bytes 7-13 have letter escapes: a b t n v f r.
constexpr char kEscapeLetters[] = "abtnvfr";

bool isLetterEscaped(unsigned char c) { return c >= 7 && c <= 13; }

// Bytes that key/value lines write as \xHH: the control bytes without a letter of their own, the
// tab (whose letter reads back as byte 11) and DEL.
bool isHexEscaped(unsigned char c) { return (c < 32 && c != 7 && c != 8 && !(c >= 10 && c <= 13)) || c == 127; }

bool isBlank(int c) { return c == 9 || c == 10 || c == 13 || c == 32; }

} // namespace

char GSString::getFirstCChar(unsigned char c) noexcept
{
    return c == '"' || c == '\'' || c == '\\' || isLetterEscaped(c) ? '\\' : 0;
}

char GSString::getSecondCChar(unsigned char c) noexcept
{
    return isLetterEscaped(c) ? kEscapeLetters[c - 7] : static_cast<char>(c);
}

int GSString::getEscapeChar(int c) noexcept
{
    switch (c) {
    case 'a': return 7;
    case 'b': return 8;
    case 'f': return 12;
    case 'n': return 10;
    case 'r': return 13;
    // The tab's own letter reads back as the vertical tab, as older files expect.
    case 't':
    case 'v': return 11;
    default: return c;
    }
}

// The text as the quoted form writes it: code-page text in the Windows code page, UTF-8 as it is.
// `strict` refuses (1) to leave out a character that the Windows code page lacks.
short GSString::getQuotedFormText(GSString* out, bool strict) const
{
    *out = *this;
    if (encoding > 99 || encoding == kWindows)
        return 0;
    return out->convertEncoding(kWindows) && strict ? 1 : 0;
}

short GSString::writeQuoted(GSFile* file, int chunk, bool hexEscapes) const
{
    if (!file)
        return 1;
    // A chunk of 0 would never end.
    long const size = chunk > 0 && chunk < 8192 ? chunk : 8192;
    auto const* bytes = reinterpret_cast<unsigned char const*>(c_str());
    long const length = getLength();
    char out[8192 * 4 + 3];
    long done = 0;
    do {
        long n = 0;
        out[n++] = '"';
        long const end = done + size < length ? done + size : length;
        for (; done < end; ++done) {
            unsigned char const c = bytes[done];
            if (hexEscapes && isHexEscaped(c)) {
                static constexpr char kDigits[] = "0123456789ABCDEF";
                out[n++] = '\\';
                out[n++] = 'x';
                out[n++] = kDigits[c >> 4];
                out[n++] = kDigits[c & 15];
                continue;
            }
            if (char const first = getFirstCChar(c))
                out[n++] = first;
            out[n++] = getSecondCChar(c);
        }
        out[n++] = '"';
        if (done < length)
            out[n++] = '\n';
        if (short st = file->write(out, n))
            return st;
    } while (done < length);
    return 0;
}

short GSString::writeString(GSFile* file, int chunk) const
{
    GSString text;
    (void)getQuotedFormText(&text, false); // the quoted form leaves out what does not fit
    return text.writeQuoted(file, chunk, false);
}

short GSString::readStringWithDelimiter(GSFile* file, int open, int close)
{
    return readQuoted(file, open, close, false);
}

short GSString::readQuoted(GSFile* file, int open, int close, bool hexEscapes)
{
    releaseData(); // the tag stays: it says how code-page text is to be taken
    if (!file)
        return 1;
    enum { kBefore, kInside, kAfter, kDone } state = kBefore;
    while (state != kDone) {
        int c = file->getChar();
        if (c < 0)
            break; // the end of the file ends the text
        switch (state) {
        case kBefore:
        case kAfter:
            if (c == open) {
                state = kInside; // after a closing delimiter: the next piece joins this one
            } else if (c == '/') {
                if (short st = file->readToEndOfLine()) // a comment line
                    return failRead(st);
            } else if (!isBlank(c)) {
                if (state == kBefore)
                    return failRead(1);
                // The first byte behind the text belongs to the caller.
                if (short st = file->seek(-1, 1))
                    return failRead(st);
                state = kDone;
            }
            break;
        case kInside:
            if (c == close) {
                state = kAfter;
                break;
            }
            if (c == 9 || c == 10 || c == 13)
                return failRead(1); // a line end inside quotes: the text is broken
            if (c == '\\') {
                c = file->getChar();
                if (c < 0) {
                    state = kDone;
                    break;
                }
                if (hexEscapes && c == 'x') {
                    int high, low;
                    if (!GSIsHexNibble(static_cast<unsigned>(file->getChar()), &high) ||
                        !GSIsHexNibble(static_cast<unsigned>(file->getChar()), &low))
                        return failRead(1);
                    c = high * 16 + low;
                } else {
                    c = getEscapeChar(c);
                }
            }
            if (add(static_cast<char>(c)))
                return 1;
            break;
        case kDone:
            break;
        }
    }
    return takeReadCodePage();
}

short GSString::failRead(short status)
{
    releaseData();
    return status;
}

short GSString::takeReadCodePage()
{
    if (encoding > 99)
        return 0;
    // Code-page text in these files is Windows text; it is kept in the Mac code page unless a
    // character does not fit there, in which case it goes to UTF-8 and nothing is lost.
    GSString const read = *this;
    encoding = kWindows;
    if (convertEncoding(kMac) == 0)
        return 0;
    *this = read;
    encoding = kWindows;
    return convertEncoding(kUTF8);
}

short GSString::writeKeyValue(GSFile* file, GSString const& value) const
{
    // Both texts are ready before anything is written: a refused pair leaves no half line.
    GSString key, text;
    if (getQuotedFormText(&key, true) || value.getQuotedFormText(&text, true))
        return 1;
    if (short st = key.writeQuoted(file, 8192, true))
        return st;
    if (short st = file->write(" = ", 3))
        return st;
    if (short st = text.writeQuoted(file, 8192, true))
        return st;
    return file->write(";\n", 2);
}

short GSString::readKeyValue(GSFile* file, GSString* value)
{
    if (!file || !value)
        return 1;
    if (short st = readQuoted(file, '"', '"', true))
        return st;
    int c = file->getChar();
    if (c < 0 && isEmpty()) {
        value->releaseData(); // the end of the file
        return 0;
    }
    if (c != '=')
        return failRead(1);
    if (short st = value->readQuoted(file, '"', '"', true))
        return failRead(st);
    // The pair ends with ";" (only the end of the file may stand in for it).
    c = file->getChar();
    if (c == ';' || c < 0)
        return 0;
    value->releaseData();
    return failRead(1);
}
