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

    // Copies this object's content into `target`, which must be of exactly the same class:
    // copyContentWithFile(target, 4096, nullptr). 0 on success.
    [[nodiscard]] virtual short copyContentTo(GSObject* target) const;
    virtual GSRuntimeClass const& getRuntimeClass() const;
    // Fill the object from a file / write its content; the base reads and writes nothing (status 0).
    [[nodiscard]] virtual short read(GSFile* file);
    [[nodiscard]] virtual short write(GSFile* file) const;
    // The object that takes a read object's place (the base: the object itself).
    virtual GSObject* objectAfterRead();
    // The object written in this object's place (the base: the object itself).
    virtual GSObject const* objectToWrite(GSFile* file) const;
    virtual GSObject* getReservedObject() const { return nullptr; }

    // Kind: exactly this class. Member: this class or one of its ancestors.
    bool isKindOfRuntimeClass(GSRuntimeClass const& c) const;
    bool isMemberOfRuntimeClass(GSRuntimeClass const& c) const;

    // A new object of the same class (count 0) with this object's content, or null when the class
    // cannot create objects or copying failed.
    GSObject* copyObject() const;
    // Copies the content by writing this object through an object table and reading `target` back:
    // into `file` when given, else into a scratch memory file of `bufferSize` bytes. 1 when the
    // classes differ or any step fails.
    [[nodiscard]] short copyContentWithFile(GSObject* target, int bufferSize, GSFile* file) const;
    // A deep copy made the same way (writeObject / readObject), with the count 0; null on failure.
    GSObject* copyWithFile(int bufferSize, GSFile* file) const;

    static GSRuntimeClass gsClassGSObject;

private:
    mutable std::atomic<int> refCount{0};
};
