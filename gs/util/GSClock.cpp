#include "gs/util/GSClock.h"

#include "gs/platform/GSPlatformSystem.h"

#include <cmath>
#include <limits>

namespace {

struct ClockBase {
    unsigned long start;
    unsigned int numerator;
    unsigned int denominator;
};

ClockBase const& clockBase()
{
    // A function-local static is initialised exactly once, also under concurrent first calls.
    static ClockBase const base = [] {
        ClockBase b{};
        GSPlatformGetTimebase(&b.numerator, &b.denominator);
        if (b.denominator == 0)
            b.numerator = b.denominator = 1;
        GSReduceClockTimebase(&b.numerator, &b.denominator);
        b.start = GSPlatformGetTicks();
        return b;
    }();
    return base;
}

} // namespace

void GSReduceClockTimebase(unsigned int* numerator, unsigned int* denominator)
{
    if (*denominator <= 1024)
        return;
    double scaled = static_cast<double>(*numerator) / static_cast<double>(*denominator) * 1024.0;
    *numerator = static_cast<unsigned int>(std::lround(scaled));
    *denominator = 1024;
}

unsigned long GSGetTimeNanoSeconds()
{
    ClockBase const& base = clockBase();
    unsigned long elapsed = GSPlatformGetTicks() - base.start;
    return elapsed * base.numerator / base.denominator;
}

long GSGetTime() { return static_cast<long>(GSGetTimeNanoSeconds() / 1000000UL); }
long GSGetElapsedTime(long start) { return GSGetTime() - start; }
long GSGetDifferenceTime(long a, long b) { return b - a; }

void GSSleep(long milliseconds)
{
    constexpr long kLongest = std::numeric_limits<long>::max() / 1000;
    if (milliseconds > 0)
        GSPlatformSleep((milliseconds < kLongest ? milliseconds : kLongest) * 1000);
}
