#include "gs/platform/GSPlatformSystem.h"

#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <sched.h>
#include <sys/utsname.h>
#include <unistd.h>

unsigned long GSPlatformGetTicks()
{
    timespec now{};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<unsigned long>(now.tv_sec) * 1000000000UL + static_cast<unsigned long>(now.tv_nsec);
}

void GSPlatformGetTimebase(unsigned int* numerator, unsigned int* denominator)
{
    // CLOCK_MONOTONIC counts nanoseconds already.
    *numerator = 1;
    *denominator = 1;
}

void GSPlatformSleep(long microseconds)
{
    if (microseconds <= 0)
        return;
    timespec remaining{microseconds / 1000000, (microseconds % 1000000) * 1000};
    while (nanosleep(&remaining, &remaining) != 0 && errno == EINTR) {
    }
}

int GSPlatformGetProcessorCount()
{
#ifdef __linux__
    cpu_set_t set;
    CPU_ZERO(&set);
    if (sched_getaffinity(0, sizeof set, &set) == 0) {
        int n = CPU_COUNT(&set);
        if (n > 0)
            return n;
    }
#endif
    long online = sysconf(_SC_NPROCESSORS_ONLN);
    return online > 0 ? static_cast<int>(online) : 1;
}

unsigned int GSNSGetOSVersion()
{
    utsname name{};
    if (uname(&name) != 0)
        return 0;
    return GSPlatformParseOSRelease(name.release);
}

unsigned int GSPlatformParseOSRelease(char const* release)
{
    // A release reads "6.1.0-18-amd64" or "22.6.0": up to three numbers before anything else.
    unsigned long parts[3] = {0, 0, 0};
    char const* p = release;
    for (int i = 0; i < 3; ++i) {
        if (*p < '0' || *p > '9')
            break;
        char* end = nullptr;
        parts[i] = std::strtoul(p, &end, 10);
        p = end;
        if (*p != '.')
            break;
        ++p;
    }
    if (parts[0] == 0 || parts[0] > 0xFFFF)
        return 0;
    unsigned long minor = parts[1] > 255 ? 255 : parts[1];
    unsigned long patch = parts[2] > 255 ? 255 : parts[2];
    return static_cast<unsigned int>(parts[0] << 16 | minor << 8 | patch);
}

int GSPlatformGetProcessID() { return static_cast<int>(getpid()); }

bool GSPlatformBreakDownTime(long seconds, int useGMT, tm* out)
{
    time_t const t = static_cast<time_t>(seconds);
    if (static_cast<long>(t) != seconds)
        return false;
    return (useGMT ? gmtime_r(&t, out) : localtime_r(&t, out)) != nullptr;
}
