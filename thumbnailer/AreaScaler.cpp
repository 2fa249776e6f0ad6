#include "thumbnailer/AreaScaler.h"

#include <algorithm>
#include <cstring>
#include <new>

size_t AreaScaler::sumBytes(int srcW, int srcH, int channels, int dstW, int dstH)
{
    if (srcW == dstW && srcH == dstH)
        return 0;
    return size_t(dstW) * size_t(dstH) * size_t(channels) * sizeof(uint64_t);
}

short AreaScaler::start(int srcW, int srcH, int channels, int dstW, int dstH, bool anyOrder)
{
    acc_.reset();
    out_.reset();
    spans_.reset();
    sums_.reset();
    srcW_ = srcH_ = dstW_ = dstH_ = channels_ = 0;
    nextRow_ = outRow_ = 0;
    opaque_ = true;
    anyOrder_ = false;
    pixelsLeft_ = 0;
    if (channels != 3 && channels != 4)
        return 1;
    if (srcW < 1 || srcH < 1 || srcW > kMaxSourceSide || srcH > kMaxSourceSide)
        return 1;
    if (dstW < 1 || dstH < 1 || dstW > srcW || dstH > srcH)
        return 1;

    size_t accCount = size_t(srcW) * size_t(channels);
    size_t outCount = size_t(dstW) * size_t(dstH) * 4;
    size_t sumCount = sumBytes(srcW, srcH, channels, dstW, dstH) / sizeof(uint64_t);
    if (!anyOrder)
        acc_.reset(new (std::nothrow) uint32_t[accCount]());
    else if (sumCount)
        sums_.reset(new (std::nothrow) uint64_t[sumCount]());
    out_.reset(new (std::nothrow) uint8_t[outCount]);
    spans_.reset(new (std::nothrow) Span[size_t(dstW)]);
    if ((!anyOrder && !acc_) || (sumCount && anyOrder && !sums_) || !out_ || !spans_) {
        acc_.reset();
        sums_.reset();
        out_.reset();
        spans_.reset();
        return 1;
    }

    // Output column X covers [X*srcW, (X+1)*srcW) in units of 1/dstW of a source column.
    for (int x = 0; x < dstW; ++x) {
        uint64_t lo = uint64_t(x) * uint64_t(srcW);
        uint64_t hi = lo + uint64_t(srcW);
        Span& s = spans_[size_t(x)];
        s.first = int(lo / uint64_t(dstW));
        s.last = int((hi - 1) / uint64_t(dstW));
        s.wFirst = uint32_t(std::min<uint64_t>(uint64_t(s.first + 1) * uint64_t(dstW), hi) - lo);
        s.wLast = s.last > s.first ? uint32_t(hi - uint64_t(s.last) * uint64_t(dstW)) : 0;
    }
    srcW_ = srcW;
    srcH_ = srcH;
    channels_ = channels;
    dstW_ = dstW;
    dstH_ = dstH;
    anyOrder_ = anyOrder;
    pixelsLeft_ = anyOrder ? uint64_t(srcW) * uint64_t(srcH) : 0;
    return 0;
}

void AreaScaler::accumulate(uint8_t const* row, uint32_t weight, bool rowOpaque)
{
    uint32_t* acc = acc_.get();
    size_t n = size_t(srcW_) * size_t(channels_);
    if (channels_ == 3) {
        for (size_t i = 0; i < n; ++i)
            acc[i] += weight * row[i];
        return;
    }
    if (rowOpaque) {
        // Premultiplying by 255 is multiplying the weight by 255, alpha included (255 * 255).
        uint32_t w = weight * 255u;
        for (size_t i = 0; i < n; ++i)
            acc[i] += w * row[i];
        return;
    }
    for (size_t i = 0; i < n; i += 4) {
        uint32_t a = row[i + 3];
        uint32_t wa = weight * a;
        acc[i] += wa * row[i];
        acc[i + 1] += wa * row[i + 1];
        acc[i + 2] += wa * row[i + 2];
        acc[i + 3] += wa * 255u;
    }
}

namespace {

// Rounded division n / d for a divisor used many times: a floating-point estimate, corrected to the
// exact integer result (the estimate is off by at most one where n exceeds 2^53).
struct RoundedDivider {
    uint64_t d = 1;
    double inverse = 1;

    explicit RoundedDivider(uint64_t divisor) : d(divisor), inverse(1.0 / double(divisor)) {}

