#pragma once

#include <cstddef>

/// What was allocated with operator new, by any thread of the test program, while the count ran.
struct Allocations
{
    std::size_t mCount = 0;
    std::size_t mLargest = 0; ///< bytes
};

/// Starts the count anew.
void StartCountingAllocations();

Allocations StopCountingAllocations();
