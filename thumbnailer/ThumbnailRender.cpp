#include "thumbnailer/ThumbnailRender.h"

#include "generator/GSThumbnailSize.h"

#include <algorithm>
#include <cstring>

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
    ScalerSink(int box, RenderedThumbnail* out) : box_(box), out_(out) {}

    PictureStatus begin(uint32_t width, uint32_t height, int channels) override
    {
        int dw = 0, dh = 0;
        thumbnailSizeFor(width, height, box_, &dw, &dh);
        out_->pictureWidth = width;
        out_->pictureHeight = height;
        if (width > uint32_t(AreaScaler::kMaxSourceSide) || height > uint32_t(AreaScaler::kMaxSourceSide))
            return PictureStatus::tooLarge;
        if (out_->pixels.start(int(width), int(height), channels, dw, dh))
            return PictureStatus::noMemory;
        return PictureStatus::ok;
    }

    PictureStatus row(uint8_t const* pixels) override
    {
        return out_->pixels.pushRow(pixels) ? PictureStatus::corrupt : PictureStatus::ok;
    }

private:
    int box_;
    RenderedThumbnail* out_;
};

uint32_t bigEndian32(uint8_t const* p)
{
    return uint32_t(p[0]) << 24 | uint32_t(p[1]) << 16 | uint32_t(p[2]) << 8 | uint32_t(p[3]);
}

// A PNG whose ancillary chunks (text, profiles, ...) exceed the chunk limit is refused whole rather
// than shown without them: such a chunk has no business in a stored thumbnail. Chunk layout after
// the 8-byte signature: length (4, big-endian), type (4), data, CRC (4).
bool pngHasOversizedChunk(uint8_t const* bytes, size_t count, size_t limit)
{
    size_t pos = 8;
    while (pos <= count && count - pos >= 12) {
        size_t const length = bigEndian32(bytes + pos);
        bool const isImageData = std::memcmp(bytes + pos + 4, "IDAT", 4) == 0;
        if (!isImageData && length > limit)
            return true;
        if (length > count - pos - 12)
            return false;  // cut short: the decoder reports it
        pos += 12 + length;
    }
    return false;
}

PictureStatus renderJpeg(uint8_t const* bytes, size_t count, int box, qm::PictureLimits const& limits,
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

}  // namespace

PictureStatus renderThumbnail(uint8_t const* bytes, size_t count, short pictureType, int box,
                              qm::PictureLimits const& limits, RenderedThumbnail* out)
{
    out->pixels = AreaScaler();
    out->pictureWidth = out->pictureHeight = 0;
    qm::PictureFormat format;
    if (box < 1 || !qm::pictureFormatForType(pictureType, &format))
        return PictureStatus::unsupported;
    PictureStatus st;
    if (format == qm::PictureFormat::jpeg) {
        st = renderJpeg(bytes, count, box, limits, out);
    } else {
        ScalerSink sink(box, out);
        if (count >= 8 && pngHasOversizedChunk(bytes, count, limits.maxPngChunkBytes))
            st = PictureStatus::tooLarge;
        else
            st = qm::decodePngRows(bytes, count, limits, &sink);
        if (st == PictureStatus::ok && !out->pixels.finished())
            st = PictureStatus::corrupt;
    }
    if (st != PictureStatus::ok)
        out->pixels = AreaScaler();
    return st;
}
