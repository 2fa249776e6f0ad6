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
//
// Pixels may also come in any order (an interlaced PNG's passes): each source pixel then adds its
// weight (row overlap x column overlap) to the 64-bit sums of the output pixels it covers, which
// are the very sums the row order makes, so the result is identical. That mode holds one sum per
// output channel (sumBytes()) instead of a source-wide row.
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
    // With `anyOrder` the pixels come through pushPixels, in any order, instead of pushRow.
    [[nodiscard]] short start(int srcW, int srcH, int channels, int dstW, int dstH, bool anyOrder = false);

    // Adds the next source row (srcW * channels bytes). 1 when all rows were pushed already.
    [[nodiscard]] short pushRow(uint8_t const* row);

    // Adds `count` pixels of source row y at columns firstX, firstX + stepX, ... (anyOrder only).
    // 1 for pixels outside the picture or more pixels than it has.
    [[nodiscard]] short pushPixels(int y, int firstX, int stepX, int count, uint8_t const* pixels);

    // The bytes of sums an any-order scale from srcW x srcH to dstW x dstH holds (0 at 1:1, where
    // pixels are copied into the result directly).
    static size_t sumBytes(int srcW, int srcH, int channels, int dstW, int dstH);

    bool finished() const { return srcH_ > 0 && (anyOrder_ ? pixelsLeft_ == 0 : nextRow_ == srcH_); }
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
    // The weights of one output pixel add up to srcW * srcH; times 255 when alpha premultiplies.
    template <int C>
    uint64_t totalWeight() const { return uint64_t(srcW_) * uint64_t(srcH_) * (C == 3 ? 1u : 255u); }
    template <int C>
    void addPixels(int y, int firstX, int stepX, int count, uint8_t const* pixels);
    void emitSums();

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
    bool anyOrder_ = false;
    uint64_t pixelsLeft_ = 0;           // any order: source pixels still to come
    std::unique_ptr<uint64_t[]> sums_;  // any order: dstW * dstH * channels sums
    std::unique_ptr<uint32_t[]> acc_;  // srcW * channels sums of the current output row
    std::unique_ptr<uint8_t[]> out_;   // dstW * dstH * 4
    std::unique_ptr<Span[]> spans_;    // per output column
};
