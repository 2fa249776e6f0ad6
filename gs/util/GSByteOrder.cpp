#include "gs/util/GSByteOrder.h"

namespace {

inline unsigned short swapBytes(unsigned short v) { return __builtin_bswap16(v); }
inline unsigned int swapBytes(unsigned int v) { return __builtin_bswap32(v); }
inline unsigned long swapBytes(unsigned long v) { return __builtin_bswap64(v); }

template <class U, class T>
void swapArray(T* values, long n, int from, int to)
{
    static_assert(sizeof(U) == sizeof(T));
    if (from == to)
        return;
    for (long i = 0; i < n; ++i)
        values[i] = static_cast<T>(swapBytes(static_cast<U>(values[i])));
}

} // namespace

void GSSwapUSHORTArray(unsigned short* values, long n, int from, int to) { swapArray<unsigned short>(values, n, from, to); }
void GSSwapSHORTArray(short* values, long n, int from, int to) { swapArray<unsigned short>(values, n, from, to); }
void GSSwapULONGArray(unsigned int* values, long n, int from, int to) { swapArray<unsigned int>(values, n, from, to); }
void GSSwapLONGArray(int* values, long n, int from, int to) { swapArray<unsigned int>(values, n, from, to); }
void GSSwapULONGLONGArray(unsigned long* values, long n, int from, int to) { swapArray<unsigned long>(values, n, from, to); }
