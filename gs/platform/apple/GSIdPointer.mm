// GSIdPointer over Foundation objects: retained and released through the Objective-C runtime,
// compared with isEqual:. The runtime functions are called directly so that this file compiles
// the same with and without automatic reference counting.
#include "gs/object/GSIdPointer.h"

#import <Foundation/Foundation.h>

extern "C" id objc_retain(id value);
extern "C" void objc_release(id value);

namespace {

void retainObject(void* p) noexcept
{
    if (p)
        objc_retain((__bridge id)p);
}

void releaseObject(void* p) noexcept
{
    if (p)
        objc_release((__bridge id)p);
}

} // namespace

GSIdPointer::GSIdPointer(GSIdPointer const& other) noexcept : object(other.object)
{
    retainObject(object);
}

GSIdPointer::~GSIdPointer()
{
    releaseObject(object);
}

void GSIdPointer::attach(void* p) noexcept
{
    if (p == object)
        return;
    retainObject(p);
    void* old = object;
    object = p;
    releaseObject(old);
}

GSIdPointer& GSIdPointer::operator=(void* p) noexcept
{
    if (p != object) {
        void* old = object;
        object = p;
        releaseObject(old);
    }
    return *this;
}

GSIdPointer& GSIdPointer::operator=(GSIdPointer const& other) noexcept
{
    attach(other.object);
    return *this;
}

GSIdPointer& GSIdPointer::operator=(GSIdPointer&& other) noexcept
{
    if (this != &other) {
        void* old = object;
        object = other.object;
        other.object = nullptr;
        // Also when both held the same object: its two references become one.
        releaseObject(old);
    }
    return *this;
}

void GSIdPointer::retain() const noexcept
{
    retainObject(object);
}

bool GSIdPointer::isEqual(GSIdPointer const& other) const noexcept
{
    if (!object || !other.object)
        return false;
    @autoreleasepool {
        return [(__bridge id)object isEqual:(__bridge id)other.object] ? true : false;
    }
}
