// GSCFTypeRef<T>: owns one Core Foundation reference (a CGImageRef, a CFUUIDRef, ...) and releases
// it with CFRelease when it is replaced or destroyed, so that every reference a request creates is
// given back on every way out of the request, an exception's included.
#pragma once

#include <CoreFoundation/CoreFoundation.h>

#include <utility>

template <class T>
class GSCFTypeRef {
public:
    GSCFTypeRef() = default;
    // Takes over `ref` (a reference the caller owns, as Create and Copy functions return; may be null).
    explicit GSCFTypeRef(T ref) : value(ref) {}
    GSCFTypeRef(GSCFTypeRef&& other) noexcept : value(std::exchange(other.value, nullptr)) {}
    GSCFTypeRef& operator=(GSCFTypeRef&& other) noexcept
    {
        if (this != &other)
            set(std::exchange(other.value, nullptr));
        return *this;
    }
    GSCFTypeRef(GSCFTypeRef const&) = delete;
    GSCFTypeRef& operator=(GSCFTypeRef const&) = delete;
    ~GSCFTypeRef() { set(nullptr); }

    // Takes over `ref` and releases the reference held so far, if any. The old reference is
    // released even when it is the same object: the holder owned one reference and now owns the
    // new one.
    void set(T ref)
    {
        T old = value;
        value = ref;
        if (old)
            CFRelease(old);
    }
    T get() const { return value; }
    explicit operator bool() const { return value != nullptr; }

private:
    T value = nullptr;
};
