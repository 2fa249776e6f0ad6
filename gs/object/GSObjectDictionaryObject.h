// GSObjectDictionaryObject: a dictionary held by value, as a value of another dictionary or as an
// object of its own in a file (GSObjectDictionary itself reports the class of GSObject and so cannot
// be named in a file). Record 1 holds the nested dictionary block (GSObjectDictionary.h).
//
// Nesting read from a file is bounded: each level is an object read through GSFile::readObject,
// which refuses to go deeper than GSFile::getMaxObjectDepth() (the limits' maxObjectDepth).
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSObjectDictionary.h"
#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSObjectDictionaryObject : public GSValueObject<GSObjectDictionary> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding an empty dictionary, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSObjectDictionaryObject;
};
