// Platform objects on POSIX systems: our own reference-counted GSPlatformObjects.
#include "gs/platform/GSPlatformObject.h"

GSPlatformObject::~GSPlatformObject() = default;

void GSPlatformObject::release() const noexcept
{
    if (retainCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

void GSPlatformRetain(void* object) noexcept
{
    if (object)
        static_cast<GSPlatformObject*>(object)->retain();
}

void GSPlatformRelease(void* object) noexcept
{
    if (object)
        static_cast<GSPlatformObject*>(object)->release();
}

bool GSPlatformIsEqual(void* a, void* b) noexcept
{
    return static_cast<GSPlatformObject*>(a)->isEqual(*static_cast<GSPlatformObject*>(b));
}
