// Area-averaging downscaler fed one source row at a time.
//
// Every output pixel is the exact area average of the source pixels it covers (a box filter with
// fractional edge weights). Colour is premultiplied by alpha while it is averaged, so transparent
// pixels do not bleed their colour into the result. Only one accumulator row of source width and
// the small output picture are held: a large picture is never kept whole.
//
// Weights are exact integers: in units of 1/dstH of a source row, source row j covers
// [j*dstH, (j+1)*dstH) and output row i covers [i*srcH, (i+1)*srcH); likewise across. Sums stay
// in 32 bits vertically (at most 255*255 * srcH, so srcH <= 65535) and in 64 bits across.
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>

class AreaScaler {
public:
    // Largest source side accepted (the vertical sums must fit in 32 bits).
    static constexpr int kMaxSourceSide = 65535;

    // Prepares a scale from srcW x srcH pixels with `channels` bytes each (3 = RGB, 4 = RGBA,
    // straight alpha) to dstW x dstH RGBA. Only downscaling (or 1:1) is done: 1 <= dst <= src per
    // side. Returns 0, or 1 for a bad size or when memory cannot be had.
    [[nodiscard]] short start(int srcW, int srcH, int channels, int dstW, int dstH);

    // Adds the next source row (srcW * channels bytes). 1 when all rows were pushed already.
    [[nodiscard]] short pushRow(uint8_t const* row);

    bool finished() const { return nextRow_ == srcH_ && srcH_ > 0; }
    int width() const { return dstW_; }
    int height() const { return dstH_; }
    // The dstW x dstH RGBA result (straight alpha), complete once finished().
    uint8_t const* pixels() const { return out_.get(); }
    // True when every output pixel is opaque.
    bool opaque() const { return opaque_; }

private:
    void accumulate(uint8_t const* row, uint32_t weight, bool rowOpaque);
    void emitRow();
    template <int C>
    void emitRowOf();
    void copyRow(uint8_t const* row);

    struct Span {
        int first = 0;        // first source column
        int last = 0;         // last source column (inclusive)
        uint32_t wFirst = 0;  // weight of the first column
        uint32_t wLast = 0;   // weight of the last column when last > first
    };

    int srcW_ = 0, srcH_ = 0, channels_ = 0, dstW_ = 0, dstH_ = 0;
    int nextRow_ = 0;  // next source row expected
    int outRow_ = 0;   // output row being accumulated
    bool opaque_ = true;
    std::unique_ptr<uint32_t[]> acc_;  // srcW * channels sums of the current output row
    std::unique_ptr<uint8_t[]> out_;   // dstW * dstH * 4
    std::unique_ptr<Span[]> spans_;    // per output column
};
