// GSMemPicData: the description of a stored picture (its byte count, picture type, variant and
// size), read either inline or as a serialised object in front of the picture bytes.
// GSSystemPicData derives from it, adds nothing and reads the same way; documents use either name.
//
// Inline form (thumbnail inner record 6), read by readData:
//   picture type   int16   2 JPEG, 3 PNG; 5 is read as 3
//   byte count     array count (int32, or compact in compact mode)
// Object form (thumbnail inner record 4), read by read: a tagged sequence, version major 1,
//   record 0       variant (int16), width (int32), height (int32), one ignored int32; no skip
//   record 3       the inline form; the sequence ends here and the file stays at the picture bytes
//   other records  skipped by size
// Both runtime classes are registered at start-up ("GSMemPicData" under GSObject, "GSSystemPicData"
// under "GSMemPicData").
#pragma once

#include "gs/object/GSObject.h"
#include "gs/util/GSTSize.h"

class GSRuntimeClass;

class GSMemPicData : public GSObject {
public:
    enum : short { kJPEG = 2, kPNG = 3, kPNGAlternative = 5 };

    GSMemPicData() = default;
    ~GSMemPicData() override;

    GSRuntimeClass const& getRuntimeClass() const override;
    // The object form. 0 when record 3 was read with a JPEG or PNG type (the file is then at the
    // picture bytes) or when the sequence ended without it; 1 on a read failure, an unreadable
    // header, an unusable type or a record that does not fit the file. The version's status when
    // it is refused.
    [[nodiscard]] short read(GSFile* file) override;
    // The inline form: picture type and byte count. 1 when a read fails or the count does not fit
    // 32 bits (nothing is stored), or when the type is not JPEG or PNG (type and count are stored
    // all the same).
    [[nodiscard]] short readData(GSFile* file);

    int getByteCount() const { return byteCount; }
    [[nodiscard]] short getPictureType() const { return pictureType; }
    [[nodiscard]] short getVariant() const { return variant; }
    GSTSize<int> const& getSize() const { return size; }

    // A new instance with the count 0.
    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSMemPicData;

private:
    int byteCount = 0;
    // -1 until readData has read a type.
    short pictureType = -1;
    short variant = 0;
    GSTSize<int> size;
};

class GSSystemPicData : public GSMemPicData {
public:
    GSRuntimeClass const& getRuntimeClass() const override;

    static GSObject* _createFunction();
    static GSRuntimeClass gsClassGSSystemPicData;
};
