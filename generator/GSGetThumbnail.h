// Reading the picture that the editor stores in a document when it saves it.
//
// Document layout, as far as the thumbnail reader goes:
//   "Quillmoor Document" 0      (a selection file: "Quillmoor Selection" 0; never has a picture)
//   version                     classic record version, major number 3 at most (770 = 0x0302)
//   object table header         only from version 768 (0x0300) on
//   top-level records           up to the end tag; compact framing once a newer-kind table is on
// Top-level tags: 11 object table, 13 thumbnail, 14 IEEE floats, 15 IEEE doubles; others skipped.
// Thumbnail record: a nested sequence (version major 1) with inner records
//   0  variant (int16), width (int32), height (int32), one ignored int32
//   4  a serialised GSMemPicData / GSSystemPicData; the picture bytes follow its data
//   6  picture type (int16), byte count (array count), then the picture bytes
// Picture types: 2 JPEG, 3 PNG (5 is read as 3).
#pragma once

#include "gs/filespec/GSFileSpec.h"
#include "gs/object/GSDynaArray.h"
#include "gs/util/GSTSize.h"

class GSFile;
class GSTagRead;

// Checks the document ID and version at the current position. 0 on success; on failure the file
// is back where the call started. *isSelection is set also when the version check fails.
[[nodiscard]] short QuillmoorDataReadHeader(GSFile* file, short* version, short* mergingStarted, short* isSelection);

// Reads and checks the document version through a reader positioned at it; from version 768 on
// switches to IEEE floats and, when mergingStarted is given, starts the object-merging read.
[[nodiscard]] short QuillmoorDataReadVersion(GSTagRead* reader, short* version, short* mergingStarted);

// Fills `bytes` with the stored picture of the document named by `spec`. The result is the status
// of opening the file: 0 whenever it opened, whether or not a picture was found. A picture was
// found when `bytes` is non-empty; the other outputs are written only when their records are read.
// Throws bad_file for a document with two object-table records.
[[nodiscard]] short GSGetThumbnail(GSFileSpec const& spec, GSDynaArray<unsigned char>* bytes, short* pictureType,
                     short* variant, GSTSize<int>* size);
