// GSIdPointer's ownership rules; the object runtime underneath is the platform's.
#include "gs/object/GSIdPointer.h"

#include "gs/platform/GSPlatformObject.h"

GSIdPointer::GSIdPointer(GSIdPointer const& other) noexcept : object(other.object)
{
    GSPlatformRetain(object);
}

GSIdPointer::~GSIdPointer()
{
    GSPlatformRelease(object);
}

void GSIdPointer::attach(void* p) noexcept
{
    if (p == object)
        return;
    GSPlatformRetain(p);
    void* old = object;
    object = p;
    GSPlatformRelease(old);
}

GSIdPointer& GSIdPointer::operator=(void* p) noexcept
{
    if (p != object) {
        void* old = object;
        object = p;
        GSPlatformRelease(old);
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
        GSPlatformRelease(old);
    }
    return *this;
}

void GSIdPointer::retain() const noexcept
{
    GSPlatformRetain(object);
}

bool GSIdPointer::isEqual(GSIdPointer const& other) const noexcept
{
    if (!object || !other.object)
        return false;
    return GSPlatformIsEqual(object, other.object);
}
