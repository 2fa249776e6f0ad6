// GSStringObject: a text as a dictionary value; record 1 holds it in GSString's file form.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"
#include "gs/text/GSString.h"

class GSStringObject : public GSValueObject<GSString> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding an empty text, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSStringObject;
};
