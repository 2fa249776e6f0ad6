#include "gs/util/GSRandom.h"

#include <atomic>

namespace {

std::atomic<unsigned int> state{4385737u};

} // namespace

void GSRandomSetSeed(int seed) { state.store(static_cast<unsigned int>(seed), std::memory_order_relaxed); }

int GSRandom32()
{
    unsigned int next = state.load(std::memory_order_relaxed) * 1103515245u + 12345u;
    state.store(next, std::memory_order_relaxed);
    return static_cast<int>(next >> 1);
}
