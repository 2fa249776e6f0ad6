// Test double of the QuickLook generator interface (see CoreFoundation/CoreFoundation.h here).
#pragma once

#include <CoreFoundation/CFPlugInCOM.h>
#include <CoreFoundation/CoreFoundation.h>
#include <CoreGraphics/CoreGraphics.h>

typedef struct QMDoubleThumbnailRequest* QLThumbnailRequestRef;
typedef struct QMDoublePreviewRequest* QLPreviewRequestRef;

// 5E2D9680-5022-40FA-B806-43349622E5B9
#define kQLGeneratorTypeID                                                                                        \
    CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x5E, 0x2D, 0x96, 0x80, 0x50, 0x22, 0x40, 0xFA, 0xB8, 0x06, \
                                   0x43, 0x34, 0x96, 0x22, 0xE5, 0xB9)
// 865AF5E0-6D30-4345-951B-D37105754F2D
#define kQLGeneratorCallbacksInterfaceID                                                                          \
    CFUUIDGetConstantUUIDWithBytes(kCFAllocatorDefault, 0x86, 0x5A, 0xF5, 0xE0, 0x6D, 0x30, 0x43, 0x45, 0x95, 0x1B, \
                                   0xD3, 0x71, 0x05, 0x75, 0x4F, 0x2D)

typedef struct {
    IUNKNOWN_C_GUTS;
    OSStatus (*GenerateThumbnailForURL)(void* thisInterface, QLThumbnailRequestRef thumbnail, CFURLRef url,
                                        CFStringRef contentTypeUTI, CFDictionaryRef options, CGSize maxSize);
    void (*CancelThumbnailGeneration)(void* thisInterface, QLThumbnailRequestRef thumbnail);
    OSStatus (*GeneratePreviewForURL)(void* thisInterface, QLPreviewRequestRef preview, CFURLRef url,
                                      CFStringRef contentTypeUTI, CFDictionaryRef options);
    void (*CancelPreviewGeneration)(void* thisInterface, QLPreviewRequestRef preview);
} QLGeneratorInterfaceStruct;

extern "C" {

CGContextRef QLThumbnailRequestCreateContext(QLThumbnailRequestRef thumbnail, CGSize size, Boolean isBitmap,
                                             CFDictionaryRef properties);
void QLThumbnailRequestFlushContext(QLThumbnailRequestRef thumbnail, CGContextRef context);
CGContextRef QLPreviewRequestCreateContext(QLPreviewRequestRef preview, CGSize size, Boolean isBitmap,
                                           CFDictionaryRef properties);
void QLPreviewRequestFlushContext(QLPreviewRequestRef preview, CGContextRef context);

} // extern "C"
