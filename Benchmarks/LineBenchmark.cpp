// How much of a long bulk write the line is busy: a line should never wait for the host. And how many bytes are lost on
// the way, which only a host that is late can bring about. The device is simulated, with the timing of a real line.

#include "OpenPort.h"

#include <KoSim/SimulatedDevice.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <tuple>
#include <vector>

namespace
{

constexpr std::uint32_t WRITE_SIZE = 64 * 1024;

double GetPercent(std::chrono::nanoseconds aPart, std::chrono::nanoseconds aWhole)
{
    return 100.0 * static_cast<double>(aPart.count()) / static_cast<double>(aWhole.count());
}

/// The repetition that lost most counts: a median would hide the one that lost any.
double GetMost(const std::vector<double>& aValues)
{
    return *std::max_element(aValues.begin(), aValues.end());
}

void MeasureOnce(benchmark::internal::Benchmark* aBenchmark)
{
    aBenchmark->Iterations(1)->UseRealTime()->ComputeStatistics("most", GetMost);
}

void WriteOnLine(benchmark::State& aState, KoSim::BulkLine aLine)
{
    KoSim::DeviceProfile profile;
    profile.mTiming = KoSim::LineTiming::Real;
    profile.mBulk0Line = aLine;
    KoSim::SimulatedDevice device(profile);
    OpenPort port(device, KoDeviceSerialBulk0);
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    for (auto _ : aState)
    {
        device.ResetLineStatistics(KoSim::Port::Bulk0);
        const auto start = std::chrono::steady_clock::now();
        std::uint32_t written = 0;
        // A write that times out shows as lost bytes.
        std::ignore = port->Write(data.data(), WRITE_SIZE, written);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const KoSim::LineStatistics line = device.GetLineStatistics(KoSim::Port::Bulk0);
        aState.counters["lost_bytes"] = static_cast<double>(WRITE_SIZE - written + line.mTxOverruns);
        aState.counters["busy_percent"] = GetPercent(line.mBusyTime, elapsed);
        aState.counters["underruns"] = static_cast<double>(line.mUnderruns);
    }
}

void Uart230400(benchmark::State& aState)
{
    WriteOnLine(aState, {KoSim::BulkInterface::Uart, 7, false, 124});
}
BENCHMARK(Uart230400)->Name("line/uart_230400")->Apply(MeasureOnce);

void Usrt1043750(benchmark::State& aState)
{
    WriteOnLine(aState, {KoSim::BulkInterface::Usrt, 3, false, 124});
}
BENCHMARK(Usrt1043750)->Name("line/usrt_1043750")->Apply(MeasureOnce);

} // namespace
