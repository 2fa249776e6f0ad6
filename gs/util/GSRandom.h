// The library's pseudo-random generator: a linear congruential generator with one process-wide
// 32-bit state, initially 4385737.
//
// GSRandom32 sets state = state * 1103515245 + 12345 (modulo 2^32) and returns state >> 1, a value
// in 0..2^31-1. The sequence is the same in every process: callers that need names unique across
// processes must create them exclusively (as temporary file names do). Concurrent callers may
// repeat or skip values; that is accepted, and is not a data race.
#pragma once

void GSRandomSetSeed(int seed);
int GSRandom32();
