// Runs each transfer of the library many times and has callgrind write down what each took, under a name that says what
// was done: NAME REPETITIONS BYTES. Scripts/bench-instructions runs this program and reads what comes out.

#include "ReceivePaths.h"
#include "SecondThread.h"

#include <valgrind/callgrind.h>

#include <array>
#include <cstdint>
#include <cstdio>
#include <exception>
#include <string>

namespace
{

constexpr int REPETITIONS = 1000;

template <typename Transfer>
void Count(const std::string& aName, std::uint32_t aBytes, Transfer aTransfer)
{
    // The first transfers grow buffers and find the functions of other libraries.
    for (int i = 0; i < 10; ++i)
    {
        aTransfer();
    }
    const std::string label = aName + " " + std::to_string(REPETITIONS) + " " + std::to_string(aBytes);
    CALLGRIND_ZERO_STATS;
    for (int i = 0; i < REPETITIONS; ++i)
    {
        aTransfer();
    }
    CALLGRIND_DUMP_STATS_AT(label.c_str());
}

template <typename Path>
void CountReceive(const std::string& aName)
{
    for (const std::uint32_t size : {16U, 128U, 512U, 1400U})
    {
        Path path(size);
        std::array<std::uint8_t, 2048> received{};
        Count("receive/" + aName + "/" + std::to_string(size), size,
              [&]
              {
                  path.Send();
                  Check(path.Take(received.data(), size) == size, "bytes are missing");
              });
    }
}

void CountUartWrite()
{
    constexpr std::uint32_t SIZE = 256;
    ConfirmingDevice device;
    OpenPort port(device, KoDeviceSerialUart0);
    const std::array<std::uint8_t, SIZE> data{};
    Count("write/uart", SIZE, [&] { port.Write(data.data(), SIZE); });
}

/// Marking the end of reads does nothing but take the lock of the echo sinks and read the clock; a query does nothing.
void CountEcho()
{
    RegisterDevice device;
    OpenPort port(device, KoDeviceSerialUart0);
    std::uint32_t size = 0;
    Count("mark", 1, [&] { port->NotifyReadComplete(); });
    Count("query", 1, [&] { port->GetRxBufferSize(size); });
}

void CountAll()
{
    StartASecondThread();
    CountReceive<BulkPath>("bulk");
    CountReceive<UartPath>("uart");
    CountReceive<FeaturePath>("feature");
    CountUartWrite();
    CountEcho();
}

} // namespace

int main()
{
    try
    {
        CountAll();
        return 0;
    }
    catch (const std::exception& failure)
    {
        std::fprintf(stderr, "KoSerialInstructions: %s\n", failure.what());
        return 1;
    }
}
