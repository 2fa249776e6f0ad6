// Memory helpers: fills, inversions, copies, comparisons and range checks on arrays of fixed-width
// values.
//
// Every count is a number of elements, not bytes; nothing happens for a count below 1. The fills
// and inversions work in aligned 16-byte vectors after a head that reaches the alignment, so they
// run as fast as memset or a vectorised loop; only their results are part of the contract. The
// lower-case names are the older spellings of the same operations.
#pragma once

// Each byte becomes its bitwise complement.
void GSMemInvert(unsigned char* bytes, long n);
void meminvert(unsigned char* bytes, long n);
// Each 16-bit / 32-bit value becomes its bitwise complement.
void GSMemInvertUSHORT(unsigned short* values, long n);
void meminvertUSHORT(unsigned short* values, long n);
void GSMemInvertLONG(int* values, long n);
// Each value x becomes 1.0 - x: the inversion of a 0..1 intensity, not a bit operation.
void GSMemInvertFloat(float* values, long n);
void meminvertFloat(float* values, long n);

// Byte fill (the low 8 bits of `value`).
void GSMemSet(void* bytes, int value, long n);
// 16-bit fill (the low 16 bits of `value`).
void GSMemSetUShort(unsigned short* values, int value, long n);
void memsetUSHORT(unsigned short* values, int value, long n);
void GSMemSetLong(int* values, int value, long n);
void GSMemSetFloat(float* values, float value, long n);
void memsetFloat(float* values, float value, long n);
void GSMemSetDouble(double* values, double value, long n);
void memsetDouble(double* values, double value, long n);

// Copies n elements; the regions must not overlap.
void GSMemCopyUShort(unsigned short* destination, unsigned short const* source, long n);
void GSMemCopyLong(int* destination, int const* source, long n);
void GSMemCopyFloat(float* destination, float const* source, long n);

// Byte-wise comparison of n * 4 bytes with memcmp's sign convention: -0.0 differs from 0.0 and two
// NaNs with the same bits compare equal. 0 for n below 1.
int GSMemCompareFloat(float const* a, float const* b, long n);
// 1 when no value lies below `minimum` or above `maximum` (checked from the last element to the
// first), 0 at the first violation. A NaN is neither below nor above anything and passes.
[[nodiscard]] short GSMemCheckFloat(float const* values, float minimum, float maximum, long n);
