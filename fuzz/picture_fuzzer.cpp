// The picture decoders over hostile bytes: the stored picture of a document is decoded as it is.
// The last byte picks the format (bit 0: PNG) and the way of decoding (bits 1-2: whole, JPEG at
// 1/2 or 1/8, PNG row by row); the rest is the picture. Limits are small so that a fuzzer's memory
// limit is never what stops an input.
#include "thumbnailer/PictureDecoder.h"

#include <cstdint>
#include <cstdlib>

namespace {

struct CountingSink : qm::PngRowSink {
    std::uint32_t width = 0, height = 0, rows = 0;
    int channels = 0;
    qm::PictureStatus begin(std::uint32_t w, std::uint32_t h, int c, bool) override
    {
        width = w, height = h, channels = c;
        return qm::PictureStatus::ok;
    }
    qm::PictureStatus row(std::uint8_t const* pixels) override
    {
        // Touch the first and the last byte of the row, so that a short row is seen.
        volatile std::uint8_t sum = static_cast<std::uint8_t>(pixels[0] + pixels[std::size_t(width) * channels - 1]);
        (void)sum;
        ++rows;
        return qm::PictureStatus::ok;
    }
};

} // namespace

extern "C" int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size)
{
    if (size < 1)
        return 0;
    unsigned options = data[size - 1];
    --size;
    GSThumbnailLimits limits;
    limits.maxWidth = 4096;
    limits.maxHeight = 4096;
    limits.maxPixels = std::uint64_t(1) << 22;
    limits.maxDecodeBytes = std::size_t(16) << 20;
    limits.maxPngChunkCacheBytes = std::size_t(1) << 20;
    limits.maxPngChunkBytes = std::size_t(1) << 20;
    qm::PictureFormat format = options & 1 ? qm::PictureFormat::png : qm::PictureFormat::jpeg;

    qm::PictureInfo info;
    qm::PictureStatus headerStatus = qm::readPictureInfo(data, size, format, limits, &info);
    qm::RGBAImage image;
    qm::PictureStatus status;
    switch ((options >> 1) & 3) {
    case 1:
        status = format == qm::PictureFormat::jpeg ? qm::decodeJpegScaled(data, size, 2, limits, &image)
                                                   : qm::decodePicture(data, size, format, limits, &image);
        break;
    case 2:
        status = format == qm::PictureFormat::jpeg ? qm::decodeJpegScaled(data, size, 8, limits, &image)
                                                   : qm::decodePicture(data, size, format, limits, &image);
        break;
    case 3:
        if (format == qm::PictureFormat::png) {
            CountingSink sink;
            status = qm::decodePngRows(data, size, limits, &sink);
            if (status == qm::PictureStatus::ok && sink.rows != sink.height)
                std::abort(); // every row is delivered before ok
            return 0;
        }
        [[fallthrough]];
    default:
        status = qm::decodePicture(data, size, format, limits, &image);
        break;
    }
    // A decoded picture passed the header check, is as large as its header says (scaled) and is
    // inside the limits; a failed one leaves nothing behind.
    if (status == qm::PictureStatus::ok) {
        if (headerStatus != qm::PictureStatus::ok || image.isEmpty() || image.width() > info.width ||
            image.height() > info.height || std::uint64_t(image.width()) * image.height() > limits.maxPixels)
            std::abort();
    } else if (!image.isEmpty()) {
        std::abort();
    }
    return 0;
}
