// Fuzz target for the desktop thumbnail path as a whole: document bytes -> stored-picture walk ->
// JPEG/PNG decode (DCT-scaled / row-streamed) -> area downscale -> PNG encode. The last input byte
// picks the thumbnail box. Invariants: rendering from the bytes in memory and from the document as
// a file (where a PNG streams from its offset) gives the same status and the same pixels; a
// rendered thumbnail has the size the core's rule gives and its PNG decodes back to exactly those
// pixels.
#include "generator/GSThumbnailWalk.h"
#include "gs/file/GSFile.h"
#include "thumbnailer/ThumbnailPng.h"
#include "thumbnailer/ThumbnailRender.h"

#include <spng.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <sys/mman.h>
#include <unistd.h>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(uint8_t const* data, size_t size)
{
    if (size < 2)
        return 0;
    static int const boxes[4] = {32, 128, 256, 17};
    int const box = boxes[data[size - 1] & 3];
    --size;

    GSDynaArray<unsigned char> document(long(size), -100);
    if (size && document.append(data, long(size)))
        return 0;
    GSFile file(document);
    if (file.open())
        return 0;
    // Small limits keep each input fast; the production limits are larger, not different in kind.
    GSThumbnailLimits limits;
    limits.maxPictureBytes = 1L << 22;
    limits.maxWidth = 4096;
    limits.maxHeight = 4096;
    limits.maxPixels = uint64_t(1) << 22;
    limits.maxDecodeBytes = size_t(16) << 20;
    limits.maxPngChunkBytes = 1 << 16;
    limits.maxPngChunkCacheBytes = 1 << 20;
    GSDynaArray<unsigned char> picture(8, -100);
    GSThumbnailResult found = GSFindThumbnail(&file, &picture, limits);
    if (!found.hasPicture())
        return 0;

    RenderedThumbnail rendered;
    qm::PictureStatus status = renderThumbnail(picture.getPointer(), size_t(picture.getCount()), found.format,
                                               box, limits, &rendered);

    int fd = memfd_create("document", 0);
    if (fd < 0 || ::write(fd, data, size) != ssize_t(size))
        std::abort();
    RenderedThumbnail fromFile;
    qm::PictureStatus fileStatus = renderThumbnailFromFile(fd, found.pictureOffset, found.pictureBytes,
                                                           found.format, box, limits, &fromFile);
    ::close(fd);
    if (fileStatus != status)
        std::abort();
    if (status != qm::PictureStatus::ok)
        return 0;
    if (fromFile.pixels.width() != rendered.pixels.width() || fromFile.pixels.height() != rendered.pixels.height() ||
        std::memcmp(fromFile.pixels.pixels(), rendered.pixels.pixels(),
                    size_t(rendered.pixels.width()) * size_t(rendered.pixels.height()) * 4) != 0)
        std::abort();

    int w = 0, h = 0;
    thumbnailSizeFor(rendered.pictureWidth, rendered.pictureHeight, box, &w, &h);
    if (rendered.pixels.width() != w || rendered.pixels.height() != h || !rendered.pixels.finished())
        std::abort();

    ThumbnailInfo info;
    info.uri = "file:///fuzz.qmd";
    info.imageWidth = int(rendered.pictureWidth);
    info.imageHeight = int(rendered.pictureHeight);
    PngBytes png;
    if (encodeThumbnailPng(rendered.pixels.pixels(), w, h, rendered.pixels.opaque(), info, PngEncodeOptions{}, &png))
        std::abort();

    spng_ctx* ctx = spng_ctx_new(0);
    spng_set_png_buffer(ctx, png.data.get(), png.size);
    std::vector<uint8_t> back(size_t(w) * size_t(h) * 4);
    if (spng_decode_image(ctx, back.data(), back.size(), SPNG_FMT_RGBA8, 0) != 0 ||
        std::memcmp(back.data(), rendered.pixels.pixels(), back.size()) != 0)
        std::abort();
    spng_ctx_free(ctx);
    return 0;
}
