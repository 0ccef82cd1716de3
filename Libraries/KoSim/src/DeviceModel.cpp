#include "DeviceModel.h"

#include "Registers.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace KoSim
{
namespace
{

const char* const EVENT_NOTIFICATION = "EventNotification";
const char* const BULK_MODE = "BulkMode";

/// The entries of BULK_MODE that the configuration register of bulk port 0 knows too, by its value.
constexpr std::array<const char*, 3> BULK_MODES = {"USRT", "UART", "I2C"};

constexpr std::uint8_t LAST_I2C_ADDRESS = 0x7F;

constexpr std::size_t GetIndex(Port aPort)
{
    return static_cast<std::size_t>(aPort);
}

/// The entry of "EventSelector" for the event of a bulk port.
std::string GetEventName(const BulkFeatureModel& aBulk)
{
    return aBulk.GetName() + "UpstreamData";
}

const LineSettings& CheckLine(const LineSettings& aLine)
{
    if (aLine.mBaudRate == 0)
    {
        throw std::invalid_argument("the baud rate of a line cannot be 0");
    }
    if (aLine.mStopBits < 1 || aLine.mStopBits > 2)
    {
        throw std::invalid_argument("a line has one stop bit or two");
    }
    return aLine;
}

/// How bulk port 0 in the register block is set up when it is a UART.
LineSettings GetBulk0Settings(const DeviceProfile& aProfile)
{
    BulkLine line = aProfile.mBulk0Line;
    line.mInterface = BulkInterface::Uart;
    LineSettings settings;
    settings.mBaudRate = GetBitRate(line);
    return settings;
}

std::uint32_t CheckUartCount(std::uint32_t aCount)
{
    if (aCount > 2)
    {
        throw std::invalid_argument("a device has at most two UARTs");
    }
    return aCount;
}

} // namespace

DeviceModel::DeviceModel(const DeviceProfile& aProfile)
    : mUartCount(CheckUartCount(aProfile.mUartCount)),
      mBulk0InRegisters(aProfile.mBulk0InRegisters),
      mBulk0RunsI2c(aProfile.mBulk0RunsI2c),
      mBulkLine(CheckLine(aProfile.mBulkLine)),
      mUarts{UartModel(Port::Uart0, aProfile.mTiming, CheckLine(aProfile.mLines[0]), mOutputs),
             UartModel(Port::Uart1, aProfile.mTiming, CheckLine(aProfile.mLines[1]), mOutputs)},
      mBulk0(aProfile.mTiming, GetBulkConfig(aProfile.mBulk0Line), aProfile.mBulk0EventId, mOutputs),
      mLineFeatures(mFeatures, aProfile.mHasBulkSelector)
{
    for (std::size_t i = 0; i < aProfile.mBulkFeatures.size(); ++i)
    {
        const auto port = static_cast<Port>(static_cast<std::size_t>(Port::Bulk0) + i);
        mBulks.push_back(std::make_unique<BulkFeatureModel>(port, aProfile, mFeatures, mOutputs));
    }
    AddFeatures(aProfile);
}

std::uint32_t DeviceModel::ReadRegister(std::uint32_t aAddress, Time aNow)
{
    Advance(aNow);
    if (UartModel* const uart = FindUart(aAddress))
    {
        return uart->ReadData();
    }
    std::uint32_t value = 0;
    if (ReadBulkRegister(aAddress, value))
    {
        return value;
    }
    switch (aAddress)
    {
    case REG_INTERRUPT_ENABLE:
        return mInterruptEnable;
    case REG_FUNCTION_CAPS:
        return GetFunctionCaps();
    default:
        ++mUnknownAccesses;
        return 0;
    }
}

void DeviceModel::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue, Time aNow)
{
    Advance(aNow);
    if (UartModel* const uart = FindUart(aAddress))
    {
        uart->WriteData(aValue, aNow);
        return;
    }
    if (WriteBulkRegister(aAddress, aValue))
    {
        return;
    }
    switch (aAddress)
    {
    case REG_INTERRUPT_ENABLE:
        SetInterruptEnable(aValue);
        return;
    case REG_FUNCTION_CAPS: // read-only
        return;
    default:
        ++mUnknownAccesses;
        return;
    }
}

