#include "DeviceModel.h"

#include "Registers.h"

#include <algorithm>
#include <stdexcept>

namespace KoSim
{
namespace
{

Time GetUartByteTime(const DeviceProfile& aProfile, std::size_t aUart)
{
    const LineSettings& line = aProfile.mLines.at(aUart);
    if (line.mBaudRate == 0)
    {
        throw std::invalid_argument("the baud rate of a line cannot be 0");
    }
    return aProfile.mTiming == LineTiming::Real ? GetByteTime(line) : Time(0);
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
      mUarts{UartModel(Port::Uart0, GetUartByteTime(aProfile, 0), mOutputs),
             UartModel(Port::Uart1, GetUartByteTime(aProfile, 1), mOutputs)},
      mBulk0(aProfile.mTiming, GetBulkConfig(aProfile.mBulk0Line), aProfile.mBulk0EventId, mOutputs),
      mPorts{&mUarts[0], &mUarts[1], &mBulk0}
{
}

std::uint32_t DeviceModel::ReadRegister(std::uint32_t aAddress)
{
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

bool DeviceModel::BulkTransmit(const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    if (!mBulk0InRegisters)
    {
        return false;
    }
    // What has left the FIFO by now has made room, and on an instant line the block leaves at once.
    Advance(aNow);
    mBulk0.Transmit(aData, aLength, aNow);
    Advance(aNow);
    return true;
}

void DeviceModel::Receive(Port aPort, const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    GetPort(aPort).Receive(aData, aLength, aNow);
}

std::size_t DeviceModel::GetRoom(Port aPort) const
{
    return GetPort(aPort).GetRoom();
}

void DeviceModel::Advance(Time aNow)
{
    if (mFrozen)
    {
        return;
    }
    for (PortModel* const port : mPorts)
    {
        port->Advance(aNow);
    }
}

std::optional<Time> DeviceModel::GetDeadline() const
{
    std::optional<Time> earliest;
    for (const PortModel* const port : mPorts)
    {
        const std::optional<Time> deadline = port->GetDeadline();
        if (deadline && (!earliest || *deadline < *earliest))
        {
            earliest = deadline;
        }
    }
    return earliest;
}

void DeviceModel::CountEvent(const EventOutput& aEvent, bool aDelivered)
{
    LineStatistics& statistics = GetPort(aEvent.mPort).mStatistics;
    (aDelivered ? statistics.mReceivedBytes : statistics.mLostBytes) += aEvent.mReceivedBytes;
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
    for (std::size_t i = 0; i < mUarts.size(); ++i)
    {
        const std::uint32_t bits = aValue >> (i * UART_INTERRUPT_BITS);
        mUarts[i].EnableInterrupts((bits & INTERRUPT_UART_TX) != 0, (bits & INTERRUPT_UART_RX) != 0);
    }
    mBulk0.EnableInterrupts(aValue);
}

} // namespace KoSim
