#include "thumbnailer/PictureDecoder.h"

#include <spng.h>
#include <turbojpeg.h>

#include <algorithm>
#include <chrono>
#include <climits>
#include <csetjmp>
#include <cstdio>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <new>

// jpeglib.h needs FILE and size_t declared before it.
#include <jpeglib.h>
#include <jerror.h>

namespace qm {

char const* pictureStatusName(PictureStatus status)
{
    switch (status) {
    case PictureStatus::ok: return "ok";
    case PictureStatus::corrupt: return "corrupt";
    case PictureStatus::tooLarge: return "too large";
    case PictureStatus::noMemory: return "out of memory";
    case PictureStatus::unsupported: return "unsupported";
    case PictureStatus::timedOut: return "timed out";
    }
    return "unknown";
}

void RGBAImage::clear()
{
    pixels.reset();
    w = h = 0;
}

bool RGBAImage::allocate(std::uint32_t width, std::uint32_t height)
{
    clear();
    std::size_t bytes;
    if (width == 0 || height == 0 || __builtin_mul_overflow(std::size_t(width), std::size_t(height), &bytes) ||
        __builtin_mul_overflow(bytes, std::size_t(4), &bytes))
        return false;
    pixels.reset(new (std::nothrow) std::uint8_t[bytes]);
    if (!pixels)
        return false;
    w = width;
    h = height;
    return true;
}

namespace {

// The end of a decode's time (GSThumbnailLimits::maxDecodeMilliseconds), taken when it starts.
class Deadline {
public:
    explicit Deadline(GSThumbnailLimits const& limits)
        : bounded_(limits.maxDecodeMilliseconds > 0),
          end_(std::chrono::steady_clock::now() + std::chrono::milliseconds(bounded_ ? limits.maxDecodeMilliseconds : 0))
    {
    }
    bool passed() const { return bounded_ && std::chrono::steady_clock::now() >= end_; }
    bool bounded() const { return bounded_; }

private:
    bool bounded_;
    std::chrono::steady_clock::time_point end_;
};

bool withinLimits(std::uint32_t width, std::uint32_t height, GSThumbnailLimits const& limits)
{
    // Both sides are below 2^32, so the product fits in 64 bits.
    return width <= limits.maxWidth && height <= limits.maxHeight &&
           std::uint64_t(width) * height <= limits.maxPixels;
}

// ---- JPEG ----

struct JpegHandle {
    tjhandle handle = tjInitDecompress();
    JpegHandle() = default;
    JpegHandle(JpegHandle const&) = delete;
    JpegHandle& operator=(JpegHandle const&) = delete;
    ~JpegHandle()
    {
        if (handle)
            tjDestroy(handle);
    }
};

struct JpegHeader {
    int width = 0;
    int height = 0;
    int colorspace = 0;
};

PictureStatus readJpegHeader(tjhandle handle, std::uint8_t const* bytes, std::size_t count, JpegHeader* header)
{
    int subsampling = 0;
    // TurboJPEG takes the size as unsigned long; a picture that does not fit is no JPEG we read.
    if (count == 0 || count > ULONG_MAX)
        return PictureStatus::corrupt;
    if (tjDecompressHeader3(handle, bytes, static_cast<unsigned long>(count), &header->width, &header->height,
                            &subsampling, &header->colorspace) != 0 ||
        header->width <= 0 || header->height <= 0)
        return PictureStatus::corrupt;
    return PictureStatus::ok;
}

// CMYK JPEGs come from Adobe applications, which store every channel inverted (255 = no ink);
// TurboJPEG hands the stored values over unchanged. Converts such pixels to RGBA in place.
void convertInvertedCMYKToRGBA(RGBAImage* image)
{
    std::uint8_t* p = image->data();
    std::uint8_t* end = p + image->byteCount();
    for (; p != end; p += 4) {
        unsigned k = p[3];
        p[0] = static_cast<std::uint8_t>((p[0] * k + 127) / 255);
        p[1] = static_cast<std::uint8_t>((p[1] * k + 127) / 255);
        p[2] = static_cast<std::uint8_t>((p[2] * k + 127) / 255);
        p[3] = 255;
    }
}

// The libjpeg side of a decode. TurboJPEG 2.1 hides libjpeg's memory manager, and a progressive
// (or multi-scan) JPEG keeps a coefficient buffer for every stored pixel whatever the output scale,
// so the pixels are decoded through the libjpeg API with the memory limit set, and otherwise
// exactly as tjDecompress2 decodes them (same scale choice, accurate DCT, fancy upsampling,
// warnings refuse the picture, at most 500 scans), so that every picture gives the same pixels.
struct JpegDecoder {
    struct Error {
        jpeg_error_mgr manager;
        std::jmp_buf jump;
    };
    jpeg_decompress_struct info{};
    Error error{};
    // libjpeg's progress hook, with what it watches; the hook gets a pointer to the first member.
    struct Progress {
        jpeg_progress_mgr manager;
        bool limitScans;
        Deadline const* deadline;
        bool timedOut;
    };
    Progress progress{};

