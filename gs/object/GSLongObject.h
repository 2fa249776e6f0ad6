// GSLongObject: a signed 32-bit dictionary value; record 1 holds it as an int32.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSLongObject : public GSValueObject<int> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding 0, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSLongObject;
};