bool DeviceModel::BulkTransmit(const std::uint8_t* aData, std::size_t aLength, std::uint32_t aCommand, Time aNow)
{
    if (!mBulk0InRegisters)
    {
        return false;
    }
    // What has left the FIFO by now has made room, and on an instant line the block leaves at once.
    Advance(aNow);
    mBulk0.Transmit(aData, aLength, aCommand, aNow);
    Advance(aNow);
    return true;
}

void DeviceModel::SetI2cSlave(Port aPort, std::uint8_t aAddress, const std::shared_ptr<II2cSlave>& aSlave)
{
    if (aAddress > LAST_I2C_ADDRESS)
    {
        throw std::invalid_argument("an I2C address has 7 bits");
    }
    GetBulk(aPort).SetI2cSlave(aAddress, aSlave);
    if (aPort == Port::Bulk0)
    {
        mBulk0.SetI2cSlave(aAddress, aSlave);
    }
}

void DeviceModel::SetSpiSlave(Port aPort, const std::shared_ptr<ISpiSlave>& aSlave)
{
    GetBulk(aPort).SetSpiSlave(aSlave);
}

void DeviceModel::SetEnumValue(const std::string& aName, const std::string& aEntry)
{
    mFeatures.SetEnumValue(aName, aEntry);
    if (aName == BULK_MODE || mLineFeatures.IsAbout(Port::Bulk0, aName))
    {
        SetUpBulk0();
    }
    if (aName != EVENT_NOTIFICATION)
    {
        return;
    }
    for (const auto& bulk : mBulks)
    {
        const bool isOn = mFeatures.GetEnumValue(EVENT_NOTIFICATION, GetEventName(*bulk)) == "On";
        if (isOn != bulk->IsEventEnabled())
        {
            bulk->SetLine(mLineFeatures.Get(bulk->GetPort(), mBulkLine));
            bulk->EnableEvent(isOn);
        }
    }
}

bool DeviceModel::Watch(const std::string& aName)
{
    const bool watched = mFeatures.Watch(aName);
    for (const auto& bulk : mBulks)
    {
        if (bulk->GetUpstreamName() == aName)
        {
            bulk->RepeatReport();
        }
    }
    return watched;
}

bool DeviceModel::WriteBlock(const std::string& aName, const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    const auto bulk = std::find_if(mBulks.begin(), mBulks.end(),
                                   [&](const auto& aBulk) { return aBulk->GetDownstreamName() == aName; });
    if (bulk == mBulks.end())
    {
        return false;
    }
    Advance(aNow);
    (*bulk)->WriteDownstream(aData, aLength, aNow);
    Advance(aNow);
    return true;
}

bool DeviceModel::ReadBlock(const std::string& aName, std::uint8_t* aBuffer, std::size_t aLength)
{
    const auto bulk = std::find_if(mBulks.begin(), mBulks.end(),
                                   [&](const auto& aBulk) { return aBulk->GetUpstreamName() == aName; });
    if (bulk == mBulks.end())
    {
        return false;
    }
    (*bulk)->ReadUpstream(aBuffer, aLength);
    return true;
}

bool DeviceModel::IsSending() const
{
    return std::any_of(mBulks.begin(), mBulks.end(), [](const auto& aBulk) { return aBulk->IsSending(); });
}

void DeviceModel::RepeatReports()
{
    for (const auto& bulk : mBulks)
    {
        bulk->RepeatReport();
    }
}

void DeviceModel::Receive(Port aPort, const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    GetPort(aPort).Receive(aData, aLength, aNow);
}

void DeviceModel::SetFarEndSettings(Port aPort, const std::optional<LineSettings>& aSettings)
{
    ForEachModelOf(aPort, [&](PortModel& aModel) { aModel.SetFarEndSettings(aSettings); });
}

void DeviceModel::HoldBack(Port aPort, bool aHold)
{
    ForEachModelOf(aPort, [&](PortModel& aModel) { aModel.HoldBack(aHold); });
}

bool DeviceModel::IsHeldBack()
{
    bool isHeldBack = false;
    ForEachPort([&](const PortModel& aPort) { isHeldBack |= aPort.IsHeldBack(); });
    return isHeldBack;
}

std::size_t DeviceModel::GetRoom(Port aPort)
{
    return GetPort(aPort).GetRoom();
}

