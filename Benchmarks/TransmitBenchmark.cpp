// Write on the bulk ports, until the device layer has every chunk or frame, beside the least that could be done: a call
// for each chunk, which is not copied, and a memcpy of each frame. And what the transfers take from the heap.

#include "AllocationCounter.h"
#include "Devices.h"
#include "OpenPort.h"
#include "ReceivePaths.h"
#include "SecondThread.h"
#include "Transfer.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{

constexpr std::uint32_t WRITE_SIZE = 64 * 1024;
constexpr std::uint32_t CHUNK_SIZE = 128;
constexpr std::uint32_t HEADER_SIZE = 8;

/// Sets the counter "allocations" to those of one transfer, once the buffers have grown.
template <typename Transfer>
void CountAllocations(benchmark::State& aState, Transfer aTransfer)
{
    constexpr int TRANSFERS = 64;
    aTransfer();
    StartCountingAllocations();
    for (int i = 0; i < TRANSFERS; ++i)
    {
        aTransfer();
    }
    aState.counters["allocations"] = static_cast<double>(StopCountingAllocations().mCount) / TRANSFERS;
}

void WriteToPort(benchmark::State& aState, IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, std::uint32_t aSize)
{
    OpenPort port(aDevice, aPort);
    const std::vector<std::uint8_t> data(aSize, 0x55);
    const auto write = [&] { port.Write(data.data(), aSize); };
    CountAllocations(aState, write);
    for (auto _ : aState)
    {
        write();
    }
    aState.SetBytesProcessed(aState.iterations() * aSize);
}

void WriteUart(benchmark::State& aState)
{
    StartASecondThread();
    ConfirmingDevice device;
    WriteToPort(aState, device, KoDeviceSerialUart0, 1024);
}
BENCHMARK(WriteUart)->Name("transmit/uart");

void WriteChunks(benchmark::State& aState)
{
    StartASecondThread();
    ConfirmingDevice device;
    WriteToPort(aState, device, KoDeviceSerialBulk0, WRITE_SIZE);
}
BENCHMARK(WriteChunks)->Name("transmit/chunks");

void WriteFrames(benchmark::State& aState)
{
    StartASecondThread();
    FeatureDevice device(aState.range(0));
    WriteToPort(aState, device, KoDeviceSerialBulk1, WRITE_SIZE);
}
BENCHMARK(WriteFrames)->Name("transmit/frames")->Arg(64)->Arg(512)->Arg(1024)->Arg(16384);

/// The device's own part of a write in chunks, its confirmation included.
class IdleSink : public IKoDeviceEventSink
{
public:
    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void* aData,
                     std::uint32_t) override
    {
        benchmark::DoNotOptimize(aData);
    }
    void NotifyInvalidatedGenParameter(const KoString&) override {}
};

void CallForChunks(benchmark::State& aState)
{
    StartASecondThread();
    IdleSink sink;
    ConfirmingDevice device;
    device.RegisterEventSink(&sink);
    IKoDeviceAdapter& adapter = device;
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    for (auto _ : aState)
    {
        for (std::uint32_t done = 0; done < WRITE_SIZE; done += CHUNK_SIZE)
        {
            adapter.BulkTransmit(&data[done], 0, CHUNK_SIZE);
        }
    }
    aState.SetBytesProcessed(aState.iterations() * WRITE_SIZE);
}
BENCHMARK(CallForChunks)->Name("transmit/chunk_calls");

void CopyFrames(benchmark::State& aState)
{
    const auto payload = static_cast<std::uint32_t>(aState.range(0)) - HEADER_SIZE;
    const std::vector<std::uint8_t> data(WRITE_SIZE, 0x55);
    std::vector<std::uint8_t> frame(payload);
    for (auto _ : aState)
    {
        for (std::uint32_t done = 0; done < WRITE_SIZE; done += payload)
        {
            std::memcpy(frame.data(), &data[done], std::min(payload, WRITE_SIZE - done));
            benchmark::DoNotOptimize(frame.data());
            benchmark::ClobberMemory();
        }
    }
    aState.SetBytesProcessed(aState.iterations() * WRITE_SIZE);
}
BENCHMARK(CopyFrames)->Name("transmit/frame_memcpy")->Arg(64)->Arg(512)->Arg(1024)->Arg(16384);

/// What receiving takes from the heap.
template <typename Path>
void ReceiveAllocations(benchmark::State& aState)
{
    constexpr std::uint32_t EVENT_SIZE = 512;
    Path path(EVENT_SIZE);
    EventBuffer received{};
    const auto receive = [&]
    {
        path.Send();
        TakeEvent(path, received, EVENT_SIZE);
    };
    CountAllocations(aState, receive);
    for (auto _ : aState)
    {
        receive();
    }
}
BENCHMARK_TEMPLATE(ReceiveAllocations, UartPath)->Name("allocations/uart")->Iterations(1);
BENCHMARK_TEMPLATE(ReceiveAllocations, BulkPath)->Name("allocations/bulk")->Iterations(1);
BENCHMARK_TEMPLATE(ReceiveAllocations, FeaturePath)->Name("allocations/feature")->Iterations(1);

} // namespace
