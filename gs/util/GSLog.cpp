#include "gs/util/GSLog.h"

void GSLog(char const*, ...) {}
