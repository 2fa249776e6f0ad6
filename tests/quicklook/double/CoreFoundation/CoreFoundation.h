// Test double of the Core Foundation calls the QuickLook plug-in makes: the same names, types and
// signatures as the platform's, implemented by QuickLookDouble.cpp, which records every call and
// counts every reference. Only what the plug-in uses is declared.
#pragma once

#include <cstddef>
#include <cstdint>

typedef unsigned char Boolean;
typedef std::uint8_t UInt8;
typedef std::int32_t SInt32;
typedef std::uint32_t UInt32;
typedef long CFIndex;
typedef SInt32 OSStatus;
enum { noErr = 0 };

typedef void const* CFTypeRef;
typedef struct QMDoubleAllocator const* CFAllocatorRef;
typedef struct QMDoubleString const* CFStringRef;
typedef struct QMDoubleURL const* CFURLRef;
typedef struct QMDoubleUUID const* CFUUIDRef;
typedef struct QMDoubleDictionary const* CFDictionaryRef;

extern const CFAllocatorRef kCFAllocatorDefault;

typedef struct {
    UInt8 byte0, byte1, byte2, byte3, byte4, byte5, byte6, byte7;
    UInt8 byte8, byte9, byte10, byte11, byte12, byte13, byte14, byte15;
} CFUUIDBytes;

extern "C" {

CFTypeRef CFRetain(CFTypeRef cf);
void CFRelease(CFTypeRef cf);
Boolean CFEqual(CFTypeRef cf1, CFTypeRef cf2);

CFUUIDRef CFUUIDGetConstantUUIDWithBytes(CFAllocatorRef alloc, UInt8 byte0, UInt8 byte1, UInt8 byte2, UInt8 byte3,
                                         UInt8 byte4, UInt8 byte5, UInt8 byte6, UInt8 byte7, UInt8 byte8,
                                         UInt8 byte9, UInt8 byte10, UInt8 byte11, UInt8 byte12, UInt8 byte13,
                                         UInt8 byte14, UInt8 byte15);
CFUUIDRef CFUUIDCreateFromUUIDBytes(CFAllocatorRef alloc, CFUUIDBytes bytes);
CFUUIDRef CFUUIDCreateFromString(CFAllocatorRef alloc, CFStringRef uuidStr);
CFUUIDBytes CFUUIDGetUUIDBytes(CFUUIDRef uuid);

// CFSTR makes a constant string that is never released, as the platform's does.
CFStringRef QMDoubleMakeConstantString(char const* cStr);
#define CFSTR(cStr) QMDoubleMakeConstantString("" cStr "")

Boolean CFURLGetFileSystemRepresentation(CFURLRef url, Boolean resolveAgainstBase, UInt8* buffer, CFIndex maxBufLen);

void CFPlugInAddInstanceForFactory(CFUUIDRef factoryID);
void CFPlugInRemoveInstanceForFactory(CFUUIDRef factoryID);

} // extern "C"
