#include "gs/file/GSFileKeys.h"

GSString const GSFileSafetyModeKey("GSFileSafetyMode");
GSString const GSFileFormatVersionKey("GSFileVersion");
GSString const GSFileDataKey("GSFileData");
GSString const GSFileDataNameKey("GSFileDataName");
GSString const GSFileDataIDKey("GSFileDataID");
GSString const GSFileSaveToMemoryKey("GSFileSaveToMemory");
GSString const GSFileBaseFileSpecKey("GSFileBaseFileSpec");
GSString const GSFileSaveAsTemplateKey("GSFileSaveAsTemplate");
GSString const GSFileCopyKey("GSFileCopy");
