#include "gs/util/GSMemory.h"

#include <cstdint>
#include <cstring>

namespace {

// 16-byte vectors (GCC and Clang vector extensions): one SSE2 / NEON register each, so the block
// loops below compile to vector loads and stores at every optimisation level, not only where the
// auto-vectoriser decides to act.
typedef unsigned char VecU8 __attribute__((vector_size(16)));
typedef unsigned short VecU16 __attribute__((vector_size(16)));
typedef int VecI32 __attribute__((vector_size(16)));
typedef float VecF32 __attribute__((vector_size(16)));
typedef double VecF64 __attribute__((vector_size(16)));

constexpr std::uintptr_t kVectorBytes = 16;

// Leading elements to handle one at a time so that the rest starts on a 16-byte boundary (all of
// them when n is smaller). A pointer that is not aligned to its own element size never reaches the
// boundary; the block loops then use unaligned stores, which are still correct.
template <class E>
long headCount(E const* p, long n)
{
    std::uintptr_t address = reinterpret_cast<std::uintptr_t>(p);
    long head = static_cast<long>(((kVectorBytes - address % kVectorBytes) % kVectorBytes) / sizeof(E));
    return head < n ? head : n;
}

template <class E, class V>
void fillValues(E* p, E value, long n)
{
    if (n < 1)
        return;
    long head = headCount(p, n);
    for (long i = 0; i < head; ++i)
        p[i] = value;
    p += head;
    n -= head;

    constexpr long lanes = static_cast<long>(kVectorBytes / sizeof(E));
    V v;
    for (long i = 0; i < lanes; ++i)
        v[i] = value;
    for (; n >= 2 * lanes; n -= 2 * lanes, p += 2 * lanes) {
        std::memcpy(p, &v, sizeof v);
        std::memcpy(p + lanes, &v, sizeof v);
    }
    if (n >= lanes) {
        std::memcpy(p, &v, sizeof v);
        p += lanes;
        n -= lanes;
    }
    for (long i = 0; i < n; ++i)
        p[i] = value;
}

// Applies `op` to every element; `op` must accept both an element and a vector of elements.
template <class E, class V, class Op>
void transformValues(E* p, long n, Op op)
{
    if (n < 1)
        return;
    long head = headCount(p, n);
    for (long i = 0; i < head; ++i)
        p[i] = static_cast<E>(op(p[i]));
    p += head;
    n -= head;

    constexpr long lanes = static_cast<long>(kVectorBytes / sizeof(E));
    for (; n >= 2 * lanes; n -= 2 * lanes, p += 2 * lanes) {
        V a, b;
        std::memcpy(&a, p, sizeof a);
        std::memcpy(&b, p + lanes, sizeof b);
        a = op(a);
        b = op(b);
        std::memcpy(p, &a, sizeof a);
        std::memcpy(p + lanes, &b, sizeof b);
    }
    for (long i = 0; i < n; ++i)
        p[i] = static_cast<E>(op(p[i]));
}

constexpr auto complement = [](auto x) { return ~x; };
constexpr auto oneMinus = [](auto x) { return 1.0f - x; };

} // namespace

void GSMemInvert(unsigned char* bytes, long n) { transformValues<unsigned char, VecU8>(bytes, n, complement); }
void meminvert(unsigned char* bytes, long n) { GSMemInvert(bytes, n); }
void GSMemInvertUSHORT(unsigned short* values, long n) { transformValues<unsigned short, VecU16>(values, n, complement); }
void meminvertUSHORT(unsigned short* values, long n) { GSMemInvertUSHORT(values, n); }
void GSMemInvertLONG(int* values, long n) { transformValues<int, VecI32>(values, n, complement); }
void GSMemInvertFloat(float* values, long n) { transformValues<float, VecF32>(values, n, oneMinus); }
void meminvertFloat(float* values, long n) { GSMemInvertFloat(values, n); }

void GSMemSet(void* bytes, int value, long n)
{
    if (n < 1)
        return;
    std::memset(bytes, value, static_cast<size_t>(n));
}

void GSMemSetUShort(unsigned short* values, int value, long n)
{
    fillValues<unsigned short, VecU16>(values, static_cast<unsigned short>(value), n);
}
void memsetUSHORT(unsigned short* values, int value, long n) { GSMemSetUShort(values, value, n); }
void GSMemSetLong(int* values, int value, long n) { fillValues<int, VecI32>(values, value, n); }
void GSMemSetFloat(float* values, float value, long n) { fillValues<float, VecF32>(values, value, n); }
void memsetFloat(float* values, float value, long n) { GSMemSetFloat(values, value, n); }
void GSMemSetDouble(double* values, double value, long n) { fillValues<double, VecF64>(values, value, n); }
void memsetDouble(double* values, double value, long n) { GSMemSetDouble(values, value, n); }

void GSMemCopyUShort(unsigned short* destination, unsigned short const* source, long n)
{
    if (n > 0)
        std::memcpy(destination, source, static_cast<size_t>(n) * sizeof *source);
}

void GSMemCopyLong(int* destination, int const* source, long n)
{
    if (n > 0)
        std::memcpy(destination, source, static_cast<size_t>(n) * sizeof *source);
}

void GSMemCopyFloat(float* destination, float const* source, long n)
{
    if (n > 0)
        std::memcpy(destination, source, static_cast<size_t>(n) * sizeof *source);
}

int GSMemCompareFloat(float const* a, float const* b, long n)
{
    if (n < 1)
        return 0;
    return std::memcmp(a, b, static_cast<size_t>(n) * sizeof *a);
}

short GSMemCheckFloat(float const* values, float minimum, float maximum, long n)
{
    for (long i = n - 1; i >= 0; --i) {
        if (values[i] < minimum || values[i] > maximum)
            return 0;
    }
    return 1;
}
