// Test double of the Core Graphics calls the QuickLook plug-in makes (see CoreFoundation.h here).
#pragma once

#include <CoreFoundation/CoreFoundation.h>

typedef double CGFloat;
struct CGPoint {
    CGFloat x;
    CGFloat y;
};
struct CGSize {
    CGFloat width;
    CGFloat height;
};
struct CGRect {
    CGPoint origin;
    CGSize size;
};

typedef struct CGContext* CGContextRef;
typedef struct CGImage* CGImageRef;
typedef struct CGDataProvider* CGDataProviderRef;

// The platform's values of the members the plug-in uses.
enum CGColorRenderingIntent : std::int32_t { kCGRenderingIntentDefault = 0, kCGRenderingIntentPerceptual = 3 };
enum CGInterpolationQuality : std::int32_t { kCGInterpolationDefault = 0, kCGInterpolationHigh = 3 };

typedef void (*CGDataProviderReleaseDataCallback)(void* info, void const* data, size_t size);

extern "C" {

CGRect CGRectMake(CGFloat x, CGFloat y, CGFloat width, CGFloat height);
CGSize CGSizeMake(CGFloat width, CGFloat height);

CGDataProviderRef CGDataProviderCreateWithData(void* info, void const* data, size_t size,
                                               CGDataProviderReleaseDataCallback releaseData);
CGImageRef CGImageCreateWithJPEGDataProvider(CGDataProviderRef source, CGFloat const decode[], bool shouldInterpolate,
                                             CGColorRenderingIntent intent);
CGImageRef CGImageCreateWithPNGDataProvider(CGDataProviderRef source, CGFloat const decode[], bool shouldInterpolate,
                                            CGColorRenderingIntent intent);
size_t CGImageGetWidth(CGImageRef image);
size_t CGImageGetHeight(CGImageRef image);

void CGContextSetInterpolationQuality(CGContextRef c, CGInterpolationQuality quality);
void CGContextSetShouldAntialias(CGContextRef c, bool shouldAntialias);
void CGContextDrawImage(CGContextRef c, CGRect rect, CGImageRef image);
void CGContextRelease(CGContextRef c);

} // extern "C"
