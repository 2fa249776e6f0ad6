#include "generator/GSStoredPicture.h"

#include "generator/GSGetThumbnail.h"

GSDynaArray<unsigned char> GSMakePictureBuffer()
{
    return GSDynaArray<unsigned char>(8, -100);
}

short GSReadStoredPicture(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes, GSStoredPicture* picture)
{
    *picture = GSStoredPicture();
    short status = GSGetThumbnail(spec, bytes, &picture->pictureType, &picture->variant, &picture->size);
    // Only types 2 and 3 make a picture: the test on the type with its lowest bit cleared.
    if (status == 0 && !bytes->isEmpty() && (picture->pictureType & 0xFFFE) == 2)
        picture->kind = picture->pictureType == 3 ? GSStoredPictureKind::png : GSStoredPictureKind::jpeg;
    return status;
}