    uint64_t operator()(uint64_t n) const
    {
        uint64_t const rounded = n + d / 2;
        uint64_t q = uint64_t(double(rounded) * inverse);
        if (q * d > rounded)
            --q;
        else if ((q + 1) * d <= rounded)
            ++q;
        return q;
    }
};

// One output pixel from its sums: sum[k] is the sum of weight * colour (C == 3), or of weight *
// alpha * colour with sum[3] the sum of weight * alpha * 255 (C == 4). byTotal divides by the total
// of the pixel's weights (times 255 with alpha).
template <int C>
void storePixel(uint64_t const* sum, uint8_t* o, bool* opaque, RoundedDivider const& byTotal)
{
    if constexpr (C == 3) {
        for (int k = 0; k < 3; ++k)
            o[k] = uint8_t(byTotal(sum[k]));
        o[3] = 255;
    } else {
        uint64_t const sumA = sum[3];
        uint8_t const a = uint8_t(byTotal(sumA));
        *opaque = *opaque && a == 255;
        o[3] = a;
        if (sumA == 0 || a == 0) {
            o[0] = o[1] = o[2] = 0;
            return;
        }
        RoundedDivider const byAlpha(sumA);
        for (int k = 0; k < 3; ++k)
            o[k] = uint8_t(std::min<uint64_t>(byAlpha(sum[k] * 255u), 255));
    }
}

}  // namespace

template <int C>
void AreaScaler::emitRowOf()
{
    uint32_t const* acc = acc_.get();
    uint8_t* out = out_.get() + size_t(outRow_) * size_t(dstW_) * 4;
    uint64_t const interior = uint64_t(dstW_);
    RoundedDivider const byTotal(totalWeight<C>());
    bool opaque = true;
    for (int x = 0; x < dstW_; ++x) {
        Span const& s = spans_[size_t(x)];
        uint64_t sum[C];
        uint32_t const* p = acc + size_t(s.first) * C;
        for (int k = 0; k < C; ++k)
            sum[k] = uint64_t(s.wFirst) * p[k];
        if (s.last > s.first) {
            uint64_t mid[C] = {};
            for (int sx = s.first + 1; sx < s.last; ++sx) {
                p = acc + size_t(sx) * C;
                for (int k = 0; k < C; ++k)
                    mid[k] += p[k];
            }
            p = acc + size_t(s.last) * C;
            for (int k = 0; k < C; ++k)
                sum[k] += mid[k] * interior + uint64_t(s.wLast) * p[k];
        }
        storePixel<C>(sum, out + size_t(x) * 4, &opaque, byTotal);
    }
    opaque_ = opaque_ && opaque;
    std::memset(acc_.get(), 0, size_t(srcW_) * C * sizeof(uint32_t));
    ++outRow_;
}

void AreaScaler::emitRow()
{
    if (channels_ == 3)
        emitRowOf<3>();
    else
        emitRowOf<4>();
}

// At 1:1 every output pixel is its source pixel: copied, with the colour of a fully transparent
// pixel cleared as averaging would.
void AreaScaler::copyRow(uint8_t const* row)
{
    uint8_t* out = out_.get() + size_t(nextRow_) * size_t(dstW_) * 4;
    if (channels_ == 3) {
        for (int x = 0; x < srcW_; ++x, row += 3, out += 4) {
            std::memcpy(out, row, 3);
            out[3] = 255;
        }
        return;
    }
    std::memcpy(out, row, size_t(srcW_) * 4);
    for (int x = 0; x < srcW_; ++x, out += 4) {
        if (out[3] != 255)
            opaque_ = false;
        if (out[3] == 0)
            out[0] = out[1] = out[2] = 0;
    }
}

short AreaScaler::pushRow(uint8_t const* row)
{
    if (anyOrder_ || !acc_ || nextRow_ >= srcH_)
        return 1;
    if (srcW_ == dstW_ && srcH_ == dstH_) {
        copyRow(row);
        ++nextRow_;
        return 0;
    }
    bool rowOpaque = true;
    if (channels_ == 4) {
        size_t n = size_t(srcW_) * 4;
        uint8_t all = 255;
        for (size_t i = 3; i < n; i += 4)
            all &= row[i];
        rowOpaque = all == 255;
    }
    // Source row j covers [j*dstH, (j+1)*dstH) in units of 1/dstH of a source row; the current
    // output row ends at (outRow+1)*srcH. Downscaling means a row spans at most two output rows.
    uint64_t const rowStart = uint64_t(nextRow_) * uint64_t(dstH_);
    uint64_t const rowEnd = rowStart + uint64_t(dstH_);
    uint64_t const outEnd = uint64_t(outRow_ + 1) * uint64_t(srcH_);
    if (rowEnd <= outEnd) {
        accumulate(row, uint32_t(dstH_), rowOpaque);
        if (rowEnd == outEnd)
            emitRow();
    } else {
        uint32_t w0 = uint32_t(outEnd - rowStart);
        accumulate(row, w0, rowOpaque);
        emitRow();
        accumulate(row, uint32_t(dstH_) - w0, rowOpaque);
    }
    ++nextRow_;
    return 0;
}

