// GSLongDictionaryKey: a dictionary key made of a signed 32-bit number. Record 1 of its block holds
// it as an int32.
#pragma once

#include "gs/object/GSObjectDictionaryKey.h"

class GSLongDictionaryKey : public GSObjectDictionaryKey {
public:
    GSLongDictionaryKey() = default;
    explicit GSLongDictionaryKey(int number) : key(number) {}

    GSRuntimeClass const& getRuntimeClass() const override;
    [[nodiscard]] short read(GSFile* file) override;
    [[nodiscard]] short write(GSFile* file) const override;
    // Exactly this class on both sides and equal numbers.
    bool operator==(GSObjectDictionaryKey const& other) const override;

    // A new key holding 0, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSLongDictionaryKey;

    int key = 0;
};
