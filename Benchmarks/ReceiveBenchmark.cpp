// The receive path: from a device event with received bytes until Read() has copied them out, beside the least that any
// receive path must do: a memcpy into a buffer and a memcpy out of it.

#include "EmptyAdapter.h"
#include "SecondThread.h"

#include <KoDeviceSerialPort.h>

#include <benchmark/benchmark.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <vector>

namespace
{

constexpr std::size_t BYTES_PER_EVENT = 512;
constexpr std::uint16_t SERIAL_INTERRUPT_EVENT = 0x9000;
constexpr std::uint32_t UART0_RECEIVED = 0x2;

/// The least device on which a UART opens.
class UartDevice : public EmptyAdapter
{
public:
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override
    {
        constexpr std::uint32_t FUNCTION_CAPS = 0xB8FC;
        *aValue = aAddress == FUNCTION_CAPS ? 0x80000002 : 0;
        return Ok();
    }
};

/// An event with received bytes for UART0: a status word, then one word for each byte.
std::vector<std::uint32_t> MakeEvent()
{
    std::vector<std::uint32_t> words(1 + BYTES_PER_EVENT);
    for (std::size_t i = 0; i < BYTES_PER_EVENT; ++i)
    {
        words[1 + i] = static_cast<std::uint32_t>(i & 0xFF);
    }
    words[0] = UART0_RECEIVED;
    return words;
}

void BM_ReceiveUartEvent(benchmark::State& aState)
{
    StartASecondThread();
    UartDevice device;
    KoDeviceSerialPort port;
    if (!port.Open(&device, KoDeviceSerialUart0).IsOK())
    {
        aState.SkipWithError("cannot open the port");
        return;
    }
    const std::vector<std::uint32_t> event = MakeEvent();
    std::array<std::uint8_t, BYTES_PER_EVENT> received{};
    for (auto _ : aState)
    {
        device.mSink->NotifyEvent(SERIAL_INTERRUPT_EVENT, 0, 0, 0, event.data(),
                                  static_cast<std::uint32_t>(event.size() * sizeof(event[0])));
        std::uint32_t count = 0;
        port.Read(received.data(), BYTES_PER_EVENT, count, 0);
        benchmark::DoNotOptimize(received.data());
        if (count != BYTES_PER_EVENT)
        {
            aState.SkipWithError("bytes are missing");
            break;
        }
    }
    aState.SetBytesProcessed(aState.iterations() * static_cast<std::int64_t>(BYTES_PER_EVENT));
    port.Close();
}
BENCHMARK(BM_ReceiveUartEvent);

void BM_MemcpyInAndOut(benchmark::State& aState)
{
    StartASecondThread();
    std::array<std::uint8_t, BYTES_PER_EVENT> event{};
    std::array<std::uint8_t, BYTES_PER_EVENT> received{};
    std::vector<std::uint8_t> buffer(16384);
    for (auto _ : aState)
    {
        std::memcpy(buffer.data(), event.data(), event.size());
        benchmark::ClobberMemory();
        std::memcpy(received.data(), buffer.data(), received.size());
        benchmark::DoNotOptimize(received.data());
    }
    aState.SetBytesProcessed(aState.iterations() * static_cast<std::int64_t>(BYTES_PER_EVENT));
}
BENCHMARK(BM_MemcpyInAndOut);

} // namespace
