// GSObjectDictionaryKey: the base of the keys of GSObjectDictionary (GSStringDictionaryKey,
// GSLongDictionaryKey). Registered as "GSObjectDictionaryKey" without a create function, so a file
// cannot make one of its own. Keys are written as objects: the class name, then a value block
// whose record 1 holds the key's field (GSValueObject.h).
#pragma once

#include "gs/object/GSObject.h"
#include "gs/object/GSRuntimeClass.h"

class GSObjectDictionaryKey : public GSObject {
public:
    GSRuntimeClass const& getRuntimeClass() const override;
    // True when `other` names the same entry: the same runtime class (exactly) and an equal field.
    // Keys of two different derived types compare through GSObjectDictionaryKey references (with
    // C++20's reversed operators the two overrides would be equally good).
    virtual bool operator==(GSObjectDictionaryKey const& other) const = 0;

    static GSRuntimeClass gsClassGSObjectDictionaryKey;
};
