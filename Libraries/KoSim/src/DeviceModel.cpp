#include "DeviceModel.h"

#include "Registers.h"

#include <algorithm>
#include <stdexcept>

namespace KoSim
{
namespace
{

Time GetLineByteTime(const DeviceProfile& aProfile, Port aPort)
{
    const LineSettings& line = aProfile.mLines.at(static_cast<std::size_t>(aPort));
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
      mUarts{UartModel(Port::Uart0, GetLineByteTime(aProfile, Port::Uart0), mOutputs),
             UartModel(Port::Uart1, GetLineByteTime(aProfile, Port::Uart1), mOutputs)}
{
}

std::uint32_t DeviceModel::ReadRegister(std::uint32_t aAddress)
{
    if (UartModel* const uart = FindUart(aAddress))
    {
        return uart->ReadData();
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

void DeviceModel::Receive(Port aPort, const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    mUarts.at(static_cast<std::size_t>(aPort)).Receive(aData, aLength, aNow);
}

std::size_t DeviceModel::GetRoom(Port aPort) const
{
    return mUarts.at(static_cast<std::size_t>(aPort)).GetRoom();
}

void DeviceModel::Advance(Time aNow)
{
    for (UartModel& uart : mUarts)
    {
        uart.Advance(aNow);
    }
}

std::optional<Time> DeviceModel::GetDeadline() const
{
    std::optional<Time> earliest;
    for (const UartModel& uart : mUarts)
    {
        const std::optional<Time> deadline = uart.GetDeadline();
        if (deadline && (!earliest || *deadline < *earliest))
        {
            earliest = deadline;
        }
    }
    return earliest;
}

std::optional<Output> DeviceModel::TakeOutput()
{
    if (mOutputs.empty())
    {
        return std::nullopt;
    }
    std::optional<Output> output = std::move(mOutputs.front());
    mOutputs.pop_front();
    return output;
}

void DeviceModel::CountEvent(const EventOutput& aEvent, bool aDelivered)
{
    LineStatistics& statistics = mUarts.at(static_cast<std::size_t>(aEvent.mPort)).mStatistics;
    (aDelivered ? statistics.mReceivedBytes : statistics.mLostBytes) += aEvent.mReceivedBytes;
}

const LineStatistics& DeviceModel::GetLineStatistics(Port aPort) const
{
    return mUarts.at(static_cast<std::size_t>(aPort)).mStatistics;
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

std::uint32_t DeviceModel::GetFunctionCaps() const
{
    return FUNCTION_CAPS_IMPLEMENTED | mUartCount;
}

void DeviceModel::SetInterruptEnable(std::uint32_t aValue)
{
    mInterruptEnable = aValue;
    for (std::size_t i = 0; i < mUarts.size(); ++i)
    {
        const std::uint32_t bits = aValue >> (i * UART_INTERRUPT_BITS);
        mUarts[i].EnableInterrupts((bits & INTERRUPT_UART_TX) != 0, (bits & INTERRUPT_UART_RX) != 0);
    }
}

} // namespace KoSim
