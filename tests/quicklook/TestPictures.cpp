#include "TestPictures.h"

#include <spng.h>
#include <turbojpeg.h>

#include <cstdlib>
#include <stdexcept>

namespace qmtest {

std::vector<unsigned char> encodedJPEG(int width, int height)
{
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 3, 0x80);
    tjhandle handle = tjInitCompress();
    unsigned char* out = nullptr;
    unsigned long size = 0;
    int failed = tjCompress2(handle, pixels.data(), width, 0, height, TJPF_RGB, &out, &size, TJSAMP_420, 80, 0);
    std::vector<unsigned char> result;
    if (!failed)
        result.assign(out, out + size);
    tjFree(out);
    tjDestroy(handle);
    if (failed)
        throw std::runtime_error("JPEG encoding failed");
    return result;
}

std::vector<unsigned char> encodedPNG(int width, int height)
{
    std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 4, 0x40);
    spng_ctx* ctx = spng_ctx_new(SPNG_CTX_ENCODER);
    spng_set_option(ctx, SPNG_ENCODE_TO_BUFFER, 1);
    spng_ihdr ihdr{};
    ihdr.width = static_cast<uint32_t>(width);
    ihdr.height = static_cast<uint32_t>(height);
    ihdr.bit_depth = 8;
    ihdr.color_type = SPNG_COLOR_TYPE_TRUECOLOR_ALPHA;
    spng_set_ihdr(ctx, &ihdr);
    int error = spng_encode_image(ctx, pixels.data(), pixels.size(), SPNG_FMT_PNG, SPNG_ENCODE_FINALIZE);
    std::vector<unsigned char> result;
    if (!error) {
        size_t size = 0;
        auto* out = static_cast<unsigned char*>(spng_get_png_buffer(ctx, &size, &error));
        if (out)
            result.assign(out, out + size);
        std::free(out);
    }
    spng_ctx_free(ctx);
    if (error)
        throw std::runtime_error("PNG encoding failed");
    return result;
}

} // namespace qmtest
