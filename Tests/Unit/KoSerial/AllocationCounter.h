#pragma once

#include <cstddef>

/// What was allocated with operator new, by any thread of the test program, while the count ran.
struct Allocations
{
    std::size_t mCount = 0;
    std::size_t mLargest = 0; ///< bytes
};

/// Starts the count anew. Until it stops, what is allocated is filled with UNTOUCHED_MEMORY.
void StartCountingAllocations();

Allocations StopCountingAllocations();

constexpr unsigned char UNTOUCHED_MEMORY = 0xA5;

/// Makes the aNumber-th allocation from now on fail, once; 1 is the next one.
void FailAllocation(std::size_t aNumber);

/// Makes every allocation of at least aSize bytes fail.
void FailAllocationsFrom(std::size_t aSize);

/// Lets all allocations succeed again. True when one has failed.
bool StopFailingAllocations();

/// How many allocations have not been freed yet.
std::size_t CountLiveAllocations();
