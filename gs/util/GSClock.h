// The library's clock: milliseconds and nanoseconds since the first reading in this process.
//
// The first reading records the start and the platform's timebase (ticks to nanoseconds) once,
// safely under concurrent first calls. A timebase whose denominator exceeds 1024 is reduced to
// n/1024 first (GSReduceClockTimebase), so that ticks * numerator stays within 64 bits for long
// uptimes.
#pragma once

// Nanoseconds since the first call: (now - start) * numerator / denominator in unsigned 64-bit.
unsigned long GSGetTimeNanoSeconds();
// Milliseconds since the first clock reading: GSGetTimeNanoSeconds() / 1000000.
long GSGetTime();
// GSGetTime() - start.
long GSGetElapsedTime(long start);
// b - a.
long GSGetDifferenceTime(long a, long b);
// Sleeps for at least the given milliseconds (nothing for 0 or less).
void GSSleep(long milliseconds);

// When the denominator exceeds 1024: numerator = round(numerator / denominator * 1024) and
// denominator = 1024. Otherwise both stay.
void GSReduceClockTimebase(unsigned int* numerator, unsigned int* denominator);
