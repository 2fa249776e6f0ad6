// GSLog: the library's diagnostic line, for example "Couldn't create file: %s\n".
//
// Takes a printf-style format and its arguments and discards them: diagnostic logging is compiled
// out of this library on purpose, so nothing is ever printed and nothing is formatted. The format
// attribute still lets the compiler check every call's arguments against its format.
#pragma once

void GSLog(char const* format, ...) __attribute__((format(printf, 1, 2)));
