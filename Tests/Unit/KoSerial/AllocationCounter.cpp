#include "AllocationCounter.h"

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <mutex>
#include <new>

namespace
{

std::atomic<bool> sCounting{false};
std::mutex sMutex;
Allocations sAllocations;

void* Allocate(std::size_t aSize)
{
    if (sCounting)
    {
        const std::lock_guard<std::mutex> lock(sMutex);
        ++sAllocations.mCount;
        sAllocations.mLargest = std::max(sAllocations.mLargest, aSize);
    }
    if (void* const memory = std::malloc(std::max<std::size_t>(aSize, 1)))
    {
        return memory;
    }
    throw std::bad_alloc();
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

void operator delete(void* aMemory) noexcept
{
    std::free(aMemory);
}

void operator delete[](void* aMemory) noexcept
{
    std::free(aMemory);
}

void operator delete(void* aMemory, std::size_t /*aSize*/) noexcept
{
    std::free(aMemory);
}

void operator delete[](void* aMemory, std::size_t /*aSize*/) noexcept
{
    std::free(aMemory);
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
