// How much of a long bulk write the line is busy: a line should never wait for the host. The device is simulated, with
// the timing of a real line.

#include <KoDeviceSerialPort.h>
#include <KoSim/SimulatedDevice.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <vector>

namespace
{

constexpr std::uint32_t WRITE_SIZE = 256 * 1024;

double GetPercent(std::chrono::nanoseconds aPart, std::chrono::nanoseconds aWhole)
{
    return 100.0 * static_cast<double>(aPart.count()) / static_cast<double>(aWhole.count());
}

void BM_LineBusyDuringBulkWrite(benchmark::State& aState, KoSim::BulkLine aLine)
{
    KoSim::DeviceProfile profile;
    profile.mTiming = KoSim::LineTiming::Real;
    profile.mBulk0Line = aLine;
    KoSim::SimulatedDevice device(profile);
    KoDeviceSerialPort port;
    if (!port.Open(&device, KoDeviceSerialBulk0).IsOK())
    {
        aState.SkipWithError("cannot open the port");
        return;
    }
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    for (auto _ : aState)
    {
        device.ResetLineStatistics(KoSim::Port::Bulk0);
        std::uint32_t written = 0;
        const auto start = std::chrono::steady_clock::now();
        const KoResult result = port.Write(data.data(), WRITE_SIZE, written);
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const KoSim::LineStatistics line = device.GetLineStatistics(KoSim::Port::Bulk0);
        if (!result.IsOK() || line.mTxOverruns != 0)
        {
            aState.SkipWithError("bytes were lost");
            break;
        }
        aState.counters["busy_percent"] = GetPercent(line.mBusyTime, elapsed);
        aState.counters["ideal_percent"] = 100;
        aState.counters["underruns"] = static_cast<double>(line.mUnderruns);
    }
    port.Close();
}
BENCHMARK_CAPTURE(BM_LineBusyDuringBulkWrite, Uart230400, KoSim::BulkLine{KoSim::BulkInterface::Uart, 7, false, 124})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);
BENCHMARK_CAPTURE(BM_LineBusyDuringBulkWrite, Usrt1043750, KoSim::BulkLine{KoSim::BulkInterface::Usrt, 3, false, 124})
    ->Iterations(1)
    ->Unit(benchmark::kSecond);

} // namespace
