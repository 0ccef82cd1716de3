#include "AllocationCounter.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <mutex>
#include <new>

namespace
{

std::atomic<bool> sCounting{false};
std::mutex sMutex;
Allocations sAllocations;

constexpr std::size_t UNLIMITED = std::numeric_limits<std::size_t>::max();
std::atomic<std::size_t> sUntilFailure{UNLIMITED}; ///< how many allocations still succeed
std::atomic<std::size_t> sTooLarge{UNLIMITED};
std::atomic<bool> sHasFailed{false};
std::atomic<std::size_t> sLive{0};

bool MustFail(std::size_t aSize)
{
    const bool isDue = sUntilFailure != UNLIMITED && sUntilFailure-- == 0;
    if (isDue)
    {
        sUntilFailure = UNLIMITED;
    }
    return isDue || aSize >= sTooLarge;
}

void Count(void* aMemory, std::size_t aSize)
{
    if (sCounting)
    {
        const std::lock_guard<std::mutex> lock(sMutex);
        ++sAllocations.mCount;
        sAllocations.mLargest = std::max(sAllocations.mLargest, aSize);
        std::memset(aMemory, UNTOUCHED_MEMORY, aSize);
    }
}

/// The memory, or NULL when the allocation fails.
void* AllocateOrFail(std::size_t aSize)
{
    void* const memory = MustFail(aSize) ? nullptr : std::malloc(std::max<std::size_t>(aSize, 1));
    if (memory == nullptr)
    {
        sHasFailed = true;
        return nullptr;
    }
    Count(memory, aSize);
    ++sLive;
    return memory;
}

void* Allocate(std::size_t aSize)
{
    void* const memory = AllocateOrFail(aSize);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

void Free(void* aMemory)
{
    if (aMemory != nullptr)
    {
        --sLive;
        std::free(aMemory);
    }
}

} // namespace

void* operator new(std::size_t aSize)
{
    return Allocate(aSize);
}

void* operator new[](std::size_t aSize)
{
    return Allocate(aSize);
}

// Those of a sanitizer would not come here by themselves.
void* operator new(std::size_t aSize, const std::nothrow_t& /*aTag*/) noexcept
{
    return AllocateOrFail(aSize);
}

void* operator new[](std::size_t aSize, const std::nothrow_t& /*aTag*/) noexcept
{
    return AllocateOrFail(aSize);
}

void operator delete(void* aMemory) noexcept
{
    Free(aMemory);
}

void operator delete[](void* aMemory) noexcept
{
    Free(aMemory);
}

void operator delete(void* aMemory, std::size_t /*aSize*/) noexcept
{
    Free(aMemory);
}

void operator delete[](void* aMemory, std::size_t /*aSize*/) noexcept
{
    Free(aMemory);
}

void StartCountingAllocations()
{
    const std::lock_guard<std::mutex> lock(sMutex);
    sAllocations = {};
    sCounting = true;
}

Allocations StopCountingAllocations()
{
    const std::lock_guard<std::mutex> lock(sMutex);
    sCounting = false;
    return sAllocations;
}

void FailAllocation(std::size_t aNumber)
{
    sHasFailed = false;
    sUntilFailure = aNumber - 1;
}

void FailAllocationsFrom(std::size_t aSize)
{
    sHasFailed = false;
    sTooLarge = aSize;
}

bool StopFailingAllocations()
{
    sUntilFailure = UNLIMITED;
    sTooLarge = UNLIMITED;
    return sHasFailed;
}

std::size_t CountLiveAllocations()
{
    return sLive;
}
