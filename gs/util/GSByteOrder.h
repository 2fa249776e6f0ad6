// Byte order at a pointer and byte swapping of arrays.
//
// Get*: the value of 2, 4 or 8 bytes at p. Read*: store the value and return p advanced past it.
// Set*: write the value's bytes at p. "Big" is most significant byte first, "Little" least
// significant first. "Long" is 32 bits and "LongLong" 64 bits, as in the file format. The pointer
// needs no alignment. These are inline: the file layer decodes every primitive with them.
#pragma once

inline unsigned short GetBigUShort(void const* p)
{
    auto b = static_cast<unsigned char const*>(p);
    return static_cast<unsigned short>(b[0] << 8 | b[1]);
}
[[nodiscard]] inline short GetBigShort(void const* p) { return static_cast<short>(GetBigUShort(p)); }

inline unsigned int GetBigULong(void const* p)
{
    auto b = static_cast<unsigned char const*>(p);
    return static_cast<unsigned int>(b[0]) << 24 | static_cast<unsigned int>(b[1]) << 16
        | static_cast<unsigned int>(b[2]) << 8 | b[3];
}
inline int GetBigLong(void const* p) { return static_cast<int>(GetBigULong(p)); }

inline long GetBigLongLong(void const* p)
{
    auto b = static_cast<unsigned char const*>(p);
    unsigned long high = GetBigULong(b);
    return static_cast<long>(high << 32 | GetBigULong(b + 4));
}

inline unsigned short GetLittleUShort(void const* p)
{
    auto b = static_cast<unsigned char const*>(p);
    return static_cast<unsigned short>(b[1] << 8 | b[0]);
}

inline unsigned int GetLittleULong(void const* p)
{
    auto b = static_cast<unsigned char const*>(p);
    return static_cast<unsigned int>(b[3]) << 24 | static_cast<unsigned int>(b[2]) << 16
        | static_cast<unsigned int>(b[1]) << 8 | b[0];
}

inline unsigned char const* ReadBigShort(void const* p, short* value)
{
    *value = GetBigShort(p);
    return static_cast<unsigned char const*>(p) + 2;
}
inline unsigned char const* ReadBigUShort(void const* p, unsigned short* value)
{
    *value = GetBigUShort(p);
    return static_cast<unsigned char const*>(p) + 2;
}
inline unsigned char const* ReadBigLong(void const* p, int* value)
{
    *value = GetBigLong(p);
    return static_cast<unsigned char const*>(p) + 4;
}
inline unsigned char const* ReadBigULong(void const* p, unsigned int* value)
{
    *value = GetBigULong(p);
    return static_cast<unsigned char const*>(p) + 4;
}
inline unsigned char const* ReadLittleShort(void const* p, short* value)
{
    *value = static_cast<short>(GetLittleUShort(p));
    return static_cast<unsigned char const*>(p) + 2;
}
inline unsigned char const* ReadLittleUShort(void const* p, unsigned short* value)
{
    *value = GetLittleUShort(p);
    return static_cast<unsigned char const*>(p) + 2;
}
inline unsigned char const* ReadLittleLong(void const* p, int* value)
{
    *value = static_cast<int>(GetLittleULong(p));
    return static_cast<unsigned char const*>(p) + 4;
}
inline unsigned char const* ReadLittleULong(void const* p, unsigned int* value)
{
    *value = GetLittleULong(p);
    return static_cast<unsigned char const*>(p) + 4;
}
inline unsigned char const* ReadUChar(void const* p, unsigned char* value)
{
    *value = *static_cast<unsigned char const*>(p);
    return static_cast<unsigned char const*>(p) + 1;
}

inline void SetBigShort(void* p, short value)
{
    auto b = static_cast<unsigned char*>(p);
    auto v = static_cast<unsigned short>(value);
    b[0] = static_cast<unsigned char>(v >> 8);
    b[1] = static_cast<unsigned char>(v);
}
inline void SetBigLong(void* p, int value)
{
    auto b = static_cast<unsigned char*>(p);
    auto v = static_cast<unsigned int>(value);
    b[0] = static_cast<unsigned char>(v >> 24);
    b[1] = static_cast<unsigned char>(v >> 16);
    b[2] = static_cast<unsigned char>(v >> 8);
    b[3] = static_cast<unsigned char>(v);
}
inline void SetLittleShort(void* p, short value)
{
    auto b = static_cast<unsigned char*>(p);
    auto v = static_cast<unsigned short>(value);
    b[0] = static_cast<unsigned char>(v);
    b[1] = static_cast<unsigned char>(v >> 8);
}
inline void SetLittleLong(void* p, int value)
{
    auto b = static_cast<unsigned char*>(p);
    auto v = static_cast<unsigned int>(value);
    b[0] = static_cast<unsigned char>(v);
    b[1] = static_cast<unsigned char>(v >> 8);
    b[2] = static_cast<unsigned char>(v >> 16);
    b[3] = static_cast<unsigned char>(v >> 24);
}

// Array swapping: when the byte-order codes `from` and `to` differ, the bytes of each of the n
// elements are reversed; otherwise nothing happens. The codes are only compared for equality, so
// their values are the caller's choice (GSByteOrderBig / GSByteOrderLittle are offered).
enum : int { GSByteOrderBig = 0, GSByteOrderLittle = 1 };

void GSSwapUSHORTArray(unsigned short* values, long n, int from, int to);
void GSSwapSHORTArray(short* values, long n, int from, int to);
void GSSwapULONGArray(unsigned int* values, long n, int from, int to);
void GSSwapLONGArray(int* values, long n, int from, int to);
void GSSwapULONGLONGArray(unsigned long* values, long n, int from, int to);
