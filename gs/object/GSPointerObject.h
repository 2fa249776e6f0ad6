// GSPointerObject: an untyped pointer as a dictionary value; record 1 holds its 64 bits (GSFile::writePointer).
// A pointer means something only inside the process that wrote it.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSPointerObject : public GSValueObject<void*> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding null, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSPointerObject;
};
