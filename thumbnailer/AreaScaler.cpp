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

void AreaScaler::emitRow()
{
    uint32_t const* acc = acc_.get();
    uint8_t* out = out_.get() + size_t(outRow_) * size_t(dstW_) * 4;
    int const c = channels_;
    uint64_t const interior = uint64_t(dstW_);
    // Each output pixel's weights sum to srcW across and srcH down.
    uint64_t const total = uint64_t(srcW_) * uint64_t(srcH_);
    for (int x = 0; x < dstW_; ++x) {
        Span const& s = spans_[size_t(x)];
        uint64_t sum[4] = {0, 0, 0, 0};
        uint32_t const* p = acc + size_t(s.first) * size_t(c);
        for (int k = 0; k < c; ++k)
            sum[k] = uint64_t(s.wFirst) * p[k];
        if (s.last > s.first) {
            uint64_t mid[4] = {0, 0, 0, 0};
            for (int sx = s.first + 1; sx < s.last; ++sx) {
                p = acc + size_t(sx) * size_t(c);
                for (int k = 0; k < c; ++k)
                    mid[k] += p[k];
            }
            p = acc + size_t(s.last) * size_t(c);
            for (int k = 0; k < c; ++k)
                sum[k] += mid[k] * interior + uint64_t(s.wLast) * p[k];
        }
        uint8_t* o = out + size_t(x) * 4;
        if (c == 3) {
            for (int k = 0; k < 3; ++k)
                o[k] = uint8_t((sum[k] + total / 2) / total);
            o[3] = 255;
            continue;
        }
        // sum[3] is the sum of weight * alpha * 255; colours are weight * alpha * colour.
        uint64_t const sumA = sum[3];
        uint64_t const alphaTotal = total * 255u;
        uint8_t const a = uint8_t((sumA + alphaTotal / 2) / alphaTotal);
        if (a != 255)
            opaque_ = false;
        o[3] = a;
        for (int k = 0; k < 3; ++k) {
            if (sumA == 0 || a == 0) {
                o[k] = 0;
                continue;
            }
            uint64_t v = (sum[k] * 255u + sumA / 2) / sumA;
            o[k] = uint8_t(std::min<uint64_t>(v, 255));
        }
    }
    std::memset(acc_.get(), 0, size_t(srcW_) * size_t(c) * sizeof(uint32_t));
    ++outRow_;
}

short AreaScaler::pushRow(uint8_t const* row)
{
    if (!acc_ || nextRow_ >= srcH_)
        return 1;
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
