// The frame path: from Write() on a bulk port in features until the device layer has each frame, beside a memcpy of the
// same frames.

#include "EmptyAdapter.h"
#include "SecondThread.h"

#include <KoDeviceSerialPort.h>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{

constexpr std::uint32_t WRITE_SIZE = 64 * 1024;
constexpr std::int64_t HEADER_SIZE = 8;

/// The least device on which a bulk port in features opens.
class FeatureDevice : public EmptyAdapter
{
public:
    explicit FeatureDevice(std::int64_t aRegisterLength) : mRegisterLength(aRegisterLength) {}

    bool IsGenIntegerPresent(const KoString&) override { return true; }
    bool IsGenEnumPresent(const KoString&) override { return true; }
    bool IsGenRegisterPresent(const KoString&) override { return true; }
    KoResult SetGenEnumValue(const KoString&, const KoString&) override { return Ok(); }
    KoResult GetGenRegisterLength(const KoString&, std::int64_t& aLength) override
    {
        aLength = mRegisterLength;
        return Ok();
    }
    KoResult SetGenRegisterData(const KoString&, const std::uint8_t* aData, std::int64_t) override
    {
        benchmark::DoNotOptimize(aData);
        ++mFrames;
        return Ok();
    }

    const std::int64_t mRegisterLength;
    std::int64_t mFrames = 0;
};

void Report(benchmark::State& aState, std::int64_t aFrames)
{
    aState.SetBytesProcessed(aState.iterations() * WRITE_SIZE);
    aState.counters["frames"] = benchmark::Counter(static_cast<double>(aFrames), benchmark::Counter::kIsRate);
}

void BM_WriteFrames(benchmark::State& aState)
{
    StartASecondThread();
    FeatureDevice device(aState.range(0));
    KoDeviceSerialPort port;
    if (!port.Open(&device, KoDeviceSerialBulk1).IsOK())
    {
        aState.SkipWithError("cannot open the port");
        return;
    }
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    for (auto _ : aState)
    {
        std::uint32_t written = 0;
        port.Write(data.data(), WRITE_SIZE, written);
        if (written != WRITE_SIZE)
        {
            aState.SkipWithError("bytes are missing");
            break;
        }
    }
    Report(aState, device.mFrames);
    port.Close();
}
BENCHMARK(BM_WriteFrames)->Arg(64)->Arg(512)->Arg(1024)->Arg(16384);

void BM_MemcpyFrames(benchmark::State& aState)
{
    const auto payload = static_cast<std::size_t>(aState.range(0) - HEADER_SIZE);
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    std::vector<std::uint8_t> frame(payload);
    std::int64_t frames = 0;
    for (auto _ : aState)
    {
        for (std::size_t done = 0; done < data.size(); done += payload)
        {
            std::memcpy(frame.data(), &data[done], std::min(payload, data.size() - done));
            benchmark::DoNotOptimize(frame.data());
            benchmark::ClobberMemory();
            ++frames;
        }
    }
    Report(aState, frames);
}
BENCHMARK(BM_MemcpyFrames)->Arg(64)->Arg(512)->Arg(1024)->Arg(16384);

} // namespace
