// Process-wide system queries and switches.
//
// The settings here are process-wide 32-bit integers: the assertion switch (initially 1), the
// processor count (initially -1: not yet asked) and the operating-system version (initially 0: not
// yet asked). They are read and written without locks; writes are rare and idempotent.
#pragma once

// The cached processor count; on first use (or after a negative override) the number of processors
// this process may run on, from the platform, which is then cached.
int GSGetProcessorCount();
// Overrides the cached count (a negative value makes the next query ask the platform again).
void GSSetProcessorCount(int count);

// Vector instructions of the SSE / SSE3 level: always present on the supported processors.
int GSHasSSE();
int GSHasSSE3();
// 0: the library never runs under a Windows emulation layer.
int GSRunsOnWINE();

// major << 16 | minor << 8 | patch.
constexpr int GSBuildOSVersion(int major, int minor, int patch) { return major << 16 | minor << 8 | patch; }
// The running system's version in the GSBuildOSVersion form, asked once and cached.
int GSGetOSVersion();

int GSGetProcessID();

int GSGetShowASSERT();
void GSSetShowASSERT(int show);
