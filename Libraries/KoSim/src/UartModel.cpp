#include "UartModel.h"

#include "Registers.h"

#include <algorithm>

namespace KoSim
{
namespace
{

/// The most received bytes that fit one event packet of the device.
constexpr std::size_t BYTES_PER_EVENT = 128;

} // namespace

UartModel::UartModel(Port aPort, LineTiming aTiming, const LineSettings& aSettings, OutputQueue& aOutputs)
    : PortModel(aPort, aOutputs),
      mTiming(aTiming)
{
    SetLine(aSettings);
}

void UartModel::SetLine(const LineSettings& aSettings)
{
    mSettings = aSettings;
    mByteTime = mTiming == LineTiming::Real ? GetByteTime(aSettings) : Time(0);
    mIncoming.SetByteTime(mByteTime);
}

void UartModel::WriteData(std::uint32_t aValue, Time aNow)
{
    if (mTxDone)
    {
        ++mStatistics.mTxOverruns;
        return;
    }
    mTxByte = static_cast<std::uint8_t>(aValue & 0xFF);
    mTxDone = aNow + mByteTime;
}

std::uint32_t UartModel::ReadData()
{
    std::uint32_t value = mTxDone ? UART_DATA_TX_BUSY : 0;
    if (mHeld)
    {
        value |= UART_DATA_RX_VALID | *mHeld;
        mHeld.reset();
        ++mStatistics.mReceivedBytes;
    }
    return value;
}

void UartModel::EnableInterrupts(bool aTx, bool aRx)
{
    mTxInterrupt = aTx;
    mRxInterrupt = aRx;
}

void UartModel::Advance(Time aNow)
{
    FinishTransmission(aNow);
    TakeFromLine(aNow);
}

std::optional<Time> UartModel::GetDeadline() const
{
    std::optional<Time> deadline = IsHeldBack() ? std::nullopt : mTxDone;
    if (HasByteToTake())
    {
        const Time arrival = mHeld ? Time(0) : mIncoming.GetNextArrival();
        deadline = deadline ? std::min(*deadline, arrival) : arrival;
    }
    return deadline;
}

bool UartModel::HasByteToTake() const
{
    return mRxInterrupt ? mHeld || !mIncoming.IsEmpty() : !mHeld && !mIncoming.IsEmpty();
}

void UartModel::FinishTransmission(Time aNow)
{
    if (!mTxDone || *mTxDone > aNow || IsHeldBack())
    {
        return;
    }
    mTxDone.reset();
    ReportSent({mTxByte});
    if (mTxInterrupt)
    {
        SendInterrupt(INTERRUPT_UART_TX, {}, aNow);
    }
}

void UartModel::TakeFromLine(Time aNow)
{
    if (mRxInterrupt)
    {
        ReportReceived(aNow);
    }
    else if (!mHeld)
    {
        const std::vector<std::uint8_t> arrived = mIncoming.Take(1, aNow);
        if (!arrived.empty())
        {
            mHeld = arrived.front();
        }
    }
    if (!HasByteToTake())
    {
        mIncoming.Hold();
    }
}

void UartModel::ReportReceived(Time aNow)
{
    if (mHeld)
    {
        SendInterrupt(INTERRUPT_UART_RX, {*mHeld}, aNow);
        mHeld.reset();
    }
    for (;;)
    {
        const std::vector<std::uint8_t> arrived = mIncoming.Take(BYTES_PER_EVENT, aNow);
        if (arrived.empty())
        {
            return;
        }
        SendInterrupt(INTERRUPT_UART_RX, arrived, aNow);
    }
}

void UartModel::SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow)
{
    std::vector<std::uint8_t> payload;
    payload.reserve((aBytes.size() + 1) * sizeof(std::uint32_t));
    AppendWord(payload, mPort == Port::Uart1 ? aStatus << UART_INTERRUPT_BITS : aStatus);
    for (const std::uint8_t byte : aBytes)
    {
        AppendWord(payload, byte);
    }
    mOutputs.emplace_back(EventOutput{mPort, EVENT_SERIAL_INTERRUPT, aNow, aBytes.size(), std::move(payload)});
}

} // namespace KoSim
