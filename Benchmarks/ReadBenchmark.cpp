// A Read that finds its bytes ready, beside poll and read on a pseudo-terminal that has them ready.

#include "ReceivePaths.h"
#include "SecondThread.h"
#include "SerialPeers.h"

#include <benchmark/benchmark.h>

#include <array>
#include <chrono>
#include <cstdint>
#include <thread>

namespace
{

constexpr std::uint32_t READ_SIZE = 16;
constexpr std::uint32_t EVENT_SIZE = 1024;
constexpr std::uint32_t READS_PER_EVENT = EVENT_SIZE / READ_SIZE;

void WaitUntilReady(UartPath&) {}

/// What is written to a pseudo-terminal comes out of it some moments later.
template <typename Pty>
void WaitUntilReady(Pty& aPty)
{
    while (aPty.GetReadyCount() < EVENT_SIZE)
    {
        std::this_thread::yield();
    }
}

template <typename Path>
void ReadReady(benchmark::State& aState)
{
    StartASecondThread();
    Path path(EVENT_SIZE);
    std::array<std::uint8_t, READ_SIZE> received{};
    for (auto _ : aState)
    {
        path.Send();
        WaitUntilReady(path);
        const auto start = std::chrono::steady_clock::now();
        for (std::uint32_t i = 0; i < READS_PER_EVENT; ++i)
        {
            Check(path.Take(received.data(), READ_SIZE) == READ_SIZE, "bytes that were ready are missing");
            benchmark::DoNotOptimize(received.data());
        }
        const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;
        aState.SetIterationTime(elapsed.count() / READS_PER_EVENT);
    }
}
BENCHMARK_TEMPLATE(ReadReady, UartPath)->Name("read_ready/uart")->UseManualTime()->Iterations(2000);
BENCHMARK_TEMPLATE(ReadReady, PtyPeer)->Name("read_ready/pty")->UseManualTime()->Iterations(500);
BENCHMARK_TEMPLATE(ReadReady, LibserialportPeer)->Name("read_ready/libserialport")->UseManualTime()->Iterations(500);
BENCHMARK_TEMPLATE(ReadReady, AsioPeer)->Name("read_ready/asio")->UseManualTime()->Iterations(500);

} // namespace
