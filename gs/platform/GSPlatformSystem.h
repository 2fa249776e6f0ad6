// The operating system's clock, processors, version and process identity, as the system helpers
// of gs/util/ need them. Declarations only: one implementation per platform family.
#pragma once

struct tm;

// A monotonic tick counter that never goes back and keeps counting while the machine runs.
// Nanoseconds = ticks * numerator / denominator, with the timebase from GSPlatformGetTimebase.
unsigned long GSPlatformGetTicks();
void GSPlatformGetTimebase(unsigned int* numerator, unsigned int* denominator);

// Suspends the calling thread for at least `microseconds` (nothing for 0 or less), resuming the
// wait when a signal interrupts it.
void GSPlatformSleep(long microseconds);

// The number of processors this process may run on (its CPU affinity where the system has one,
// else the processors online); at least 1.
int GSPlatformGetProcessorCount();

// The running system's version: major << 16 | minor << 8 | patch, each of minor and patch limited
// to 255; 0 when the version cannot be found. On Linux it is the kernel's release number.
unsigned int GSNSGetOSVersion();
// The version number of a release text such as "6.1.0-18-amd64": up to three decimal numbers
// separated by "." before anything else, combined as above; 0 without a major number or for one
// above 65535.
unsigned int GSPlatformParseOSRelease(char const* release);

// The calling process's identifier.
int GSPlatformGetProcessID();

// Breaks a calendar time value (seconds since 1970-01-01 00:00 GMT) down into *out, as GMT when
// useGMT is non-zero, else as local time: the C library's gmtime and localtime, in their
// thread-safe forms. False (and *out unspecified) when the value cannot be broken down.
bool GSPlatformBreakDownTime(long seconds, int useGMT, tm* out);