    JpegDecoder() = default;
    JpegDecoder(JpegDecoder const&) = delete;
    JpegDecoder& operator=(JpegDecoder const&) = delete;
    // Also right for a decoder never created, or whose creation failed: libjpeg frees only the
    // memory manager it set up.
    ~JpegDecoder() { jpeg_destroy_decompress(&info); }

    static void fail(j_common_ptr common) { std::longjmp(reinterpret_cast<Error*>(common->err)->jump, 1); }
    // A warning (a truncated or damaged picture) refuses the whole picture rather than show a
    // partly grey one; nothing is printed.
    static void message(j_common_ptr common, int level)
    {
        if (level < 0)
            fail(common);
    }
    static void quiet(j_common_ptr) {}
    // Called between scans and rows: the scan limit and the time bound.
    static void watch(j_common_ptr common)
    {
        auto* self = reinterpret_cast<Progress*>(common->progress);
        if (self->limitScans && common->is_decompressor &&
            reinterpret_cast<j_decompress_ptr>(common)->input_scan_number > 500)
            fail(common);
        if (self->deadline->passed()) {
            self->timedOut = true;
            fail(common);
        }
    }
};

// TurboJPEG's scaling factors up to 1, in the order tjDecompress2 tries them: the first whose
// scaled size fits the requested size is the one used. Its larger factors are never chosen here:
// a decode never asks for more than the stored size.
struct ScalingFactor {
    unsigned num, denom;
};
constexpr ScalingFactor kScalingFactors[] = {{1, 1}, {7, 8}, {3, 4}, {5, 8}, {1, 2}, {3, 8}, {1, 4}, {1, 8}};

std::uint32_t scaledSide(std::uint32_t side, ScalingFactor f)
{
    return static_cast<std::uint32_t>((std::uint64_t(side) * f.num + f.denom - 1) / f.denom);
}

// Decodes into *image, already allocated at the requested size. The libjpeg calls below longjmp
// back here on any error; only plain data lives between setjmp and them.
PictureStatus decodeJpegPixels(std::uint8_t const* bytes, std::size_t count, J_COLOR_SPACE colorSpace,
                               GSThumbnailLimits const& limits, RGBAImage* image)
{
    Deadline const deadline(limits);
    JpegDecoder d;
    d.progress.limitScans = limits.limitJpegScans;
    d.progress.deadline = &deadline;
    d.info.err = jpeg_std_error(&d.error.manager);
    d.error.manager.error_exit = JpegDecoder::fail;
    d.error.manager.emit_message = JpegDecoder::message;
    d.error.manager.output_message = JpegDecoder::quiet;
    std::unique_ptr<JSAMPROW[]> rows(new (std::nothrow) JSAMPROW[image->height()]);
    if (!rows)
        return PictureStatus::noMemory;
    for (std::uint32_t y = 0; y < image->height(); ++y)
        rows[y] = image->data() + std::size_t(y) * image->stride();
    if (setjmp(d.error.jump)) {
        if (d.progress.timedOut)
            return PictureStatus::timedOut;
        int code = d.error.manager.msg_code;
        // The memory manager refuses an array beyond max_memory_to_use before allocating it.
        if (code == JERR_NO_BACKING_STORE)
            return PictureStatus::tooLarge;
        return code == JERR_OUT_OF_MEMORY ? PictureStatus::noMemory : PictureStatus::corrupt;
    }
    jpeg_create_decompress(&d.info);
    // Counts every block libjpeg allocates from here on; 0 would mean no limit.
    d.info.mem->max_memory_to_use = long(std::max<std::size_t>(limits.maxDecodeBytes, 1));
    if (limits.limitJpegScans || deadline.bounded()) {
        d.progress.manager.progress_monitor = JpegDecoder::watch;
        d.info.progress = &d.progress.manager;
    }
    jpeg_mem_src(&d.info, bytes, static_cast<unsigned long>(count));
    jpeg_read_header(&d.info, TRUE);
    d.info.out_color_space = colorSpace;
    d.info.dct_method = JDCT_ISLOW;
    ScalingFactor chosen = kScalingFactors[std::size(kScalingFactors) - 1];
    for (ScalingFactor f : kScalingFactors) {
        if (scaledSide(d.info.image_width, f) <= image->width() && scaledSide(d.info.image_height, f) <= image->height()) {
            chosen = f;
            break;
        }
    }
    d.info.scale_num = chosen.num;
    d.info.scale_denom = chosen.denom;
    jpeg_start_decompress(&d.info);
    if (d.info.output_width != image->width() || d.info.output_height != image->height() ||
        d.info.output_components != 4)
        return PictureStatus::corrupt;
    while (d.info.output_scanline < d.info.output_height)
        jpeg_read_scanlines(&d.info, rows.get() + d.info.output_scanline, d.info.output_height - d.info.output_scanline);
    jpeg_finish_decompress(&d.info);
    return PictureStatus::ok;
}

PictureStatus decodeJpeg(std::uint8_t const* bytes, std::size_t count, unsigned denominator,
                         GSThumbnailLimits const& limits, RGBAImage* image)
{
    image->clear();
    if (denominator != 1 && denominator != 2 && denominator != 4 && denominator != 8)
        return PictureStatus::unsupported;
    JpegHandle jpeg;
    if (!jpeg.handle)
        return PictureStatus::noMemory;
    // The header through TurboJPEG: it refuses what tjDecompress2 always refused (colour spaces
    // and sampling it does not know), so that the same pictures decode as before.
    JpegHeader header;
    if (PictureStatus st = readJpegHeader(jpeg.handle, bytes, count, &header); st != PictureStatus::ok)
        return st;
    auto storedWidth = static_cast<std::uint32_t>(header.width);
    auto storedHeight = static_cast<std::uint32_t>(header.height);
    if (!withinLimits(storedWidth, storedHeight, limits))
        return PictureStatus::tooLarge;

    J_COLOR_SPACE colorSpace;
    switch (header.colorspace) {
    case TJCS_RGB:
    case TJCS_YCbCr:
    case TJCS_GRAY: colorSpace = JCS_EXT_RGBA; break;
    case TJCS_CMYK:
    case TJCS_YCCK: colorSpace = JCS_CMYK; break;
    default: return PictureStatus::unsupported;
    }

    std::uint32_t width = jpegScaledSide(storedWidth, denominator);
    std::uint32_t height = jpegScaledSide(storedHeight, denominator);
    if (!image->allocate(width, height))
        return PictureStatus::noMemory;
    if (PictureStatus st = decodeJpegPixels(bytes, count, colorSpace, limits, image); st != PictureStatus::ok) {
        image->clear();
        return st;
    }
    if (colorSpace == JCS_CMYK)
        convertInvertedCMYKToRGBA(image);
    return PictureStatus::ok;
}

// ---- PNG ----

struct PngContext {
    spng_ctx* ctx = spng_ctx_new(0);
    PngContext() = default;
    PngContext(PngContext const&) = delete;
    PngContext& operator=(PngContext const&) = delete;
    ~PngContext() { spng_ctx_free(ctx); }
};

PictureStatus pngStatus(int error)
{
    switch (error) {
    case SPNG_OK: return PictureStatus::ok;
    case SPNG_EMEM: return PictureStatus::noMemory;
    case SPNG_EUSER_WIDTH:
    case SPNG_EUSER_HEIGHT:
    case SPNG_ECHUNK_LIMITS: return PictureStatus::tooLarge;
    default: return PictureStatus::corrupt;
    }
}

// The bytes of a PNG: in memory, or read from a source as libspng asks for them.
struct PngInput {
    std::uint8_t const* bytes = nullptr;
    std::size_t count = 0;
    PngByteSource* source = nullptr;
};

int readFromSource(spng_ctx*, void* user, void* buffer, std::size_t n)
{
    return static_cast<PngByteSource*>(user)->read(buffer, n) ? 0 : SPNG_IO_EOF;
}

// Opens a PNG context over the input with the limits set and its header read and checked.
PictureStatus openPng(PngContext* png, PngInput const& input, GSThumbnailLimits const& limits, spng_ihdr* ihdr)
{
    if (!png->ctx)
        return PictureStatus::noMemory;
    // libspng refuses limits above 2^31 - 1, the largest side PNG allows anyway.
    constexpr std::uint32_t pngMaxSide = 0x7FFFFFFF;
    int error = spng_set_image_limits(png->ctx, std::min(limits.maxWidth, pngMaxSide),
                                      std::min(limits.maxHeight, pngMaxSide));
    // libspng refuses a chunk limit above the cache limit: a single chunk has to fit the cache.
    if (!error)
        error = spng_set_chunk_limits(png->ctx, std::min(limits.maxPngChunkBytes, limits.maxPngChunkCacheBytes),
                                      limits.maxPngChunkCacheBytes);
    if (!error)
        error = input.source ? spng_set_png_stream(png->ctx, readFromSource, input.source)
                             : spng_set_png_buffer(png->ctx, input.bytes, input.count);
    if (!error)
        error = spng_get_ihdr(png->ctx, ihdr);
    if (error)
        return pngStatus(error);
    if (!withinLimits(ihdr->width, ihdr->height, limits))
        return PictureStatus::tooLarge;
    return PictureStatus::ok;
}

// Decodes the whole picture of an opened context into *image (empty on failure).
PictureStatus decodeOpenedPng(PngContext& png, spng_ihdr const& ihdr, RGBAImage* image)
{
    image->clear();
    size_t size = 0;
    if (int error = spng_decoded_image_size(png.ctx, SPNG_FMT_RGBA8, &size))
        return pngStatus(error);
    if (!image->allocate(ihdr.width, ihdr.height))
        return PictureStatus::noMemory;
    if (size != image->byteCount()) {
        image->clear();
        return PictureStatus::corrupt;
    }
    if (int error = spng_decode_image(png.ctx, image->data(), size, SPNG_FMT_RGBA8, SPNG_DECODE_TRNS)) {
        image->clear();
        return pngStatus(error);
    }
    return PictureStatus::ok;
}

PictureStatus decodePng(std::uint8_t const* bytes, std::size_t count, GSThumbnailLimits const& limits, RGBAImage* image)
{
    image->clear();
    PngContext png;
    spng_ihdr ihdr{};
    if (PictureStatus st = openPng(&png, PngInput{bytes, count, nullptr}, limits, &ihdr); st != PictureStatus::ok)
        return st;
    return decodeOpenedPng(png, ihdr, image);
}

// A buffer for one row of rowBytes, and the decoder started to hand out rows one at a time.
PictureStatus startRows(PngContext& png, int fmt, std::size_t rowBytes, std::unique_ptr<std::uint8_t[]>* row)
{
    row->reset(new (std::nothrow) std::uint8_t[rowBytes]);
    if (!*row)
        return PictureStatus::noMemory;
    if (int error = spng_decode_image(png.ctx, nullptr, 0, fmt, SPNG_DECODE_TRNS | SPNG_DECODE_PROGRESSIVE))
        return pngStatus(error);
    return PictureStatus::ok;
}

// Adam7: where each of the seven passes starts and how far apart its pixels are.
constexpr std::uint32_t kPassFirstX[7] = {0, 4, 0, 2, 0, 1, 0};
constexpr std::uint32_t kPassStepX[7] = {8, 8, 4, 4, 2, 2, 1};

// An interlaced picture pass by pass into a sink that takes pass rows: one pass row at a time.
PictureStatus deliverPasses(PngContext& png, spng_ihdr const& ihdr, int fmt, int channels, Deadline const& deadline,
                            PngRowSink* sink)
{
    std::size_t const rowBytes = std::size_t(ihdr.width) * std::size_t(channels);
    std::unique_ptr<std::uint8_t[]> row;
    if (PictureStatus st = startRows(png, fmt, rowBytes, &row); st != PictureStatus::ok)
        return st;
    for (std::uint32_t n = 1;; ++n) {
        if (n % 16 == 0 && deadline.passed())
            return PictureStatus::timedOut;
        // The row about to be decoded: its pass and its row in the whole picture.
        spng_row_info info{};
        if (int error = spng_get_row_info(png.ctx, &info))
            return error == SPNG_EOI ? PictureStatus::ok : pngStatus(error);
        if (info.pass < 0 || info.pass > 6)
            return PictureStatus::corrupt;
        std::uint32_t const firstX = kPassFirstX[info.pass], stepX = kPassStepX[info.pass];
        int error = spng_decode_scanline(png.ctx, row.get(), rowBytes);
        if (error && error != SPNG_EOI)
            return pngStatus(error);
        // Passes whose columns all lie beyond a narrow picture have no rows at all.
        std::uint32_t const count = ihdr.width > firstX ? (ihdr.width - firstX + stepX - 1) / stepX : 0;
        if (PictureStatus st = sink->passRow(info.row_num, firstX, stepX, count, row.get()); st != PictureStatus::ok)
            return st;
        if (error == SPNG_EOI)
            return PictureStatus::ok;
    }
}

// An interlaced picture for a sink that wants whole rows in order: deinterlaced whole first,
// within the decode memory limit.
PictureStatus deliverDeinterlaced(PngContext& png, spng_ihdr const& ihdr, bool rgb, GSThumbnailLimits const& limits,
                                  PngRowSink* sink)
{
    if (std::uint64_t(ihdr.width) * ihdr.height * 4 > limits.maxDecodeBytes)
        return PictureStatus::tooLarge;
    RGBAImage whole;
    if (PictureStatus st = decodeOpenedPng(png, ihdr, &whole); st != PictureStatus::ok)
        return st;
    std::unique_ptr<std::uint8_t[]> rgbRow;
    if (rgb) {
        rgbRow.reset(new (std::nothrow) std::uint8_t[std::size_t(ihdr.width) * 3]);
        if (!rgbRow)
            return PictureStatus::noMemory;
    }
    for (std::uint32_t y = 0; y < whole.height(); ++y) {
        std::uint8_t const* r = whole.row(y);
        if (rgb) {
            for (std::uint32_t x = 0; x < ihdr.width; ++x)
                std::memcpy(rgbRow.get() + std::size_t(x) * 3, r + std::size_t(x) * 4, 3);
            r = rgbRow.get();
        }
        if (PictureStatus st = sink->row(r); st != PictureStatus::ok)
            return st;
    }
    return PictureStatus::ok;
}

PictureStatus decodePngRowsFrom(PngInput const& input, GSThumbnailLimits const& limits, PngRowSink* sink)
{
    Deadline const deadline(limits);
    PngContext png;
    spng_ihdr ihdr{};
    if (PictureStatus st = openPng(&png, input, limits, &ihdr); st != PictureStatus::ok)
        return st;
    spng_trns trns{};
    bool const rgb = ihdr.color_type == SPNG_COLOR_TYPE_TRUECOLOR && ihdr.bit_depth == 8 &&
                     spng_get_trns(png.ctx, &trns) == SPNG_ECHUNKAVAIL;
    int const fmt = rgb ? SPNG_FMT_RGB8 : SPNG_FMT_RGBA8;
    int const channels = rgb ? 3 : 4;
    bool const passRows = ihdr.interlace_method != 0 && sink->takesPassRows();
    if (PictureStatus st = sink->begin(ihdr.width, ihdr.height, channels, passRows); st != PictureStatus::ok)
        return st;

    if (ihdr.interlace_method != 0)
        return passRows ? deliverPasses(png, ihdr, fmt, channels, deadline, sink)
                                     : deliverDeinterlaced(png, ihdr, rgb, limits, sink);

    std::size_t const rowBytes = std::size_t(ihdr.width) * std::size_t(channels);
    std::unique_ptr<std::uint8_t[]> row;
    if (PictureStatus st = startRows(png, fmt, rowBytes, &row); st != PictureStatus::ok)
        return st;
    for (std::uint32_t y = 0; y < ihdr.height; ++y) {
        if (y % 16 == 15 && deadline.passed())
            return PictureStatus::timedOut;
        int error = spng_decode_row(png.ctx, row.get(), rowBytes);
        // The last row reports the end of the image.
        if (error && !(error == SPNG_EOI && y + 1 == ihdr.height))
            return pngStatus(error);
        if (PictureStatus st = sink->row(row.get()); st != PictureStatus::ok)
            return st;
    }
    return PictureStatus::ok;
}

} // namespace

std::uint32_t jpegScaledSide(std::uint32_t stored, unsigned scaleDenominator)
{
    if (scaleDenominator == 0)
        return stored;
    // Rounded up, as the decoder does it; 64-bit so that the sum cannot wrap.
    return static_cast<std::uint32_t>((std::uint64_t(stored) + scaleDenominator - 1) / scaleDenominator);
}

unsigned jpegScaleDenominatorFor(std::uint32_t width, std::uint32_t height, std::uint32_t minWidth,
                                 std::uint32_t minHeight)
{
    for (unsigned d = 8; d > 1; d /= 2) {
        if (jpegScaledSide(width, d) >= minWidth && jpegScaledSide(height, d) >= minHeight)
            return d;
    }
    return 1;
}

PictureStatus readPictureInfo(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                              GSThumbnailLimits const& limits, PictureInfo* info)
{
    info->format = format;
    if (format == PictureFormat::none)
        return PictureStatus::unsupported;
    if (format == PictureFormat::jpeg) {
        JpegHandle jpeg;
        if (!jpeg.handle)
            return PictureStatus::noMemory;
        JpegHeader header;
        if (PictureStatus st = readJpegHeader(jpeg.handle, bytes, count, &header); st != PictureStatus::ok)
            return st;
        info->width = static_cast<std::uint32_t>(header.width);
        info->height = static_cast<std::uint32_t>(header.height);
        return withinLimits(info->width, info->height, limits) ? PictureStatus::ok : PictureStatus::tooLarge;
    }
    PngContext png;
    spng_ihdr ihdr{};
    PictureStatus st = openPng(&png, PngInput{bytes, count, nullptr}, limits, &ihdr);
    if (st == PictureStatus::ok || st == PictureStatus::tooLarge) {
        info->width = ihdr.width;
        info->height = ihdr.height;
    }
    return st;
}

PictureStatus decodePicture(std::uint8_t const* bytes, std::size_t count, PictureFormat format,
                            GSThumbnailLimits const& limits, RGBAImage* image)
{
    if (format == PictureFormat::jpeg)
        return decodeJpeg(bytes, count, 1, limits, image);
    if (format == PictureFormat::png)
        return decodePng(bytes, count, limits, image);
    image->clear();
    return PictureStatus::unsupported;
}

PictureStatus decodePngRows(std::uint8_t const* bytes, std::size_t count, GSThumbnailLimits const& limits,
                            PngRowSink* sink)
{
    return decodePngRowsFrom(PngInput{bytes, count, nullptr}, limits, sink);
}

PictureStatus decodePngRows(PngByteSource* source, GSThumbnailLimits const& limits, PngRowSink* sink)
{
    return decodePngRowsFrom(PngInput{nullptr, 0, source}, limits, sink);
}

PictureStatus decodeJpegScaled(std::uint8_t const* bytes, std::size_t count, unsigned scaleDenominator,
                               GSThumbnailLimits const& limits, RGBAImage* image)
{
    return decodeJpeg(bytes, count, scaleDenominator, limits, image);
}

} // namespace qm
