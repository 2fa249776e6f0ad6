// Decoding the picture stored in a document (JPEG through TurboJPEG, PNG through libspng) into
// 8-bit RGBA, for every front end that draws pixels itself: the desktop thumbnailer and the
// QuickLook plug-in's test double.
//
// The bytes come out of a document and are hostile: every decode first reads the picture's header,
// checks its size against a PictureLimits and only then allocates the output. A failed decode
// leaves the output image empty; no partial picture is ever returned.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

namespace qm {

// Outcome of a decode. Stable numbers: front ends map them to their own reasons.
enum class PictureStatus : short {
    ok = 0,
    corrupt = 1,      // not a picture of the format, truncated, or refused by the decoder
    tooLarge = 2,     // the header asks for more than the limits allow; nothing was allocated
    noMemory = 3,     // the output (or the decoder's state) could not be allocated
    unsupported = 4,  // a picture type that is neither JPEG nor PNG, or a JPEG colour space we do not convert
};

// A short English name of a status ("ok", "corrupt", ...), for logs and --json output.
char const* pictureStatusName(PictureStatus status);

enum class PictureFormat : unsigned char { jpeg, png };

// The document's picture type as a format: 2 is JPEG, 3 is PNG and so is 5 (an older writer's
// value for PNG). Returns false for every other type.
bool pictureFormatForType(short pictureType, PictureFormat* format);

// Bounds on what a decode may cost. The defaults accept any thumbnail or preview an editor writes
// with room to spare and keep the worst case near 256 MiB of output.
struct PictureLimits {
    // Largest width and largest height, in pixels, of the stored picture. JPEG cannot exceed
    // 65535; PNG allows 2^31 - 1, which no thumbnail needs.
    std::uint32_t maxWidth = 65535;
    std::uint32_t maxHeight = 65535;
    // Largest width x height of the stored picture. Applied to the stored size, not the scaled
    // output, because a progressive JPEG keeps coefficients for every stored pixel while it
    // decodes. 64 Mi pixels is 256 MiB of RGBA.
    std::uint64_t maxPixels = std::uint64_t(1) << 26;
    // libspng's two chunk bounds: the largest single chunk, and the most ancillary chunk data it
    // keeps in memory while it reads (text, ICC profile, EXIF). The chunk bound is capped at the
    // cache bound. The cache bound is the one that refuses a huge text chunk (libspng 0.7.3 keeps a
    // tEXt above the chunk bound as long as it fits the cache). Picture data (IDAT) is streamed and
    // bound by neither.
    std::size_t maxPngChunkBytes = std::size_t(8) << 20;
    std::size_t maxPngChunkCacheBytes = std::size_t(32) << 20;
    // Refuse progressive JPEGs with an unreasonable number of scans (TurboJPEG's scan limit), which
    // otherwise cost time quadratic in their size.
    bool limitJpegScans = true;
};

// Width and height of a stored picture, read from its header only.
struct PictureInfo {
    PictureFormat format = PictureFormat::jpeg;
    std::uint32_t width = 0;
    std::uint32_t height = 0;
};

// An 8-bit RGBA image, rows top to bottom, 4 bytes a pixel, rows `stride` bytes apart (stride is
// width * 4). Alpha is 255 for JPEG; for PNG it comes from the picture (a tRNS chunk applied).
class RGBAImage {
public:
    std::uint32_t width() const { return w; }
    std::uint32_t height() const { return h; }
    std::size_t stride() const { return std::size_t(w) * 4; }
    bool isEmpty() const { return !pixels; }
    std::uint8_t const* data() const { return pixels.get(); }
    std::uint8_t* data() { return pixels.get(); }
    std::uint8_t const* row(std::uint32_t y) const { return pixels.get() + y * stride(); }
    std::size_t byteCount() const { return stride() * h; }

    // Drops the pixels; the image is then empty (0 x 0).
    void clear();
    // Makes room for width x height pixels (contents undefined). False when the size overflows or
    // the memory cannot be had; the image is then empty.
    bool allocate(std::uint32_t width, std::uint32_t height);

private:
    std::uint32_t w = 0;
    std::uint32_t h = 0;
    std::unique_ptr<std::uint8_t[]> pixels;
};

// Reads the header of a picture of the given format and checks its size against `limits`.
// ok: *info holds the size. tooLarge: *info holds the size when the header got as far as being
// read (libspng refuses a side above maxWidth or maxHeight before it hands the header out: 0 x 0).
PictureStatus readPictureInfo(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                              PictureLimits const& limits, PictureInfo* info);

// Decodes a whole picture into *image (which is replaced; empty on failure).
PictureStatus decodePicture(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                            PictureLimits const& limits, RGBAImage* image);

// Receives a PNG row by row, top to bottom (decodePngRows). A status other than ok stops the
// decode and is returned by it.
class PngRowSink {
public:
    virtual ~PngRowSink() = default;
    // Called once before the first row: the size, and 3 (RGB) or 4 (RGBA, straight alpha) bytes
    // a pixel. RGB is given for 8-bit truecolour pictures without transparency, RGBA otherwise.
    virtual PictureStatus begin(std::uint32_t width, std::uint32_t height, int channels) = 0;
    virtual PictureStatus row(std::uint8_t const* pixels) = 0;
};

// Decodes a PNG into `sink` one row at a time, so that the whole picture is never held: only an
// interlaced picture, whose rows arrive out of order, is decoded whole first. ok once every row
// was delivered; any decode failure is corrupt (rows delivered before it are then worthless).
PictureStatus decodePngRows(std::uint8_t const* bytes, std::size_t count, PictureLimits const& limits,
                            PngRowSink* sink);

// Where PNG bytes come from when they are not all in memory: read() gives the next n bytes, or
// false when they cannot all be had (the picture then counts as corrupt).
class PngByteSource {
public:
    virtual ~PngByteSource() = default;
    virtual bool read(void* buffer, std::size_t n) = 0;
};

// decodePngRows over bytes read as the decoder needs them, so that not even the compressed
// picture is held whole.
PictureStatus decodePngRows(PngByteSource* source, PictureLimits const& limits, PngRowSink* sink);

// JPEG decoding at 1/scaleDenominator of the stored size (1, 2, 4 or 8), done in the DCT domain,
// which is far cheaper than decoding in full and scaling. Each side is rounded up, so an
// 801-pixel side gives 101 at 1/8. Any other denominator is `unsupported`.
PictureStatus decodeJpegScaled(std::uint8_t const* bytes, std::size_t count, unsigned scaleDenominator,
                               PictureLimits const& limits, RGBAImage* image);

// The size of a side of `stored` pixels decoded at 1/scaleDenominator.
std::uint32_t jpegScaledSide(std::uint32_t stored, unsigned scaleDenominator);

// The largest of 1, 2, 4 and 8 that still decodes a width x height JPEG at least as large as
// minWidth x minHeight on both sides (so that a thumbnail can be scaled down from it without
// losing detail). A zero minimum side puts no bound on that side.
unsigned jpegScaleDenominatorFor(std::uint32_t width, std::uint32_t height, std::uint32_t minWidth,
                                 std::uint32_t minHeight);

} // namespace qm
