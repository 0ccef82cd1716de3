#pragma once

#include <array>
#include <cstdint>
#include <thread>

#include <benchmark/benchmark.h>

/// Room for the largest event.
using EventBuffer = std::array<std::uint8_t, 2048>;

/// Takes one whole event from a path, in as many parts as it comes in.
template <typename Path>
void TakeEvent(Path& aPath, EventBuffer& aBuffer, std::uint32_t aEventSize)
{
    std::uint32_t taken = 0;
    while (taken < aEventSize)
    {
        const std::uint32_t count = aPath.Take(aBuffer.data() + taken, aEventSize - taken);
        taken += count;
        if (count == 0)
        {
            std::this_thread::yield();
        }
    }
    benchmark::DoNotOptimize(aBuffer.data());
    benchmark::ClobberMemory();
}
