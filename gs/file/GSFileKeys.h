// The settings keys of files and file specifications: the dictionary keys (GSObjectDictionary) under
// which a save is configured. Callers and the file share one spelling through these constants; the
// text of each is given beside it.
//
//   GSFileSafetyModeKey     "GSFileSafetyMode"      long: the safety mode that GSFile::setFileSpec
//                           takes from the file spec's options (bit 0 write through a temporary file and
//                           exchange it at close, bit 1 keep the old content as a backup)
//   GSFileFormatVersionKey  "GSFileVersion"         long: the file format version (setFileSpec)
//   GSFileDataKey           "GSFileData"            byte buffer: the file's content in memory; a file spec
//                           that holds one is opened over these bytes, not the disk
//   GSFileDataNameKey       "GSFileDataName"        string: the display name of such a file
//   GSFileDataIDKey         "GSFileDataID"          string: the identity of the data (memory saves)
//   GSFileSaveToMemoryKey   "GSFileSaveToMemory"    long: save into a buffer instead of the disk
//   GSFileBaseFileSpecKey   "GSFileBaseFileSpec"    file spec: the file that a memory file stands for
//   GSFileSaveAsTemplateKey "GSFileSaveAsTemplate"  long: carried for whoever configures saves
//   GSFileCopyKey           "GSFileCopy"            long: carried for whoever configures saves
#pragma once

#include "gs/text/GSString.h"

extern GSString const GSFileSafetyModeKey;
extern GSString const GSFileFormatVersionKey;
extern GSString const GSFileDataKey;
extern GSString const GSFileDataNameKey;
extern GSString const GSFileDataIDKey;
extern GSString const GSFileSaveToMemoryKey;
extern GSString const GSFileBaseFileSpecKey;
extern GSString const GSFileSaveAsTemplateKey;
extern GSString const GSFileCopyKey;
