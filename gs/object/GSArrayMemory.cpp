#include "gs/object/GSArrayMemory.h"

#include <atomic>
#include <cstdlib>

namespace {

std::atomic<GSArrayAllocationHook> allocationHook{nullptr};

bool allowed(size_t bytes) noexcept
{
    GSArrayAllocationHook hook = allocationHook.load(std::memory_order_acquire);
    return !hook || hook(bytes);
}

} // namespace

GSArrayAllocationHook GSSetArrayAllocationHook(GSArrayAllocationHook hook) noexcept
{
    return allocationHook.exchange(hook, std::memory_order_acq_rel);
}

void* GSArrayAllocate(size_t bytes) noexcept
{
    if (bytes == 0 || !allowed(bytes))
        return nullptr;
    return std::malloc(bytes);
}

void* GSArrayReallocate(void* block, size_t bytes) noexcept
{
    if (bytes == 0 || !allowed(bytes))
        return nullptr;
    return std::realloc(block, bytes);
}

void GSArrayFree(void* block) noexcept
{
    std::free(block);
}
