#include "gs/object/GSObject.h"

#include "gs/file/GSFile.h"
#include "gs/object/GSRuntimeClass.h"

#include <memory>
#include <new>

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

short GSObject::copyContentTo(GSObject* target) const
{
    return copyContentWithFile(target, 4096, nullptr);
}
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

GSObject* GSObject::copyObject() const
{
    GSObject* copy = getRuntimeClass().createObject();
    if (!copy)
        return nullptr;
    if (copyContentTo(copy) != 0) {
        delete copy;
        return nullptr;
    }
    return copy;
}

namespace {

// The file a copy goes through: the caller's, or a scratch memory file that lives as long as this.
class CopyFile {
public:
    CopyFile(GSFile* given, int bufferSize)
    {
        if (given) {
            file = given;
        } else {
            scratch.reset(new (std::nothrow) GSFile(-100, bufferSize > 0 ? bufferSize : 0));
            file = scratch.get();
        }
    }
    GSFile* get() const { return file; }

private:
    std::unique_ptr<GSFile> scratch;
    GSFile* file = nullptr;
};

// Opens the file for a copy (a file that is already open is used as it is).
short openForCopy(GSFile* file)
{
    if (!file)
        return 1;
    if (file->isOpened())
        return 0;
    if (short st = file->setAccessMode("wb+"))
        return st;
    return file->open();
}

} // namespace

short GSObject::copyContentWithFile(GSObject* target, int bufferSize, GSFile* given) const
{
    if (!target || &target->getRuntimeClass() != &getRuntimeClass())
        return 1;
    CopyFile holder(given, bufferSize);
    GSFile* file = holder.get();
    if (openForCopy(file) != 0)
        return 1;
    long start = file->tell();
    short status = file->startObjectMergingWrite(1);
    if (status == 0)
        status = write(file);
    if (file->stopObjectMergingWrite() != 0)
        status = 1;
    if (status != 0)
        return 1;
    if (file->seek(start, 0) != 0)
        return 1;
    status = file->startObjectMergingRead();
    if (status == 0) {
        status = target->read(file);
        if (file->stopObjectMergingRead() != 0)
            status = 1;
    }
    return status == 0 ? 0 : 1;
}

GSObject* GSObject::copyWithFile(int bufferSize, GSFile* given) const
{
    CopyFile holder(given, bufferSize);
    GSFile* file = holder.get();
    if (openForCopy(file) != 0)
        return nullptr;
    long start = file->tell();
    short status = file->startObjectMergingWrite(1);
    if (status == 0)
        status = file->writeObject(this);
    if (file->stopObjectMergingWrite() != 0)
        status = 1;
    if (status != 0 || file->seek(start, 0) != 0)
        return nullptr;
    if (file->startObjectMergingRead() != 0)
        return nullptr;
    GSObject* copy = nullptr;
    status = file->readObject(&copy);
    // The table releases what it read when it ends: keep the copy alive across that.
    if (copy)
        copy->retain();
    if (file->stopObjectMergingRead() != 0)
        status = 1;
    if (!copy)
        return nullptr;
    if (status != 0) {
        copy->release();
        return nullptr;
    }
    copy->releaseNoDelete();
    return copy;
}
