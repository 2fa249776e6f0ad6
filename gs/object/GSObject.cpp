#include "gs/object/GSObject.h"

#include "gs/object/GSRuntimeClass.h"

GSRuntimeClass GSObject::gsClassGSObject(GSString("GSObject"), nullptr, nullptr);

GSObject::~GSObject() = default;

void GSObject::release() const noexcept
{
    if (refCount.fetch_sub(1, std::memory_order_acq_rel) == 1)
        delete this;
}

void GSObject::releaseNoDelete() const noexcept
{
    refCount.fetch_sub(1, std::memory_order_acq_rel);
}

void GSObject::assignObject(GSObject** slot, GSObject* value) noexcept
{
    if (*slot == value)
        return;
    if (*slot)
        (*slot)->release();
    *slot = value;
    if (value)
        value->retain();
}

void GSObject::retainArray(long count, GSObject* const* objects) noexcept
{
    for (long i = 0; i < count; ++i)
        if (objects[i])
            objects[i]->retain();
}

void GSObject::releaseArray(long count, GSObject* const* objects) noexcept
{
    for (long i = 0; i < count; ++i)
        if (objects[i])
            objects[i]->release();
}

short GSObject::copyContentTo(GSObject*) const { return 0; }
GSRuntimeClass const& GSObject::getRuntimeClass() const { return gsClassGSObject; }
short GSObject::read(GSFile*) { return 0; }
short GSObject::write(GSFile*) const { return 0; }
GSObject* GSObject::objectAfterRead() { return this; }
GSObject const* GSObject::objectToWrite(GSFile*) const { return this; }

bool GSObject::isKindOfRuntimeClass(GSRuntimeClass const& c) const
{
    return &getRuntimeClass() == &c;
}

bool GSObject::isMemberOfRuntimeClass(GSRuntimeClass const& c) const
{
    for (GSRuntimeClass const* k = &getRuntimeClass(); k; k = k->getParent())
        if (k == &c)
            return true;
    return false;
}
