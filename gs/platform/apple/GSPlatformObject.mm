// Platform objects on Apple systems are Foundation objects: retained and released through the
// Objective-C runtime, compared with isEqual:. The runtime functions are called directly so that
// this file compiles the same with and without automatic reference counting.
#include "gs/platform/GSPlatformObject.h"

#import <Foundation/Foundation.h>

extern "C" id objc_retain(id value);
extern "C" void objc_release(id value);

void GSPlatformRetain(void* object) noexcept
{
    if (object)
        objc_retain((__bridge id)object);
}

void GSPlatformRelease(void* object) noexcept
{
    if (object)
        objc_release((__bridge id)object);
}

bool GSPlatformIsEqual(void* a, void* b) noexcept
{
    @autoreleasepool {
        return [(__bridge id)a isEqual:(__bridge id)b] ? true : false;
    }
}
