// Device events with any payload, in any sequence, into the engines of the register block, against what their format
// says that they carry.

#include "EmptyAdapter.h"
#include "Expect.h"

#include <KoDeviceSerialPort.h>
#include <KuUtilsLib/Logger.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <cstring>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;

constexpr std::uint16_t SERIAL_INTERRUPT = 0x9000;
constexpr std::uint16_t BULK_INTERRUPT = 0x9001;

/// The least device on which a UART and bulk port 0 open.
class Device : public EmptyAdapter
{
public:
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override
    {
        constexpr std::uint32_t FUNCTION_CAPS = 0xB8FC;
        *aValue = aAddress == FUNCTION_CAPS ? 0x80000032 : 0;
        return Ok();
    }
};

struct Event
{
    std::uint16_t mId;
    Bytes mPayload;
};

Event MakeEvent(FuzzedDataProvider& aInput)
{
    const std::uint16_t id = aInput.PickValueInArray<std::uint16_t>({SERIAL_INTERRUPT, BULK_INTERRUPT, 0x9002, 0x8FFF});
    return {id, aInput.ConsumeBytes<std::uint8_t>(aInput.ConsumeIntegralInRange<std::size_t>(0, 600))};
}

std::uint32_t GetStatus(const Bytes& aPayload)
{
    std::uint32_t status = 0;
    std::memcpy(&status, aPayload.data(), sizeof(status));
    return status;
}

/// The bytes that a UART receives with an event: the first of each word after the status.
void AddUartBytes(const Event& aEvent, std::uint32_t aReceivedBit, Bytes& aBytes)
{
    if (aEvent.mId != SERIAL_INTERRUPT || aEvent.mPayload.size() < 4 ||
        (GetStatus(aEvent.mPayload) & aReceivedBit) == 0)
    {
        return;
    }
    for (std::size_t i = 4; i + 4 <= aEvent.mPayload.size(); i += 4)
    {
        aBytes.push_back(aEvent.mPayload[i]);
    }
}

/// The bytes that bulk port 0 receives with an event: all after the status.
void AddBulkBytes(const Event& aEvent, Bytes& aBytes)
{
    const bool isOurs = aEvent.mId == SERIAL_INTERRUPT || aEvent.mId == BULK_INTERRUPT;
    if (isOurs && aEvent.mPayload.size() >= 4 && (GetStatus(aEvent.mPayload) & 0x700) != 0)
    {
        aBytes.insert(aBytes.end(), aEvent.mPayload.begin() + 4, aEvent.mPayload.end());
    }
}

void AddBytes(KoDeviceSerial aPort, const Event& aEvent, Bytes& aBytes)
{
    if (aPort == KoDeviceSerialBulk0)
    {
        AddBulkBytes(aEvent, aBytes);
    }
    else
    {
        AddUartBytes(aEvent, aPort == KoDeviceSerialUart0 ? 0x2 : 0x8, aBytes);
    }
}

Bytes ReadAll(KoDeviceSerialPort& aPort)
{
    std::uint32_t ready = 0;
    aPort.GetRxBytesReady(ready);
    Bytes bytes(ready);
    std::uint32_t count = 0;
    if (ready > 0)
    {
        EXPECT_THAT_ALWAYS(aPort.Read(bytes.data(), ready, count, 0).IsOK());
    }
    EXPECT_THAT_ALWAYS(count == ready);
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    const KoDeviceSerial id = input.PickValueInArray({KoDeviceSerialUart0, KoDeviceSerialUart1, KoDeviceSerialBulk0});
    const auto ringSize = input.ConsumeIntegralInRange<std::uint32_t>(1, 20000);
    Device device;
    KoDeviceSerialPort port;
    EXPECT_THAT_ALWAYS(port.Open(&device, id).IsOK());
    EXPECT_THAT_ALWAYS(port.SetRxBufferSize(ringSize).IsOK());
    Bytes expected;
    while (input.remaining_bytes() > 0)
    {
        const Event event = MakeEvent(input);
        device.mSink->NotifyEvent(event.mId, 0, 0, 0, event.mPayload.data(),
                                  static_cast<std::uint32_t>(event.mPayload.size()));
        AddBytes(id, event, expected);
    }
    if (expected.size() >= ringSize)
    {
        expected.erase(expected.begin(), expected.end() - static_cast<std::ptrdiff_t>(ringSize - 1));
    }
    EXPECT_THAT_ALWAYS(ReadAll(port) == expected);
    EXPECT_THAT_ALWAYS(port.Close().IsOK());
    return 0;
}
