// The system's error texts for the POSIX platform files.
#pragma once

#include <cstring>
#include <string>

namespace gsposix {

// strerror_r comes in a GNU form (returns the text) and an XSI form (fills the buffer).
[[maybe_unused]] inline char const* pickErrorText(int result, char const* buffer)
{
    return result == 0 ? buffer : "Unknown error";
}
[[maybe_unused]] inline char const* pickErrorText(char const* result, char const*) { return result; }

// The description of errno value `err`.
inline std::string errorText(int err)
{
    char buffer[256] = {};
    return pickErrorText(strerror_r(err, buffer, sizeof buffer), buffer);
}

// Stores the description of `err` in *error when error is given; returns 1, the failure status.
inline short fail(int err, std::string* error)
{
    if (error)
        *error = errorText(err);
    return 1;
}

} // namespace gsposix