void DeviceModel::Advance(Time aNow)
{
    if (mFrozen)
    {
        return;
    }
    ForEachPort([&](PortModel& aPort) { aPort.Advance(aNow); });
    std::vector<std::string> invalidated = mFeatures.TakeInvalidated();
    std::transform(invalidated.begin(), invalidated.end(), std::back_inserter(mOutputs),
                   [](std::string& aFeature) { return InvalidationOutput{std::move(aFeature)}; });
}

std::optional<Time> DeviceModel::GetDeadline()
{
    std::optional<Time> earliest;
    ForEachPort(
        [&](const PortModel& aPort)
        {
            const std::optional<Time> deadline = aPort.GetDeadline();
            if (deadline && (!earliest || *deadline < *earliest))
            {
                earliest = deadline;
            }
        });
    return earliest;
}

LineStatistics DeviceModel::GetLineStatistics(Port aPort) const
{
    if (aPort < Port::Bulk0)
    {
        return mUarts.at(GetIndex(aPort)).mStatistics;
    }
    const LineStatistics& inFeatures = mBulks.at(GetIndex(aPort) - GetIndex(Port::Bulk0))->mStatistics;
    return aPort == Port::Bulk0 ? mBulk0.mStatistics + inFeatures : inFeatures;
}

void DeviceModel::ResetLineStatistics(Port aPort)
{
    ForEachModelOf(aPort, [](PortModel& aModel) { aModel.mStatistics = LineStatistics(); });
}

bool DeviceModel::StartDelivery(const EventOutput& aEvent)
{
    if (aEvent.mPort != Port::Bulk0)
    {
        return true;
    }
    if (mBulk0.IsOutdated(aEvent))
    {
        return false;
    }
    mBulk0.StartDelivery(aEvent);
    return true;
}

void DeviceModel::CountEvent(const EventOutput& aEvent, bool aDelivered)
{
    LineStatistics& statistics = GetPort(aEvent.mPort).mStatistics;
    (aDelivered ? statistics.mReceivedBytes : statistics.mLostBytes) += aEvent.mReceivedBytes;
}

/// The model that is at work on a port; bulk port 0 has two, of which the one in features is while its event is on.
PortModel& DeviceModel::GetPort(Port aPort)
{
    if (aPort < Port::Bulk0)
    {
        return mUarts.at(GetIndex(aPort));
    }
    BulkFeatureModel& inFeatures = *mBulks.at(GetIndex(aPort) - GetIndex(Port::Bulk0));
    if (aPort == Port::Bulk0 && mBulk0InRegisters && !inFeatures.IsEventEnabled())
    {
        return mBulk0;
    }
    return inFeatures;
}

BulkFeatureModel& DeviceModel::GetBulk(Port aPort)
{
    if (aPort < Port::Bulk0)
    {
        throw std::invalid_argument("a UART is no bus");
    }
    return *mBulks.at(GetIndex(aPort) - GetIndex(Port::Bulk0));
}

template <typename Action>
void DeviceModel::ForEachPort(Action aAction)
{
    for (UartModel& uart : mUarts)
    {
        aAction(uart);
    }
    aAction(mBulk0);
    for (const auto& bulk : mBulks)
    {
        aAction(*bulk);
    }
}

/// Bulk port 0 has two models, one behind the register block and one behind its features.
template <typename Action>
void DeviceModel::ForEachModelOf(Port aPort, Action aAction)
{
    ForEachPort(
        [&](PortModel& aModel)
        {
            if (aModel.GetPort() == aPort)
            {
                aAction(aModel);
            }
        });
}

