// GSIdPointer over Foundation objects: retained and released through the Objective-C runtime,
// compared with isEqual:. The runtime functions are called directly so that this file compiles
// the same with and without automatic reference counting.
#include "gs/object/GSIdPointer.h"

#import <Foundation/Foundation.h>

extern "C" id objc_retain(id value);
extern "C" void objc_release(id value);

void GSIdPointer::retainObject(void* p) noexcept
{
    if (p)
        objc_retain((__bridge id)p);
}

void GSIdPointer::releaseObject(void* p) noexcept
{
    if (p)
        objc_release((__bridge id)p);
}

bool GSIdPointer::objectsEqual(void* a, void* b) noexcept
{
    @autoreleasepool {
        return [(__bridge id)a isEqual:(__bridge id)b] ? true : false;
    }
}
