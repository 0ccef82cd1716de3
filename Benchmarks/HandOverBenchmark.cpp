// A hand-over between two threads and back: the first wakes the second, which sleeps, and sleeps until the second has
// woken it. Both on one CPU, and each on its own.

#include "CpuPin.h"
#include "Samples.h"
#include "Signals.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace
{

/// The number of CPUs, and round trips per sample: one for its percentiles, several beside what takes them in a row.
void CpusAndTrips(benchmark::internal::Benchmark* aBenchmark)
{
    aBenchmark->ArgNames({"cpus", "trips"})->UseRealTime()->Args({1, 1});
    if (GetCpus().size() > 1)
    {
        aBenchmark->Args({2, 1});
    }
}

void CpusAndTripsInARow(benchmark::internal::Benchmark* aBenchmark)
{
    CpusAndTrips(aBenchmark);
    aBenchmark->Args({1, 16});
    if (GetCpus().size() > 1)
    {
        aBenchmark->Args({2, 16});
    }
}

template <typename Signal>
void RoundTrip(benchmark::State& aState)
{
    const std::int64_t trips = aState.range(1);
    const CpuPin pin(0);
    Signal there;
    Signal back;
    std::atomic<bool> stopping{false};
    std::thread partner(
        [&]
        {
            const CpuPin partnerPin(static_cast<std::size_t>(aState.range(0) - 1));
            for (there.Wait(); !stopping; there.Wait())
            {
                back.Send();
            }
        });
    Samples samples;
    for (auto _ : aState)
    {
        samples.Measure(
            [&]
            {
                for (std::int64_t i = 0; i < trips; ++i)
                {
                    there.Send();
                    back.Wait();
                }
            });
    }
    samples.Report(aState, trips);
    stopping = true;
    there.Send();
    partner.join();
}
BENCHMARK_TEMPLATE(RoundTrip, PortSignal)->Name("round_trip/port")->Apply(CpusAndTrips);
BENCHMARK_TEMPLATE(RoundTrip, FutexSignal)->Name("round_trip/futex")->Apply(CpusAndTripsInARow);
BENCHMARK_TEMPLATE(RoundTrip, ConditionSignal)->Name("round_trip/condition_variable")->Apply(CpusAndTrips);
BENCHMARK_TEMPLATE(RoundTrip, PipeSignal)->Name("round_trip/pipe")->Apply(CpusAndTrips);

} // namespace
