// GSIdPointer: an owning reference to a platform object (a file URL, an icon, an enumerator).
// On Apple systems the object is a Foundation object, retained and released through the
// Objective-C runtime; on other systems it is a GSPlatformObject. Either way the platform layer
// retains, releases and compares it (gs/platform/GSPlatformObject.h).
//
// Ownership: attach() retains what it is given; assigning a raw pointer adopts the caller's
// reference without retaining it (the way results of create functions are taken over); copying
// another GSIdPointer retains; destruction and replacement release the old reference.
#pragma once

class GSIdPointer {
public:
    GSIdPointer() noexcept = default;
    // Shares the other's object (retained).
    GSIdPointer(GSIdPointer const& other) noexcept;
    GSIdPointer(GSIdPointer&& other) noexcept : object(other.object) { other.object = nullptr; }
    ~GSIdPointer();

    // Retains p and releases the old object, unless p is the object held already.
    void attach(void* p) noexcept;
    // Adopts p (no retain) and releases the old object, unless p is the object held already.
    GSIdPointer& operator=(void* p) noexcept;
    // Shares the other's object (retained) and releases the old one, unless they are the same.
    GSIdPointer& operator=(GSIdPointer const& other) noexcept;
    GSIdPointer& operator=(GSIdPointer&& other) noexcept;

    // One extra retain of the held object (none when null); the caller balances it.
    void retain() const noexcept;
    // The platform's equality of the two objects; false when either is null.
    bool isEqual(GSIdPointer const& other) const noexcept;

    void* get() const noexcept { return object; }
    bool isNull() const noexcept { return object == nullptr; }

private:
    void* object = nullptr;
};
