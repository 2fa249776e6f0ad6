// GSFloatObject: a 32-bit float dictionary value; record 1 holds it as GSFile::writeFloat writes it.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSFloatObject : public GSValueObject<float> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding 0, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSFloatObject;
};
