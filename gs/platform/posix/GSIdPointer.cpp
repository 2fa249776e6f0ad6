// GSIdPointer's object runtime on POSIX systems: the platform layer's reference-counted objects.
#include "gs/object/GSIdPointer.h"

#include "gs/platform/GSPlatformURL.h"

void GSIdPointer::retainObject(void* p) noexcept
{
    if (p)
        static_cast<GSPlatformObject*>(p)->retain();
}

void GSIdPointer::releaseObject(void* p) noexcept
{
    if (p)
        static_cast<GSPlatformObject*>(p)->release();
}

bool GSIdPointer::objectsEqual(void* a, void* b) noexcept
{
    return static_cast<GSPlatformObject*>(a)->isEqual(*static_cast<GSPlatformObject*>(b));
}
