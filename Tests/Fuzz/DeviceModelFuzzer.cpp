// Accesses of any kind to a simulated device, with bytes from its far ends and time in between: nothing may break, and
// every byte must be accounted for.

#include "DeviceModel.h"
#include "Expect.h"

#include <KoSim/I2cEeprom.h>
#include <KoSim/I2cThermometer.h>
#include <KoSim/MemoryImage.h>
#include <KoSim/SpiFlash.h>

#include <fuzzer/FuzzedDataProvider.h>

#include <array>
#include <string>
#include <vector>

namespace
{

using Bytes = std::vector<std::uint8_t>;
using namespace KoSim;

constexpr std::array<std::uint32_t, 8> ADDRESSES = {0xB838, 0xB84C, 0xB850, 0xB898, 0xB8FC, 0xB954, 0xB95C, 0xB834};

const std::array<std::string, 6> ENUMERATIONS = {"BulkSelector", "BulkMode",          "EventSelector",
                                                 "Uart0Parity",  "EventNotification", "BulkBaudRate"};

Port ConsumePort(FuzzedDataProvider& aInput)
{
    return static_cast<Port>(aInput.ConsumeIntegralInRange<std::size_t>(0, PORT_COUNT - 1));
}

Bytes ConsumeBlock(FuzzedDataProvider& aInput)
{
    return aInput.ConsumeBytes<std::uint8_t>(aInput.ConsumeIntegralInRange<std::size_t>(0, 300));
}

void AddChips(DeviceModel& aModel)
{
    const auto eeprom = std::make_shared<I2cEeprom>(I2cEeprom::SMALL, MemoryImage(I2cEeprom::SMALL.mSize));
    for (const Port port : {Port::Bulk0, Port::Bulk3})
    {
        aModel.SetI2cSlave(port, 0x50, eeprom);
        aModel.SetI2cSlave(port, 0x48, std::make_shared<I2cThermometer>());
    }
}

void ChooseEntry(DeviceModel& aModel, FuzzedDataProvider& aInput)
{
    const std::string name = aInput.PickValueInArray(ENUMERATIONS);
    const std::vector<std::string>& entries = aModel.GetFeatures().FindEnumeration(name)->mEntries;
    aModel.SetEnumValue(name, entries.at(aInput.ConsumeIntegralInRange<std::size_t>(0, entries.size() - 1)));
}

void Access(DeviceModel& aModel, FuzzedDataProvider& aInput, Time aNow)
{
    const std::string bulk = aInput.ConsumeBool() ? "Bulk0" : "Bulk3";
    switch (aInput.ConsumeIntegralInRange(0, 6))
    {
    case 0:
        aModel.ReadRegister(aInput.PickValueInArray(ADDRESSES), aNow);
        break;
    case 1:
        aModel.WriteRegister(aInput.PickValueInArray(ADDRESSES), aInput.ConsumeIntegral<std::uint32_t>(), aNow);
        break;
    case 2:
    {
        const Bytes block = ConsumeBlock(aInput);
        aModel.BulkTransmit(block.data(), block.size(), aInput.ConsumeIntegral<std::uint32_t>(), aNow);
        break;
    }
    case 3:
    {
        const Bytes block = ConsumeBlock(aInput);
        aModel.WriteBlock(bulk + "DownstreamData", block.data(), block.size(), aNow);
        break;
    }
    case 4:
    {
        Bytes buffer(aInput.ConsumeIntegralInRange<std::size_t>(0, 600));
        aModel.ReadBlock("Event" + bulk + "UpstreamDataBuffer", buffer.data(), buffer.size());
        break;
    }
    case 5:
        ChooseEntry(aModel, aInput);
        break;
    default:
    {
        const Bytes block = ConsumeBlock(aInput);
        aModel.Receive(ConsumePort(aInput), block.data(), block.size(), aNow);
        break;
    }
    }
}

/// Carries outputs away as a runner does.
void Deliver(DeviceModel& aModel)
{
    for (OutputQueue& outputs = aModel.GetOutputs(); !outputs.empty(); outputs.pop_front())
    {
        if (const auto* const event = std::get_if<EventOutput>(&outputs.front()))
        {
            EXPECT_THAT_ALWAYS(event->mPayload.size() >= 4 + event->mReceivedBytes);
            if (aModel.StartDelivery(*event))
            {
                aModel.CountEvent(*event, true);
            }
        }
        else if (const auto* const bytes = std::get_if<LineOutput>(&outputs.front()))
        {
            bytes->mSender->CountDelivered(bytes->mBytes.size());
        }
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* aData, std::size_t aSize)
{
    FuzzedDataProvider input(aData, aSize);
    DeviceProfile profile;
    profile.mTiming = input.ConsumeBool() ? LineTiming::Real : LineTiming::Instant;
    profile.mHasBulkSelector = true;
    DeviceModel model(profile);
    AddChips(model);
    Time now{0};
    while (input.remaining_bytes() > 0)
    {
        Access(model, input, now);
        now += Time(input.ConsumeIntegralInRange<std::uint32_t>(0, 1000000));
        model.Advance(now);
        Deliver(model);
        if (const std::optional<Time> deadline = model.GetDeadline())
        {
            EXPECT_THAT_ALWAYS(profile.mTiming == LineTiming::Real || *deadline <= now);
        }
    }
    return 0;
}
