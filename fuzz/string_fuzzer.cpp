// Fuzz target for the string readers over arbitrary bytes in a memory file.
//
// The first byte picks the reader: 0 the classic framing, 1 the compact framing (behind an empty
// object table of the newer kind), 2 fixed-width byte fields, 3 fixed-width UTF-16 fields (the
// second byte gives the field width and the byte order). Strings are read one after another until
// a read fails. Invariants checked on every string read:
//   - the text is zero-terminated and at most twice as long as the input (a UTF-16 unit becomes
//     up to three UTF-8 bytes; a ligature byte of a code page becomes "fi" or "fl");
//   - code-page text read from a file is in the Mac code page, and converts to valid UTF-8;
//   - the natural comparison of a string with a copy of itself is 0, in both modes, and the word
//     pieces of the text tile it exactly, each moving forward.
#include "gs/file/GSFile.h"
#include "gs/text/GSString.h"
#include "gs/text/GSStringWordEnumerator.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

void check(GSString const& s, size_t inputSize, bool fromFramedRead)
{
    long const length = s.getLength();
    if (length < 0 || static_cast<size_t>(length) > 2 * inputSize || s.c_str()[length] != 0)
        std::abort();
    if (s.getEncoding() <= 99) {
        if (fromFramedRead && s.getEncoding() != GSString::kMac)
            std::abort();
        GSString utf8(s);
        if (utf8.convertEncoding(GSString::kUTF8) == 0 && !utf8.isEmpty() && !utf8.isValidUTF8())
            std::abort();
    }
    GSString const copy(s.c_str(), length, s.getEncoding());
    if (s.compareValueWithNumberCaseless(copy, 0) != 0 || s.compareValueWithNumberCaseless(copy, 1) != 0)
        std::abort();
    GSStringWordEnumerator words(s);
    GSRange piece;
    long at = 0;
    while (words.getNext(&piece)) {
        if (piece.start != at || piece.length < 1)
            std::abort();
        at = piece.getEnd();
    }
    if (at != length)
        std::abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 2)
        return 0;
    int const mode = data[0] % 4;
    int const width = data[1] & 0x7F;
    short const byteOrder = data[1] >> 7;
    // An empty object table of the newer kind: its header switches the file to compact mode.
    static unsigned char const compactTable[14] = {2};
    std::vector<unsigned char> input;
    if (mode == 1)
        input.assign(compactTable, compactTable + sizeof compactTable);
    input.insert(input.end(), data + 2, data + size);
    // Exactly the input's size, so that a sanitizer sees any read past it.
    GSDynaArray<unsigned char> bytes(static_cast<long>(input.size()) + 1, 0);
    if (bytes.append(input.data(), static_cast<long>(input.size())) != 0)
        std::abort();
    GSFile file(bytes);
    (void)file.open(); // cannot fail for a memory file
    if (mode == 1 && (file.startObjectMergingRead() != 0 || file.seek(sizeof compactTable, 0) != 0))
        return 0;
    for (int i = 0; i < 64; ++i) {
        GSString s("left over");
        long const before = file.tell();
        short status;
        if (mode <= 1)
            status = s.read(&file);
        else if (mode == 2)
            status = s.readStringWithLength(&file, width);
        else
            status = s.readUnicodeStringWithLength(&file, width, byteOrder);
        if (status != 0)
            break;
        check(s, size, mode <= 1);
        if (file.tell() == before)
            break;
    }
    if (mode == 1)
        (void)file.stopObjectMergingRead();
    return 0;
}