void DeviceModel::AddFeatures(const DeviceProfile& aProfile)
{
    for (std::size_t i = 0; i < mUartCount; ++i)
    {
        mLineFeatures.Add(mUarts.at(i).GetPort(), aProfile.mLines.at(i));
    }
    Enumeration selector{{}, "Bulk0", {}};
    Enumeration events{{"Error"}, "Error", {}};
    for (std::size_t i = 0; i < mBulks.size(); ++i)
    {
        if (aProfile.mBulkFeatures.at(i).mPresent)
        {
            mBulks[i]->AddFeatures(aProfile.mBulkFeatures.at(i));
            selector.mEntries.push_back(mBulks[i]->GetName());
            events.mEntries.push_back(GetEventName(*mBulks[i]));
            mLineFeatures.Add(mBulks[i]->GetPort(),
                              i == 0 && mBulk0InRegisters ? GetBulk0Settings(aProfile) : mBulkLine);
        }
    }
    mFeatures.mEnumerations["EventSelector"] = events;
    mFeatures.mEnumerations[EVENT_NOTIFICATION] = {{"Off", "On"}, "Off", "EventSelector"};
    if (selector.mEntries.empty())
    {
        return;
    }
    selector.mDefault = selector.mEntries.front();
    if (aProfile.mHasBulkSelector)
    {
        mFeatures.mEnumerations["BulkSelector"] = selector;
    }
    mFeatures.mEnumerations[BULK_MODE] = {{"UART", "USRT", "I2C", "SPI"}, "UART", "BulkSelector"};
    if (mBulk0InRegisters)
    {
        const auto wiring = static_cast<std::size_t>(aProfile.mBulk0Line.mInterface);
        mFeatures.mEnumerations[BULK_MODE].mValues[aProfile.mHasBulkSelector ? mBulks[0]->GetName() : ""] =
            BULK_MODES.at(wiring);
    }
}

/// Sets bulk port 0 in the register block up as its features say, if the register block knows that mode.
void DeviceModel::SetUpBulk0()
{
    const std::string& mode = mFeatures.GetEnumValue(BULK_MODE, mBulks[0]->GetName());
    const auto* const found = std::find(BULK_MODES.begin(), BULK_MODES.end(), mode);
    if (found != BULK_MODES.end())
    {
        mBulk0.SetUp(static_cast<BulkInterface>(found - BULK_MODES.begin()), mLineFeatures.Get(Port::Bulk0, mBulkLine));
    }
}

UartModel* DeviceModel::FindUart(std::uint32_t aAddress)
{
    switch (aAddress)
    {
    case REG_UART0_DATA:
        return mUartCount > 0 ? &mUarts[0] : nullptr;
    case REG_UART1_DATA:
        return mUartCount > 1 ? &mUarts[1] : nullptr;
    default:
        return nullptr;
    }
}

bool DeviceModel::ReadBulkRegister(std::uint32_t aAddress, std::uint32_t& aValue) const
{
    switch (aAddress)
    {
    case REG_BULK_0_CONFIG:
        aValue = mBulk0.ReadConfig();
        break;
    case REG_BULK_0_CLOCK_DIVIDER:
        aValue = mBulk0.ReadClockDivider();
        break;
    case REG_BULK_0_3_CONFIG:
        aValue = mBulk0RunsI2c ? BULK_0_3_CONFIG_I2C : 0;
        break;
    default:
        return false;
    }
    return mBulk0InRegisters;
}

bool DeviceModel::WriteBulkRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    if (!mBulk0InRegisters)
    {
        return false;
    }
    switch (aAddress)
    {
    case REG_BULK_0_CONFIG:
        mBulk0.WriteConfig(aValue);
        return true;
    case REG_BULK_0_CLOCK_DIVIDER:
        mBulk0.WriteClockDivider(aValue);
        return true;
    default:
        return aAddress == REG_BULK_0_3_CONFIG; // read-only
    }
}

std::uint32_t DeviceModel::GetFunctionCaps() const
{
    return FUNCTION_CAPS_IMPLEMENTED | (mBulk0InRegisters ? FUNCTION_CAPS_BULK_0 : 0) | mUartCount;
}

void DeviceModel::SetInterruptEnable(std::uint32_t aValue)
{
    mInterruptEnable = aValue;
    for (std::size_t i = 0; i < mUartCount; ++i)
    {
        const std::uint32_t bits = aValue >> (i * UART_INTERRUPT_BITS);
        UartModel& uart = mUarts.at(i);
        if (!uart.HasInterrupts())
        {
            uart.SetLine(mLineFeatures.Get(uart.GetPort(), uart.GetLine()));
        }
        uart.EnableInterrupts((bits & INTERRUPT_UART_TX) != 0, (bits & INTERRUPT_UART_RX) != 0);
    }
    mBulk0.EnableInterrupts(aValue);
}

} // namespace KoSim
