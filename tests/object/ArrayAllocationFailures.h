// Test helper: makes array allocations fail while an object of this class lives. The first
// `allowed` allocations go ahead, every later one fails.
#pragma once

#include "gs/object/GSArrayMemory.h"

#include <atomic>

class ArrayAllocationFailures {
public:
    explicit ArrayAllocationFailures(long allowed = 0)
    {
        remaining().store(allowed);
        attempts().store(0);
        previous = GSSetArrayAllocationHook(&decide);
    }
    ~ArrayAllocationFailures() { GSSetArrayAllocationHook(previous); }
    ArrayAllocationFailures(ArrayAllocationFailures const&) = delete;
    ArrayAllocationFailures& operator=(ArrayAllocationFailures const&) = delete;

    // Allocations asked for since construction (allowed or not).
    static long attemptCount() { return attempts().load(); }

private:
    static std::atomic<long>& remaining()
    {
        static std::atomic<long> value{0};
        return value;
    }
    static std::atomic<long>& attempts()
    {
        static std::atomic<long> value{0};
        return value;
    }
    static bool decide(size_t)
    {
        attempts().fetch_add(1);
        return remaining().fetch_sub(1) > 0;
    }

    GSArrayAllocationHook previous;
};
