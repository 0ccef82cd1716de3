// The receive path: from a device event with received bytes until Read() has copied them out, beside what else bytes
// could go through.

#include "CpuPin.h"
#include "Peers.h"
#include "ReceivePaths.h"
#include "SecondThread.h"
#include "SerialPeers.h"
#include "Transfer.h"

#include <benchmark/benchmark.h>

#include <atomic>
#include <cstdint>
#include <thread>

namespace
{

void EventSizes(benchmark::internal::Benchmark* aBenchmark)
{
    aBenchmark->Arg(16)->Arg(128)->Arg(512)->Arg(1400);
}

/// One thread is the device and the reader in turn.
template <typename Path>
void Receive(benchmark::State& aState)
{
    StartASecondThread();
    const auto size = static_cast<std::uint32_t>(aState.range(0));
    Path path(size);
    EventBuffer received{};
    for (auto _ : aState)
    {
        path.Send();
        TakeEvent(path, received, size);
    }
    aState.SetBytesProcessed(aState.iterations() * size);
}
BENCHMARK_TEMPLATE(Receive, UartPath)->Name("receive/uart")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, BulkPath)->Name("receive/bulk")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, FeaturePath)->Name("receive/feature")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, LockedRing<1>)->Name("receive/locked_memcpy")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, EchoingRing)->Name("receive/locked_memcpy_echo")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, LockedRing<4>)->Name("receive/locked_pick")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, SpscPeer)->Name("receive/boost_spsc")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, ReaderWriterPeer)->Name("receive/readerwriterqueue")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, PipePeer)->Name("receive/pipe")->Apply(EventSizes);
BENCHMARK_TEMPLATE(Receive, LibserialportPeer)->Name("receive/libserialport")->Apply(EventSizes)->UseRealTime();
BENCHMARK_TEMPLATE(Receive, AsioPeer)->Name("receive/asio")->Apply(EventSizes)->UseRealTime();

/// A device thread that sends events for as long as a ring has room for what the reader has not taken.
template <typename Path>
class Sender
{
public:
    Sender(Path& aPath, std::uint32_t aEventSize) : mPath(aPath), mEventSize(aEventSize) {}
    ~Sender()
    {
        mStopping = true;
        mThread.join();
    }
    Sender(const Sender&) = delete;
    Sender& operator=(const Sender&) = delete;

    /// Tells that the reader took an event.
    void Taken() { mTaken.store(mTaken.load(std::memory_order_relaxed) + mEventSize, std::memory_order_release); }

private:
    void Run()
    {
        const CpuPin pin(1);
        std::uint64_t sent = 0;
        while (!mStopping)
        {
            if (sent + mEventSize - mTaken.load(std::memory_order_acquire) >= RING_SIZE)
            {
                std::this_thread::yield();
                continue;
            }
            mPath.Send();
            sent += mEventSize;
        }
    }

    Path& mPath;
    const std::uint32_t mEventSize;
    std::atomic<bool> mStopping{false};
    alignas(64) std::atomic<std::uint64_t> mTaken{0};
    std::thread mThread{[this] { Run(); }};
};

/// A device thread and a reader thread, each on a CPU of its own.
template <typename Path>
void ReceiveFromThread(benchmark::State& aState)
{
    const CpuPin pin(0);
    const auto size = static_cast<std::uint32_t>(aState.range(0));
    Path path(size);
    EventBuffer received{};
    Sender<Path> sender(path, size);
    for (auto _ : aState)
    {
        TakeEvent(path, received, size);
        sender.Taken();
    }
    aState.SetBytesProcessed(aState.iterations() * size);
}
BENCHMARK_TEMPLATE(ReceiveFromThread, UartPath)->Name("receive_2/uart")->Apply(EventSizes)->UseRealTime();
BENCHMARK_TEMPLATE(ReceiveFromThread, BulkPath)->Name("receive_2/bulk")->Apply(EventSizes)->UseRealTime();
BENCHMARK_TEMPLATE(ReceiveFromThread, FeaturePath)->Name("receive_2/feature")->Apply(EventSizes)->UseRealTime();
BENCHMARK_TEMPLATE(ReceiveFromThread, SpscPeer)->Name("receive_2/boost_spsc")->Apply(EventSizes)->UseRealTime();
BENCHMARK_TEMPLATE(ReceiveFromThread, PipePeer)->Name("receive_2/pipe")->Apply(EventSizes)->UseRealTime();

} // namespace