template <int C>
void AreaScaler::addPixels(int y, int firstX, int stepX, int count, uint8_t const* pixels)
{
    // Source row y covers [y*dstH, (y+1)*dstH) and output row i covers [i*srcH, (i+1)*srcH): the
    // row adds to one output row, or to two split at (i+1)*srcH, exactly as pushRow splits it.
    uint64_t const rowStart = uint64_t(y) * uint64_t(dstH_);
    size_t const i0 = size_t(rowStart / uint64_t(srcH_));
    uint64_t const rowSplit = uint64_t(i0 + 1) * uint64_t(srcH_);
    uint64_t const wy0 = std::min<uint64_t>(rowSplit, rowStart + uint64_t(dstH_)) - rowStart;
    uint64_t const wy1 = uint64_t(dstH_) - wy0;
    uint64_t* const row0 = sums_.get() + i0 * size_t(dstW_) * C;
    uint64_t* const row1 = wy1 ? row0 + size_t(dstW_) * C : nullptr;
    for (int n = 0; n < count; ++n, pixels += C) {
        // Likewise across: the column's overlap with the output column it starts in, the rest
        // with the next one (the weights of Span, column by column).
        uint64_t const x = uint64_t(firstX) + uint64_t(n) * uint64_t(stepX);
        uint64_t const colStart = x * uint64_t(dstW_);
        size_t const j0 = size_t(colStart / uint64_t(srcW_));
        uint64_t const colSplit = uint64_t(j0 + 1) * uint64_t(srcW_);
        uint64_t const wx0 = std::min<uint64_t>(colSplit, colStart + uint64_t(dstW_)) - colStart;
        uint64_t const wx1 = uint64_t(dstW_) - wx0;
        uint64_t v[C];
        if constexpr (C == 3) {
            for (int k = 0; k < 3; ++k)
                v[k] = pixels[k];
        } else {
            uint64_t const a = pixels[3];
            for (int k = 0; k < 3; ++k)
                v[k] = a * pixels[k];
            v[3] = a * 255u;
        }
        uint64_t* const cells[2] = {row0, row1};
        uint64_t const wys[2] = {wy0, wy1};
        for (int r = 0; r < 2; ++r) {
            if (!wys[r])
                continue;
            uint64_t* s = cells[r] + j0 * C;
            for (int k = 0; k < C; ++k)
                s[k] += wys[r] * wx0 * v[k];
            if (wx1)
                for (int k = 0; k < C; ++k)
                    s[C + k] += wys[r] * wx1 * v[k];
        }
    }
}

void AreaScaler::emitSums()
{
    bool opaque = true;
    size_t const count = size_t(dstW_) * size_t(dstH_);
    RoundedDivider const byTotal(channels_ == 3 ? totalWeight<3>() : totalWeight<4>());
    for (size_t p = 0; p < count; ++p) {
        if (channels_ == 3)
            storePixel<3>(sums_.get() + p * 3, out_.get() + p * 4, &opaque, byTotal);
        else
            storePixel<4>(sums_.get() + p * 4, out_.get() + p * 4, &opaque, byTotal);
    }
    opaque_ = opaque;
    sums_.reset();
}

short AreaScaler::pushPixels(int y, int firstX, int stepX, int count, uint8_t const* pixels)
{
    if (!anyOrder_ || !out_ || y < 0 || y >= srcH_ || firstX < 0 || stepX < 1 || count < 0 ||
        uint64_t(count) > pixelsLeft_)
        return 1;
    if (count == 0)
        return 0;
    if (firstX >= srcW_ || uint64_t(count - 1) * uint64_t(stepX) >= uint64_t(srcW_ - firstX))
        return 1;
    if (!sums_) {
        // 1:1: the pixels are the result; a fully transparent one loses its colour, as in copyRow.
        uint8_t* row = out_.get() + size_t(y) * size_t(dstW_) * 4;
        for (int n = 0; n < count; ++n, pixels += channels_) {
            uint8_t* o = row + (size_t(firstX) + size_t(n) * size_t(stepX)) * 4;
            std::memcpy(o, pixels, size_t(channels_));
            o[3] = channels_ == 3 ? 255 : pixels[3];
            if (o[3] != 255)
                opaque_ = false;
            if (o[3] == 0)
                o[0] = o[1] = o[2] = 0;
        }
    } else if (channels_ == 3) {
        addPixels<3>(y, firstX, stepX, count, pixels);
    } else {
        addPixels<4>(y, firstX, stepX, count, pixels);
    }
    pixelsLeft_ -= uint64_t(count);
    if (pixelsLeft_ == 0 && sums_)
        emitSums();
    return 0;
}
