// GSObject: the reference-counted base of every shared and serialisable object.
//
// A new object has the count 0: its creator owns it without retaining it. retain() adds one,
// release() subtracts one and deletes the object when the count falls from 1 to 0. Counts are
// atomic so that objects may be shared between threads; everything else about an object is used by
// one thread at a time.
#pragma once

#include <atomic>

class GSFile;
class GSRuntimeClass;

class GSObject {
public:
    GSObject() noexcept = default;
    // A copy is a new object: it starts unowned, whatever the count of its source.
    GSObject(GSObject const&) noexcept {}
    GSObject& operator=(GSObject const&) noexcept { return *this; }
    virtual ~GSObject();

    void retain() const noexcept { refCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object when the count falls from 1 to 0.
    void release() const noexcept;
    // Never deletes, whatever the count becomes.
    void releaseNoDelete() const noexcept;
    void autorelease() const noexcept {}
    static void deleteAutoreleasedObjects() noexcept {}
    int getRefCount() const noexcept { return refCount.load(std::memory_order_acquire); }

    // Releases the slot's old object and retains the new one; assigning the same object does nothing.
    static void assignObject(GSObject** slot, GSObject* value) noexcept;
    static void retainArray(long count, GSObject* const* objects) noexcept;
    static void releaseArray(long count, GSObject* const* objects) noexcept;

    virtual short copyContentTo(GSObject* target) const;
    virtual GSRuntimeClass const& getRuntimeClass() const;
    // Fill the object from a file / write its content; the base reads and writes nothing (status 0).
    virtual short read(GSFile* file);
    virtual short write(GSFile* file) const;
    // The object that takes a read object's place (the base: the object itself).
    virtual GSObject* objectAfterRead();
    // The object written in this object's place (the base: the object itself).
    virtual GSObject const* objectToWrite(GSFile* file) const;
    virtual GSObject* getReservedObject() const { return nullptr; }

    // Kind: exactly this class. Member: this class or one of its ancestors.
    bool isKindOfRuntimeClass(GSRuntimeClass const& c) const;
    bool isMemberOfRuntimeClass(GSRuntimeClass const& c) const;

    static GSRuntimeClass gsClassGSObject;

private:
    mutable std::atomic<int> refCount{0};
};
