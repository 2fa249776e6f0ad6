#include "generator/GSMemPicData.h"

#include "gs/file/GSFile.h"
#include "gs/file/GSTagRead.h"
#include "gs/object/GSRuntimeClass.h"

#include <climits>
#include <new>

GSRuntimeClass GSMemPicData::gsClassGSMemPicData(GSString("GSMemPicData"), &GSObject::gsClassGSObject,
                                                 &GSMemPicData::_createFunction);
GSRuntimeClass GSSystemPicData::gsClassGSSystemPicData(GSString("GSSystemPicData"),
                                                       &GSMemPicData::gsClassGSMemPicData,
                                                       &GSSystemPicData::_createFunction);

GSMemPicData::~GSMemPicData() = default;

GSRuntimeClass const& GSMemPicData::getRuntimeClass() const { return gsClassGSMemPicData; }
GSRuntimeClass const& GSSystemPicData::getRuntimeClass() const { return gsClassGSSystemPicData; }

GSObject* GSMemPicData::_createFunction() { return new (std::nothrow) GSMemPicData; }
GSObject* GSSystemPicData::_createFunction() { return new (std::nothrow) GSSystemPicData; }

short GSMemPicData::readData(GSFile* file)
{
    short type = 0;
    long count = 0;
    if (file->readShort(&type) || file->readArrayCount(&count))
        return 1;
    // The field is 32 bits wide; a compact count beyond it cannot describe a stored picture.
    if (count < INT_MIN || count > INT_MAX)
        return 1;
    if (type == kPNGAlternative)
        type = kPNG;
    pictureType = type;
    byteCount = static_cast<int>(count);
    return (type & 0xFFFE) == 2 ? 0 : 1;
}

short GSMemPicData::read(GSFile* file)
{
    GSTagRead reader(file);
    short version = 0;
    if (short status = reader.readVersion(256, &version))
        return status;
    for (;;) {
        int tag = reader.read();
        if (tag == GSTagRead::kEndTag)
            return 0;
        if (tag == GSTagRead::kReadFailure)
            return 1;
        if (tag == 3)
            return readData(file);
        if (tag == 0) {
            short v = 0;
            int w = 0, h = 0, ignored = 0;
            if (file->readShort(&v) || file->readLong(&w) || file->readLong(&h) || file->readLong(&ignored))
                return 1;
            variant = v;
            size.width = w;
            size.height = h;
            continue;
        }
        if (reader.skip())
            return 1;
    }
}
