// The format of a document's stored picture, decided once, by the thumbnail walk, from the stored
// type: 2 is JPEG, 3 is PNG and so is 5 (an older writer's value). Every front end and decoder
// takes it from the walk's result (GSThumbnailResult::format); nothing else maps stored types.
#pragma once

enum class GSPictureFormat : short { none = 0, jpeg = 2, png = 3 };

// "jpeg", "png" or "none".
char const* GSPictureFormatName(GSPictureFormat format);
// The file extension of a picture of that format: ".jpg", ".png" ("" for none).
char const* GSPictureFormatExtension(GSPictureFormat format);
