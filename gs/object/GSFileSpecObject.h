// GSFileSpecObject: a file specification as a dictionary value. Record 1 holds the file spec's path in
// GSString's file form; an empty path stands for no file (a default GSFileSpec). A path read back is
// made absolute against the current folder, as GSFileSpec(GSString const&) does with any path.
// Layout and reading rules: GSValueObject.h.
#pragma once

#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSRuntimeClass.h"
#include "gs/object/GSValueObject.h"

class GSFileSpecObject : public GSValueObject<GSFileSpec> {
public:
    using GSValueObject::GSValueObject;
    GSRuntimeClass const& getRuntimeClass() const override;
    // A new object holding no file, with the count 0; null when memory runs out.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSFileSpecObject;
};
