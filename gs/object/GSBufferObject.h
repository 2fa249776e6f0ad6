// GSBufferObject: a byte buffer as a dictionary value; record 1 holds an array block of bytes.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSDynaArray.h"
#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSBufferObject : public GSValueObject<GSDynaArray<unsigned char>> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding an empty buffer, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSBufferObject;
};
