#include "thumbnailer/AreaScaler.h"

#include <algorithm>
#include <cstring>
#include <new>

short AreaScaler::start(int srcW, int srcH, int channels, int dstW, int dstH)
{
    acc_.reset();
    out_.reset();
    spans_.reset();
    srcW_ = srcH_ = dstW_ = dstH_ = channels_ = 0;
    nextRow_ = outRow_ = 0;
    opaque_ = true;
    if (channels != 3 && channels != 4)
        return 1;
    if (srcW < 1 || srcH < 1 || srcW > kMaxSourceSide || srcH > kMaxSourceSide)
        return 1;
    if (dstW < 1 || dstH < 1 || dstW > srcW || dstH > srcH)
        return 1;

    size_t accCount = size_t(srcW) * size_t(channels);
    size_t outCount = size_t(dstW) * size_t(dstH) * 4;
    acc_.reset(new (std::nothrow) uint32_t[accCount]());
    out_.reset(new (std::nothrow) uint8_t[outCount]);
    spans_.reset(new (std::nothrow) Span[size_t(dstW)]);
    if (!acc_ || !out_ || !spans_) {
        acc_.reset();
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

}  // namespace

template <int C>
void AreaScaler::emitRowOf()
{
    uint32_t const* acc = acc_.get();
    uint8_t* out = out_.get() + size_t(outRow_) * size_t(dstW_) * 4;
    uint64_t const interior = uint64_t(dstW_);
    // Each output pixel's weights sum to srcW across and srcH down.
    uint64_t const total = uint64_t(srcW_) * uint64_t(srcH_);
    RoundedDivider const byTotal(C == 3 ? total : total * 255u);
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
        uint8_t* o = out + size_t(x) * 4;
        if constexpr (C == 3) {
            for (int k = 0; k < 3; ++k)
                o[k] = uint8_t(byTotal(sum[k]));
            o[3] = 255;
        } else {
            // sum[3] is the sum of weight * alpha * 255; colours are weight * alpha * colour.
            uint64_t const sumA = sum[3];
            uint8_t const a = uint8_t(byTotal(sumA));
            opaque = opaque && a == 255;
            o[3] = a;
            if (sumA == 0 || a == 0) {
                o[0] = o[1] = o[2] = 0;
                continue;
            }
            RoundedDivider const byAlpha(sumA);
            for (int k = 0; k < 3; ++k)
                o[k] = uint8_t(std::min<uint64_t>(byAlpha(sum[k] * 255u), 255));
        }
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
    if (!acc_ || nextRow_ >= srcH_)
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
