#include "gs/util/GSMemory.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

namespace {

// Runs `op` on `count` elements at `offset` inside a guarded buffer whose element i starts as
// start(i), and checks that exactly those elements became changed(old), bit for bit. Every start
// offset within a vector's width, and counts around the 16- and 32-byte block sizes, so that the
// head, the block loop and the tail are each hit with and without the others.
template <class T, class Start, class Op, class Changed>
void checkShapes(Start start, Op op, Changed changed)
{
    long const guard = 40;
    for (long offset = 0; offset < 9; ++offset)
        for (long count : {0L, 1L, 2L, 3L, 4L, 7L, 8L, 9L, 15L, 16L, 17L, 31L, 32L, 33L, 100L}) {
            std::vector<T> buffer(static_cast<size_t>(guard + offset + count + guard));
            for (size_t i = 0; i < buffer.size(); ++i)
                buffer[i] = start(i);
            std::vector<T> const original = buffer;
            op(buffer.data() + guard + offset, count);
            for (long i = 0; i < static_cast<long>(buffer.size()); ++i) {
                T const old = original[static_cast<size_t>(i)];
                T const expected = i >= guard + offset && i < guard + offset + count ? changed(old) : old;
                ASSERT_EQ(std::memcmp(&buffer[static_cast<size_t>(i)], &expected, sizeof(T)), 0)
                    << "offset " << offset << " count " << count << " index " << i;
            }
        }
}

template <class T, class Fill>
void checkFill(T value, T guard, Fill fill)
{
    checkShapes<T>([&](size_t) { return guard; }, [&](T* p, long n) { fill(p, value, n); }, [&](T) { return value; });
}

} // namespace

TEST(GSMemFill, EveryWidthFillsExactlyTheCountAtAnyAlignment)
{
    checkFill<unsigned char>(0xA5, 0x11, [](unsigned char* p, unsigned char v, long n) { GSMemSet(p, v, n); });
    checkFill<unsigned short>(0xBEEF, 0x1111, [](unsigned short* p, unsigned short v, long n) { GSMemSetUShort(p, v, n); });
    checkFill<unsigned short>(0x0102, 0x1111, [](unsigned short* p, unsigned short v, long n) { memsetUSHORT(p, v, n); });
    checkFill<int>(-123456789, 7, [](int* p, int v, long n) { GSMemSetLong(p, v, n); });
    checkFill<float>(-2.5f, 1.0f, [](float* p, float v, long n) { GSMemSetFloat(p, v, n); });
    checkFill<float>(0.125f, 1.0f, [](float* p, float v, long n) { memsetFloat(p, v, n); });
    checkFill<double>(3.0e100, 1.0, [](double* p, double v, long n) { GSMemSetDouble(p, v, n); });
    checkFill<double>(-0.0, 1.0, [](double* p, double v, long n) { memsetDouble(p, v, n); });
}

// Integers are complemented bit by bit; floats x become 1.0 - x (the inversion of an intensity).
TEST(GSMemInvert, EveryWidthInvertsExactlyTheCountAtAnyAlignment)
{
    auto complement = [](auto o) { return static_cast<decltype(o)>(~o); };
    checkShapes<unsigned char>([](size_t i) { return static_cast<unsigned char>(i * 37 + 5); },
                               [](unsigned char* p, long n) { GSMemInvert(p, n); }, complement);
    checkShapes<unsigned short>([](size_t i) { return static_cast<unsigned short>(i * 1000 + 1); },
                                [](unsigned short* p, long n) { GSMemInvertUSHORT(p, n); }, complement);
    checkShapes<unsigned short>([](size_t i) { return static_cast<unsigned short>(i * 77); },
                                [](unsigned short* p, long n) { meminvertUSHORT(p, n); }, complement);
    checkShapes<int>([](size_t i) { return static_cast<int>(i * 100000) - 7; }, [](int* p, long n) { GSMemInvertLONG(p, n); },
                     complement);
    for (auto invert : {&GSMemInvertFloat, &meminvertFloat})
        checkShapes<float>([](size_t i) { return static_cast<float>(i) / 16.0f; }, [&](float* p, long n) { invert(p, n); },
                           [](float o) { return 1.0f - o; });
}

TEST(GSMemFill, ShortFillsUseTheLow16BitsAndCountsBelowOneTouchNothing)
{
    unsigned short s[3] = {0, 0, 0};
    GSMemSetUShort(s, 0x12345678, 3);
    EXPECT_EQ(s[2], 0x5678);
    int v[4] = {1, 2, 3, 4};
    GSMemSetLong(v, 9, -5);
    GSMemInvertLONG(v, -1);
    GSMemSet(v, 0, -1);
    EXPECT_EQ(v[0], 1);
    EXPECT_EQ(v[3], 4);
}

TEST(GSMemCopy, CopiesTheElementCount)
{
    unsigned short s[5] = {1, 2, 3, 4, 5}, sd[5] = {};
    int l[3] = {-1, 2, -3}, ld[3] = {};
    float f[2] = {0.5f, -0.0f}, fd[2] = {9, 9};
    GSMemCopyUShort(sd, s, 4);
    GSMemCopyLong(ld, l, 3);
    GSMemCopyFloat(fd, f, 1);
    EXPECT_EQ(std::vector<int>(sd, sd + 5), (std::vector<int>{1, 2, 3, 4, 0}));
    EXPECT_EQ(ld[2], -3);
    EXPECT_EQ(std::vector<float>(fd, fd + 2), (std::vector<float>{0.5f, 9.0f}));
}

TEST(GSMemCompareFloat, ComparesBitsNotValues)
{
    float nan = std::numeric_limits<float>::quiet_NaN();
    float a[3] = {1.0f, 0.0f, nan};
    float b[3] = {1.0f, -0.0f, nan};
    EXPECT_EQ(GSMemCompareFloat(a, a, 3), 0); // the same NaN bits are equal
    EXPECT_NE(GSMemCompareFloat(a, b, 2), 0); // 0.0 and -0.0 differ
    EXPECT_EQ(GSMemCompareFloat(a, b, 1), 0);
    EXPECT_EQ(GSMemCompareFloat(a, b, 0), 0);
    // memcmp's sign: the first differing byte decides, as unsigned bytes.
    EXPECT_EQ(GSMemCompareFloat(a, b, 2) < 0, std::memcmp(a, b, 8) < 0);
}

TEST(GSMemCheckFloat, OneWhenAllWithinBounds)
{
    float v[4] = {0.0f, 0.5f, 1.0f, std::numeric_limits<float>::quiet_NaN()};
    EXPECT_EQ(GSMemCheckFloat(v, 0.0f, 1.0f, 4), 1); // bounds inclusive, NaN passes
    EXPECT_EQ(GSMemCheckFloat(v, 0.1f, 1.0f, 4), 0);
    EXPECT_EQ(GSMemCheckFloat(v, 0.0f, 0.9f, 4), 0);
    EXPECT_EQ(GSMemCheckFloat(v, 0.0f, 0.9f, 2), 1); // only the first two are checked
    EXPECT_EQ(GSMemCheckFloat(v, 5.0f, 6.0f, 0), 1);
}
