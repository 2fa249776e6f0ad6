#include "gs/util/GSSystem.h"

#include "gs/platform/GSPlatformSystem.h"

#include <atomic>

namespace {

// Relaxed atomics: plain integers as far as cost goes, but concurrent first queries are not a
// data race.
std::atomic<int> processorCount{-1};
std::atomic<int> osVersion{0};
std::atomic<int> showAssert{1};

} // namespace

int GSGetProcessorCount()
{
    int n = processorCount.load(std::memory_order_relaxed);
    if (n >= 0)
        return n;
    n = GSPlatformGetProcessorCount();
    processorCount.store(n, std::memory_order_relaxed);
    return n;
}

void GSSetProcessorCount(int count) { processorCount.store(count, std::memory_order_relaxed); }

int GSHasSSE() { return 1; }
int GSHasSSE3() { return 1; }
int GSRunsOnWINE() { return 0; }

int GSGetOSVersion()
{
    int v = osVersion.load(std::memory_order_relaxed);
    if (v == 0) {
        v = static_cast<int>(GSNSGetOSVersion());
        osVersion.store(v, std::memory_order_relaxed);
    }
    return v;
}

int GSGetProcessID() { return GSPlatformGetProcessID(); }

int GSGetShowASSERT() { return showAssert.load(std::memory_order_relaxed); }
void GSSetShowASSERT(int show) { showAssert.store(show, std::memory_order_relaxed); }
