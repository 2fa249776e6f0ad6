#include "gs/file/GSFile.h"

// Compact mode needs an object table of the newer kind; no table, no compact mode.
short GSFile::getUse64Bit() const
{
    return 0;
}
