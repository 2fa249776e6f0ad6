// Fuzz target for the thumbnail walk (GSFindThumbnail, which GSGetThumbnail and the command line
// call) over arbitrary bytes in a memory file.
//
// The last byte picks options: bit 0 runs with tight limits (64 picture bytes, 24 records) so
// that the limit paths are reached too. Invariants checked on every input:
//   - a buffer is never sized beyond the input, and a picture reported whole is exactly the input's
//     bytes at the reported offset, of a JPEG or PNG type;
//   - the walk without a buffer (as `info` runs it) reaches the same outcome at the same offset.
#include "generator/GSThumbnailWalk.h"
#include "gs/file/GSFile.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace {

GSThumbnailResult walk(uint8_t const* data, size_t size, GSDynaArray<unsigned char>* buffer,
                       GSThumbnailLimits const& limits)
{
    // Exactly the input's size, so that a sanitizer sees any read past it.
    GSDynaArray<unsigned char> bytes(static_cast<long>(size), 0);
    if (bytes.append(data, static_cast<long>(size)) != 0)
        std::abort();
    GSFile file(bytes);
    (void)file.open(); // cannot fail for a memory file
    return GSFindThumbnail(&file, buffer, limits);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    GSThumbnailLimits limits;
    if (size > 0 && (data[size - 1] & 1)) {
        limits.maxPictureBytes = 64;
        limits.maxRecords = 24;
    }
    GSDynaArray<unsigned char> buffer(8, -100);
    GSThumbnailResult withBytes = walk(data, size, &buffer, limits);
    if (buffer.getCount() > static_cast<long>(size))
        std::abort();
    if (withBytes.hasPicture()) {
        long offset = withBytes.pictureOffset;
        long count = buffer.getCount();
        if (count != withBytes.pictureBytes || count < 1 || offset < 0 || count > static_cast<long>(size) - offset)
            std::abort();
        if (std::memcmp(buffer.getPointer(), data + offset, static_cast<size_t>(count)) != 0)
            std::abort();
        if (withBytes.pictureType != 2 && withBytes.pictureType != 3)
            std::abort();
    }
    GSThumbnailResult located = walk(data, size, nullptr, limits);
    if (located.reason != withBytes.reason || located.pictureBytes != withBytes.pictureBytes ||
        located.pictureOffset != withBytes.pictureOffset || located.kind != withBytes.kind)
        std::abort();
    return 0;
}
