#include "BulkFifoModel.h"

#include "Registers.h"

#include <algorithm>
#include <chrono>

namespace KoSim
{
namespace
{

constexpr std::size_t FIFO_SIZE = 256;

/// One for the chunk that the host is about to hand over, one that it remembers, one that is being delivered.
constexpr std::size_t MOST_CREDIT = 3;

/// The most received bytes that fit one event packet of the device.
constexpr std::size_t BYTES_PER_EVENT = 512;

/// A fast I2C bus is so many times as fast as the other one.
constexpr Time::rep I2C_FAST_FACTOR = 4;

/// On a fast line bytes reach the far end in groups, so that the thread behind this model is not woken for each.
constexpr Time SHORTEST_STEP = std::chrono::microseconds(100);

} // namespace

BulkFifoModel::BulkFifoModel(LineTiming aTiming, std::uint32_t aConfig, std::uint16_t aEventId, OutputQueue& aOutputs)
    : BulkModel(Port::Bulk0, aOutputs),
      mTiming(aTiming),
      mEventId(aEventId)
{
    WriteConfig(aConfig);
}

void BulkFifoModel::WriteConfig(std::uint32_t aValue)
{
    mConfig = aValue;
    const BulkLine line = GetBulkLine(aValue);
    mLaterChunk = GetLaterChunkSize(line);
    mSettings.reset();
    mLineByteTime = GetByteTime(line);
    if (line.mInterface == BulkInterface::Uart)
    {
        mSettings = mChosen;
        if (FindUartRateIndex(mChosen.mBaudRate))
        {
            mSettings->mBaudRate = GetBitRate(line);
        }
        mLineByteTime = GetByteTime(*mSettings) * (line.mDoubleTime ? 2 : 1);
    }
    SetByteTime(mTiming == LineTiming::Real ? mLineByteTime : Time(0));
    if ((aValue & BULK_CONFIG_RESET) != 0)
    {
        mStatistics.mTxOverruns += mFifo.size();
        mFifo.clear();
        DropBlocks();
        ++mBlock;
        mCredit = 0;
    }
}

void BulkFifoModel::SetUp(BulkInterface aInterface, const LineSettings& aSettings)
{
    mChosen = aSettings;
    BulkLine line = GetBulkLine(mConfig);
    line.mInterface = aInterface;
    if (aInterface == BulkInterface::Uart)
    {
        line.mRateIndex = FindUartRateIndex(aSettings.mBaudRate).value_or(line.mRateIndex);
    }
    mConfig = GetBulkConfig(line);
}

void BulkFifoModel::SetByteTime(Time aByteTime)
{
    mByteTime = aByteTime;
    mIncoming.SetByteTime(aByteTime);
}

void BulkFifoModel::Transmit(const std::uint8_t* aData, std::size_t aLength, std::uint32_t aCommand, Time aNow)
{
    const std::size_t taken = std::min(aLength, GetFreeBytes());
    mStatistics.mTxOverruns += aLength - taken;
    if (taken == 0)
    {
        return;
    }
    const bool isI2c = GetBulkLine(mConfig).mInterface == BulkInterface::I2c;
    const std::optional<I2cOptions> i2c = isI2c ? GetI2cOptionsOfCommand(aCommand) : std::nullopt;
    const Time byteTime = i2c && i2c->mFast ? mLineByteTime / I2C_FAST_FACTOR : mLineByteTime;
    SetByteTime(mTiming == LineTiming::Real ? byteTime : Time(0));
    AddBlock(taken, i2c ? Destination(ToI2cBus{*i2c}) : ToLine{}, aNow);
    if (mFifo.empty())
    {
        mByteDone = aNow + mByteTime;
        if (mIdleSince)
        {
            ++mStatistics.mUnderruns;
            mStatistics.mIdleTime += aNow - *mIdleSince;
        }
    }
    mFifo.insert(mFifo.end(), aData, aData + taken);
    StartBlock(aLength);
    if (GetFreeBytes() >= mPartialRoom)
    {
        ReportRoom(INTERRUPT_BULK_TX_PARTIAL, aNow);
    }
}

/// The host has used a credit, if it had one; what was reported before is outdated.
void BulkFifoModel::StartBlock(std::size_t aLength)
{
    ++mBlock;
    const bool beginsWrite = aLength > mLaterChunk;
    mCredit = beginsWrite || mCredit == 0 ? 0 : mCredit - 1;
    mPartialRoom = ChoosePartialRoom();
}

/// The host may hand over the chunks of its credit and one more when it is told to go on, and the empty interrupt
/// behind that must still be true.
std::size_t BulkFifoModel::ChoosePartialRoom() const
{
    if (mCredit == 0 || 2 * mLaterChunk > FIFO_SIZE)
    {
        return mLaterChunk;
    }
    return 3 * mLaterChunk > FIFO_SIZE ? FIFO_SIZE : (mCredit + 1) * mLaterChunk;
}

void BulkFifoModel::StartDelivery(const EventOutput& aEvent)
{
    if (aEvent.mBlock != 0)
    {
        mCredit = std::min(mCredit + 1, MOST_CREDIT);
    }
}

void BulkFifoModel::Advance(Time aNow)
{
    Drain(aNow);
    TakeFromLine(aNow);
}

std::optional<Time> BulkFifoModel::GetDeadline() const
{
    std::optional<Time> deadline;
    if (!mFifo.empty() && !IsHeldBack())
    {
        const Time step = mByteDone + std::max(Time(0), SHORTEST_STEP - mByteTime);
        deadline = std::min(step, mByteDone + mByteTime * (GetBytesToInterrupt() - 1));
    }
    if (!mIncoming.IsEmpty() && (mInterrupts & INTERRUPT_BULK_RX) != 0)
    {
        deadline = std::min(deadline.value_or(mIncoming.GetNextArrival()), mIncoming.GetNextArrival());
    }
    return deadline;
}

std::size_t BulkFifoModel::GetFreeBytes() const
{
    return FIFO_SIZE - mFifo.size();
}

/// Number of bytes that must leave the FIFO before it has something to report.
Time::rep BulkFifoModel::GetBytesToInterrupt() const
{
    const bool partialIsAhead = GetFreeBytes() < mPartialRoom && mPartialRoom < FIFO_SIZE;
    return static_cast<Time::rep>(partialIsAhead ? mPartialRoom - GetFreeBytes() : mFifo.size());
}

void BulkFifoModel::Drain(Time aNow)
{
    while (!IsHeldBack() && !mFifo.empty() && mByteDone <= aNow)
    {
        const Time::rep due = mByteTime > Time(0) ? (aNow - mByteDone) / mByteTime + 1 : GetBytesToInterrupt();
        SendBytes(std::min(due, GetBytesToInterrupt()));
    }
}

/// Lets bytes leave the FIFO, at most as many as there are before the next interrupt.
void BulkFifoModel::SendBytes(Time::rep aCount)
{
    const auto end = mFifo.begin() + aCount;
    SendOut({mFifo.begin(), end}, mByteDone + mByteTime * (aCount - 1));
    mFifo.erase(mFifo.begin(), end);
    mStatistics.mBusyTime += mByteTime * aCount;
    mByteDone += mByteTime * aCount;

    const Time lastByteDone = mByteDone - mByteTime;
    if (mFifo.empty())
    {
        ReportRoom(INTERRUPT_BULK_TX_EMPTY, lastByteDone);
        mIdleSince = lastByteDone;
    }
    else if (GetFreeBytes() == mPartialRoom)
    {
        ReportRoom(INTERRUPT_BULK_TX_PARTIAL, lastByteDone);
    }
}

void BulkFifoModel::ReportRoom(std::uint32_t aStatus, Time aNow)
{
    SendInterrupt(aStatus, {}, aNow, mBlock);
}

void BulkFifoModel::TakeFromLine(Time aNow)
{
    const std::uint32_t enabled = mInterrupts & INTERRUPT_BULK_RX;
    if (enabled == 0)
    {
        mIncoming.Hold();
        return;
    }
    const std::uint32_t lowestEnabled = enabled & (~enabled + 1);
    for (;;)
    {
        const std::vector<std::uint8_t> bytes = mIncoming.Take(BYTES_PER_EVENT, aNow);
        if (bytes.empty())
        {
            return;
        }
        SendInterrupt(lowestEnabled, bytes, aNow);
    }
}

void BulkFifoModel::SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow,
                                  std::uint64_t aBlock)
{
    if ((mInterrupts & aStatus) == 0)
    {
        return;
    }
    std::vector<std::uint8_t> payload;
    payload.reserve(sizeof(aStatus) + aBytes.size());
    AppendWord(payload, aStatus);
    payload.insert(payload.end(), aBytes.begin(), aBytes.end());
    mOutputs.emplace_back(EventOutput{mPort, mEventId, aNow, aBytes.size(), std::move(payload), aBlock});
}

} // namespace KoSim
