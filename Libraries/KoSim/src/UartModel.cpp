#include "UartModel.h"

#include "Registers.h"

#include <algorithm>
#include <array>
#include <cstring>

namespace KoSim
{
namespace
{

constexpr std::size_t LINE_CAPACITY = 65536;

/// The most received bytes that fit one event packet of the device.
constexpr std::size_t BYTES_PER_EVENT = 128;

void AppendWord(std::vector<std::uint8_t>& aPayload, std::uint32_t aWord)
{
    std::array<std::uint8_t, sizeof(aWord)> bytes{};
    std::memcpy(bytes.data(), &aWord, bytes.size());
    aPayload.insert(aPayload.end(), bytes.begin(), bytes.end());
}

} // namespace

UartModel::UartModel(Port aPort, Time aByteTime, OutputQueue& aOutputs)
    : mPort(aPort),
      mByteTime(aByteTime),
      mOutputs(aOutputs)
{
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

void UartModel::Receive(const std::uint8_t* aData, std::size_t aLength, Time aNow)
{
    const std::size_t taken = std::min(aLength, GetRoom());
    mStatistics.mLostBytes += aLength - taken;
    if (mIncoming.empty())
    {
        mNextArrival = std::max(mNextArrival, aNow + mByteTime);
    }
    mIncoming.insert(mIncoming.end(), aData, aData + taken);
}

std::size_t UartModel::GetRoom() const
{
    return LINE_CAPACITY - mIncoming.size();
}

void UartModel::Advance(Time aNow)
{
    FinishTransmission(aNow);
    TakeFromLine(aNow);
}

std::optional<Time> UartModel::GetDeadline() const
{
    std::optional<Time> deadline = mTxDone;
    if (HasByteToTake())
    {
        const Time arrival = mHeld ? Time(0) : mNextArrival;
        deadline = deadline ? std::min(*deadline, arrival) : arrival;
    }
    return deadline;
}

bool UartModel::HasByteToTake() const
{
    return mRxInterrupt ? mHeld || !mIncoming.empty() : !mHeld && !mIncoming.empty();
}

void UartModel::FinishTransmission(Time aNow)
{
    if (!mTxDone || *mTxDone > aNow)
    {
        return;
    }
    mTxDone.reset();
    ++mStatistics.mSentBytes;
    mOutputs.emplace_back(LineOutput{mPort, {mTxByte}});
    if (mTxInterrupt)
    {
        SendInterrupt(INTERRUPT_UART_TX, {}, aNow);
    }
}

void UartModel::TakeFromLine(Time aNow)
{
    std::vector<std::uint8_t> reported;
    if (mRxInterrupt && mHeld)
    {
        reported.push_back(*mHeld);
        mHeld.reset();
    }
    if (mFarEndWaits && HasByteToTake())
    {
        mNextArrival = aNow + mByteTime;
        mFarEndWaits = false;
    }
    while (HasByteToTake() && mNextArrival <= aNow)
    {
        const std::uint8_t byte = mIncoming.front();
        mIncoming.pop_front();
        mNextArrival += mByteTime;
        if (mRxInterrupt)
        {
            reported.push_back(byte);
        }
        else
        {
            mHeld = byte;
        }
    }
    mFarEndWaits = !mIncoming.empty() && !HasByteToTake();
    ReportReceived(reported, aNow);
}

void UartModel::ReportReceived(const std::vector<std::uint8_t>& aBytes, Time aNow)
{
    for (auto next = aBytes.begin(); next != aBytes.end();)
    {
        const auto count = std::min<std::ptrdiff_t>(aBytes.end() - next, BYTES_PER_EVENT);
        SendInterrupt(INTERRUPT_UART_RX, {next, next + count}, aNow);
        next += count;
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
