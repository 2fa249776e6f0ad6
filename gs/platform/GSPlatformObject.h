// Platform objects: what GSIdPointer (gs/object/GSIdPointer.h) holds. On POSIX systems a platform
// object is a GSPlatformObject below (a file URL, GSPlatformURL.h); on Apple systems it is a
// Foundation object and the three functions go to the Objective-C runtime.
//
// Functions whose names contain create return a new reference (retain count 1) that the caller
// releases, or adopts into a GSIdPointer by assignment.
#pragma once

#include <atomic>

// One more reference to `object`; null is ignored.
void GSPlatformRetain(void* object) noexcept;
// One reference less; the object is destroyed with its last reference. Null is ignored.
void GSPlatformRelease(void* object) noexcept;
// The platform's equality of two objects (for URLs: the same item); neither may be null.
bool GSPlatformIsEqual(void* a, void* b) noexcept;

// The POSIX base: a retain count that starts at 1 for its creator. Destruction only through
// release(), so the destructor is not public.
class GSPlatformObject {
public:
    GSPlatformObject(GSPlatformObject const&) = delete;
    GSPlatformObject& operator=(GSPlatformObject const&) = delete;

    void retain() const noexcept { retainCount.fetch_add(1, std::memory_order_relaxed); }
    // Deletes the object when the count falls from 1 to 0.
    void release() const noexcept;
    int getRetainCount() const noexcept { return retainCount.load(std::memory_order_acquire); }
    // Identity unless a subclass knows better.
    virtual bool isEqual(GSPlatformObject const& other) const noexcept { return this == &other; }

protected:
    GSPlatformObject() noexcept = default;
    virtual ~GSPlatformObject();

private:
    mutable std::atomic<int> retainCount{1};
};
