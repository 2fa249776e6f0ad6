#include "thumbnailer/ThumbnailRender.h"

#include "generator/GSThumbnailSize.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstring>
#include <memory>
#include <new>
#include <unistd.h>

using qm::PictureStatus;

void thumbnailSizeFor(uint32_t width, uint32_t height, int box, int* outWidth, int* outHeight)
{
    GSDrawingSize d = GSThumbnailDrawingSize(double(width), double(height), double(box), double(box));
    // The rule never enlarges; a side it truncates to 0 (a very long thin picture) still needs a pixel.
    *outWidth = std::clamp(int(d.width), 1, int(std::max<uint32_t>(width, 1)));
    *outHeight = std::clamp(int(d.height), 1, int(std::max<uint32_t>(height, 1)));
}

namespace {

// Feeds decoded PNG rows into the scaler.
class ScalerSink : public qm::PngRowSink {
public:
    ScalerSink(int box, GSThumbnailLimits const& limits, RenderedThumbnail* out)
        : box_(box), limits_(limits), out_(out)
    {
    }

    PictureStatus begin(uint32_t width, uint32_t height, int channels, bool passRows) override
    {
        int dw = 0, dh = 0;
        thumbnailSizeFor(width, height, box_, &dw, &dh);
        out_->pictureWidth = width;
        out_->pictureHeight = height;
        if (width > uint32_t(AreaScaler::kMaxSourceSide) || height > uint32_t(AreaScaler::kMaxSourceSide))
            return PictureStatus::tooLarge;
        // Interlaced rows are summed into the thumbnail's pixels as they come: the sums are the
        // decode's working memory.
        if (passRows && AreaScaler::sumBytes(int(width), int(height), channels, dw, dh) > limits_.maxDecodeBytes)
            return PictureStatus::tooLarge;
        if (out_->pixels.start(int(width), int(height), channels, dw, dh, passRows))
            return PictureStatus::noMemory;
        return PictureStatus::ok;
    }

    PictureStatus row(uint8_t const* pixels) override
    {
        return out_->pixels.pushRow(pixels) ? PictureStatus::corrupt : PictureStatus::ok;
    }

    bool takesPassRows() const override { return true; }

