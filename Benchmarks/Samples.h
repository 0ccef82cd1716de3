#pragma once

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <vector>

/// Times of single transfers, for the figures that a mean hides.
class Samples
{
public:
    Samples() { mTimes.reserve(LARGEST_COUNT); }

    /// Runs aTransfer and keeps how long it took.
    template <typename Transfer>
    void Measure(Transfer aTransfer)
    {
        const auto start = std::chrono::steady_clock::now();
        aTransfer();
        const auto elapsed = std::chrono::steady_clock::now() - start;
        if (mTimes.size() < LARGEST_COUNT)
        {
            mTimes.push_back(std::chrono::nanoseconds(elapsed).count());
        }
    }

    /// Sets the counters p50 and p99, in nanoseconds per part of a transfer that has aParts of them.
    void Report(benchmark::State& aState, std::int64_t aParts)
    {
        aState.counters["p50"] = GetPercentile(50) / static_cast<double>(aParts);
        aState.counters["p99"] = GetPercentile(99) / static_cast<double>(aParts);
    }

private:
    static constexpr std::size_t LARGEST_COUNT = 1 << 16;

    double GetPercentile(std::size_t aPercent)
    {
        const auto place = mTimes.begin() + static_cast<std::ptrdiff_t>(mTimes.size() * aPercent / 100);
        std::nth_element(mTimes.begin(), place, mTimes.end());
        return static_cast<double>(*place);
    }

    std::vector<std::int64_t> mTimes;
};
