// GSLongArrayObject: an array of 32-bit integers as a dictionary value; record 1 holds an array block of ints.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSDynaArray.h"
#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSLongArrayObject : public GSValueObject<GSDynaArray<int>> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding an empty array, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSLongArrayObject;
};
