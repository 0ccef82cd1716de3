// What a port costs when others are active too, and what echo sinks cost.

#include "ReceivePaths.h"
#include "SecondThread.h"
#include "Transfer.h"

#include <KoDeviceSerialPortEchoSink.h>

#include <benchmark/benchmark.h>

#include <chrono>
#include <cstdint>
#include <memory>
#include <vector>

namespace
{

constexpr std::uint32_t EVENT_SIZE = 512;

/// An event on each of several ports, each of a device of its own, by one thread.
void ReceiveOnPorts(benchmark::State& aState)
{
    StartASecondThread();
    const std::int64_t count = aState.range(0);
    std::vector<std::unique_ptr<UartPath>> paths;
    for (std::int64_t i = 0; i < count; ++i)
    {
        paths.push_back(std::make_unique<UartPath>(EVENT_SIZE));
    }
    EventBuffer received{};
    for (auto _ : aState)
    {
        for (const auto& path : paths)
        {
            path->Send();
            TakeEvent(*path, received, EVENT_SIZE);
        }
    }
    aState.SetBytesProcessed(aState.iterations() * count * EVENT_SIZE);
}
BENCHMARK(ReceiveOnPorts)->Name("scale/ports")->Arg(1)->Arg(2)->Arg(4)->Arg(8)->Arg(16);

/// Each port with a thread of its own.
void ReceiveInThreads(benchmark::State& aState)
{
    UartPath path(EVENT_SIZE);
    EventBuffer received{};
    for (auto _ : aState)
    {
        path.Send();
        TakeEvent(path, received, EVENT_SIZE);
    }
    aState.SetBytesProcessed(aState.iterations() * EVENT_SIZE);
}
BENCHMARK(ReceiveInThreads)
    ->Name("scale/threads")
    ->Threads(1)
    ->Threads(2)
    ->Threads(4)
    ->Threads(8)
    ->Threads(16)
    ->UseRealTime();

/// Registers echo sinks for the time of a benchmark.
template <typename Sink>
class RegisteredSinks
{
public:
    explicit RegisteredSinks(std::int64_t aCount) : mSinks(static_cast<std::size_t>(aCount))
    {
        for (Sink& sink : mSinks)
        {
            KoDeviceSerialPort::RegisterEchoSink(&sink);
        }
    }
    ~RegisteredSinks()
    {
        for (Sink& sink : mSinks)
        {
            KoDeviceSerialPort::UnregisterEchoSink(&sink);
        }
    }
    RegisteredSinks(const RegisteredSinks&) = delete;
    RegisteredSinks& operator=(const RegisteredSinks&) = delete;

private:
    std::vector<Sink> mSinks;
};

/// Sinks that do nothing with what they are shown.
void ReceiveWithSinks(benchmark::State& aState)
{
    StartASecondThread();
    const RegisteredSinks<KoDeviceSerialPortEchoSink> sinks(aState.range(0));
    ReceiveInThreads(aState);
}
BENCHMARK(ReceiveWithSinks)->Name("scale/sinks")->Arg(0)->Arg(1)->Arg(4);

/// A sink that takes a while, as one does that writes to a file.
class SlowSink : public KoDeviceSerialPortEchoSink
{
    void OnRead(const KoString&, KoDeviceSerial, const std::uint8_t*, std::uint32_t, std::uint64_t) override
    {
        constexpr auto WORK = std::chrono::microseconds(10);
        const auto end = std::chrono::steady_clock::now() + WORK;
        while (std::chrono::steady_clock::now() < end)
        {
        }
    }
};

void ReceiveWithSlowSink(benchmark::State& aState)
{
    const RegisteredSinks<SlowSink> sinks(aState.thread_index() == 0 ? 1 : 0);
    ReceiveInThreads(aState);
}
BENCHMARK(ReceiveWithSlowSink)->Name("scale/slow_sink")->Threads(1)->Threads(2)->UseRealTime();

/// What the echo list costs every Read: its lock and the clock, which is all that marking the end of reads does.
void MarkReadComplete(benchmark::State& aState)
{
    StartASecondThread();
    RegisterDevice device;
    OpenPort port(device, KoDeviceSerialUart0);
    for (auto _ : aState)
    {
        port->NotifyReadComplete();
    }
}
BENCHMARK(MarkReadComplete)->Name("read_ready/echo_list");

} // namespace