    PictureStatus passRow(uint32_t y, uint32_t firstX, uint32_t stepX, uint32_t count, uint8_t const* pixels) override
    {
        return out_->pixels.pushPixels(int(y), int(firstX), int(stepX), int(count), pixels) ? PictureStatus::corrupt
                                                                                           : PictureStatus::ok;
    }

private:
    int box_;
    GSThumbnailLimits const& limits_;
    RenderedThumbnail* out_;
};

uint32_t bigEndian32(uint8_t const* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

// A PNG whose ancillary chunks (text, profiles, ...) exceed the chunk limit is refused whole rather
// than shown without them: such a chunk has no business in a stored thumbnail. Chunk layout after
// the 8-byte signature: length (4, big-endian), type (4), data, CRC (4). readHeader(pos, bytes)
// reads the 8 bytes of length and type at pos; false stops the scan (the decoder reports it).
template <class ReadHeader>
bool pngHasOversizedChunk(size_t count, size_t limit, ReadHeader readHeader)
{
    size_t pos = 8;
    uint8_t header[8];
    while (pos <= count && count - pos >= 12 && readHeader(pos, header)) {
        size_t const length = bigEndian32(header);
        bool const isImageData = std::memcmp(header + 4, "IDAT", 4) == 0;
        if (!isImageData && length > limit)
            return true;
        if (length > count - pos - 12)
            return false;  // cut short: the decoder reports it
        pos += 12 + length;
    }
    return false;
}

// Reads exactly n bytes at `offset` of fd; false on a read error or end of file.
bool readAt(int fd, long offset, void* buffer, size_t n)
{
    auto* p = static_cast<uint8_t*>(buffer);
    while (n > 0) {
        ssize_t got = ::pread(fd, p, n, off_t(offset));
        if (got < 0 && errno == EINTR)
            continue;
        if (got <= 0)
            return false;
        p += got;
        offset += long(got);
        n -= size_t(got);
    }
    return true;
}

// A region of a file read through a 64 KiB window: PNG chunks are a few KiB each, and a read call
// for every chunk header, chunk and checksum would cost more than the copying it saves.
class FileRegion {
public:
    static constexpr size_t kWindow = size_t(64) << 10;

    FileRegion(int fd, long begin, long end) : fd_(fd), begin_(begin), end_(end) {}
    bool ready() const { return window_ != nullptr; }

    // The n bytes at `pos` (an offset in the file); false when they are not all inside the region
    // or cannot be read.
    bool read(long pos, void* out, size_t n)
    {
        if (pos < begin_ || pos > end_ || n > size_t(end_ - pos))
            return false;
        if (n >= kWindow)
            return readAt(fd_, pos, out, n);
        if (pos < windowPos_ || n > windowLength_ || size_t(pos - windowPos_) > windowLength_ - n) {
            windowLength_ = std::min(kWindow, size_t(end_ - pos));
            if (!readAt(fd_, pos, window_.get(), windowLength_)) {
                windowLength_ = 0;
                return false;
            }
            windowPos_ = pos;
        }
        std::memcpy(out, window_.get() + (pos - windowPos_), n);
        return true;
    }

private:
    int fd_;
    long begin_;
    long end_;
    std::unique_ptr<uint8_t[]> window_{new (std::nothrow) uint8_t[kWindow]};
    long windowPos_ = 0;
    size_t windowLength_ = 0;
};

// The stored PNG's bytes, in order, as the decoder asks for them.
class RegionPngSource : public qm::PngByteSource {
public:
    RegionPngSource(FileRegion* region, long begin) : region_(region), next_(begin) {}

    bool read(void* buffer, size_t n) override
    {
        if (!region_->read(next_, buffer, n))
            return false;
        next_ += long(n);
        return true;
    }

private:
    FileRegion* region_;
    long next_;
};

PictureStatus renderJpeg(uint8_t const* bytes, size_t count, int box, GSThumbnailLimits const& limits,
                         RenderedThumbnail* out)
{
    qm::PictureInfo info;
    if (PictureStatus st = qm::readPictureInfo(bytes, count, qm::PictureFormat::jpeg, limits, &info);
        st != PictureStatus::ok)
        return st;
    int dw = 0, dh = 0;
    thumbnailSizeFor(info.width, info.height, box, &dw, &dh);
    unsigned denominator = qm::jpegScaleDenominatorFor(info.width, info.height, uint32_t(dw), uint32_t(dh));
    qm::RGBAImage image;
    if (PictureStatus st = qm::decodeJpegScaled(bytes, count, denominator, limits, &image); st != PictureStatus::ok)
        return st;
    if (image.width() > uint32_t(AreaScaler::kMaxSourceSide) || image.height() > uint32_t(AreaScaler::kMaxSourceSide))
        return PictureStatus::tooLarge;
    // The scaled decode is at least the thumbnail size on both sides; never below it.
    dw = std::min(dw, int(image.width()));
    dh = std::min(dh, int(image.height()));
    out->pictureWidth = info.width;
    out->pictureHeight = info.height;
    if (out->pixels.start(int(image.width()), int(image.height()), 4, dw, dh))
        return PictureStatus::noMemory;
    for (uint32_t y = 0; y < image.height(); ++y)
        if (out->pixels.pushRow(image.row(y)))
            return PictureStatus::corrupt;
    return PictureStatus::ok;
}

// The PNG path for either source: the chunk check, then rows streamed into the scaler.
template <class ReadHeader, class Decode>
PictureStatus renderPng(size_t count, int box, GSThumbnailLimits const& limits, ReadHeader readHeader, Decode decode,
                        RenderedThumbnail* out)
{
    if (count >= 8 && pngHasOversizedChunk(count, limits.maxPngChunkBytes, readHeader))
        return PictureStatus::tooLarge;
    ScalerSink sink(box, limits, out);
    PictureStatus st = decode(&sink);
    if (st == PictureStatus::ok && !out->pixels.finished())
        st = PictureStatus::corrupt;
    return st;
}

// Clears *out and checks the request; ok and the format when there is a picture to render.
PictureStatus startRender(GSPictureFormat format, int box, RenderedThumbnail* out)
{
    out->pixels = AreaScaler();
    out->pictureWidth = out->pictureHeight = 0;
    if (box < 1 || format == GSPictureFormat::none)
        return PictureStatus::unsupported;
    return PictureStatus::ok;
}

// A failed render leaves no pixels.
PictureStatus finishRender(PictureStatus st, RenderedThumbnail* out)
{
    if (st != PictureStatus::ok)
        out->pixels = AreaScaler();
    return st;
}

}  // namespace

PictureStatus renderThumbnail(uint8_t const* bytes, size_t count, GSPictureFormat format, int box,
                              GSThumbnailLimits const& limits, RenderedThumbnail* out)
{
    if (PictureStatus st = startRender(format, box, out); st != PictureStatus::ok)
        return st;
    if (format == qm::PictureFormat::jpeg)
        return finishRender(renderJpeg(bytes, count, box, limits, out), out);
    auto header = [bytes](size_t pos, uint8_t* h) {
        std::memcpy(h, bytes + pos, 8);
        return true;
    };
    auto decode = [&](ScalerSink* sink) { return qm::decodePngRows(bytes, count, limits, sink); };
    return finishRender(renderPng(count, box, limits, header, decode, out), out);
}

PictureStatus renderThumbnailFromFile(int fd, long offset, long count, GSPictureFormat format, int box,
                                      GSThumbnailLimits const& limits, RenderedThumbnail* out)
{
    if (PictureStatus st = startRender(format, box, out); st != PictureStatus::ok)
        return st;
    if (fd < 0 || offset < 0 || count < 0 || count > LONG_MAX - offset)
        return PictureStatus::corrupt;
    if (format == qm::PictureFormat::jpeg) {
        std::unique_ptr<uint8_t[]> bytes(new (std::nothrow) uint8_t[size_t(count > 0 ? count : 1)]);
        if (!bytes)
            return PictureStatus::noMemory;
        if (!readAt(fd, offset, bytes.get(), size_t(count)))
            return PictureStatus::corrupt;
        return finishRender(renderJpeg(bytes.get(), size_t(count), box, limits, out), out);
    }
    FileRegion region(fd, offset, offset + count);
    if (!region.ready())
        return PictureStatus::noMemory;
    auto header = [&region, offset](size_t pos, uint8_t* h) { return region.read(offset + long(pos), h, 8); };
    RegionPngSource source(&region, offset);
    auto decode = [&](ScalerSink* sink) { return qm::decodePngRows(&source, limits, sink); };
    return finishRender(renderPng(size_t(count), box, limits, header, decode, out), out);
}
