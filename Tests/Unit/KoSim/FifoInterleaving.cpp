#include "FifoInterleaving.h"

#include "ModelOutputs.h"
#include "Registers.h"

#include <algorithm>
#include <iterator>
#include <utility>

namespace KoSim
{
namespace
{

constexpr std::uint32_t TRANSMIT_INTERRUPTS = INTERRUPT_BULK_TX_EMPTY | INTERRUPT_BULK_TX_PARTIAL;

constexpr std::size_t FIFO_SIZE = 256;

std::uint32_t GetStatus(const Output& aInterrupt)
{
    return LoadWord(std::get<EventOutput>(aInterrupt).mPayload, 0);
}

void Take(Situation& aSituation)
{
    const EventOutput interrupt = std::get<EventOutput>(std::move(aSituation.mInterrupts.front()));
    aSituation.mInterrupts.pop_front();
    aSituation.mFifo.StartDelivery(interrupt);
    const bool isEmpty = LoadWord(interrupt.mPayload, 0) == INTERRUPT_BULK_TX_EMPTY;
    aSituation.mDelivery = isEmpty ? DeliveryStep::SetPartialForEmpty : DeliveryStep::SetPartial;
}

Situation& Append(const Situation& aSituation, Situations& aNext)
{
    aNext.push_back(aSituation);
    return aNext.back();
}

} // namespace

std::size_t Situation::GetLevel() const
{
    return mHandedOver - mFifo.mStatistics.mSentBytes - mFifo.mStatistics.mTxOverruns;
}

bool Situation::IsWaiting() const
{
    return (mHost == HostStep::WaitForPartial && !mPartial) || (mHost == HostStep::WaitForEmpty && !mEmpty);
}

bool Situation::IsQuiet() const
{
    return GetLevel() == 0 && mDelivery == DeliveryStep::Take && mInterrupts.empty();
}

std::string Situation::GetKey() const
{
    std::string key = {static_cast<char>(mHost), static_cast<char>(mDelivery)};
    for (const bool flag : {mPartial, mEmpty, mIsLast, HasLostBytes()})
    {
        key += flag ? '1' : '0';
    }
    for (const std::size_t size : {GetLevel(), mChunk, mFifo.GetCredit(), mFifo.GetPartialRoom()})
    {
        key += std::to_string(size) + ',';
    }
    for (const Output& interrupt : mInterrupts)
    {
        key += GetStatus(interrupt) == INTERRUPT_BULK_TX_EMPTY ? 'e' : 'p';
    }
    return key;
}

FifoInterleaving::FifoInterleaving(const BulkLine& aLine, const HostHabits& aHabits, std::size_t aPiece)
    : mLine(aLine),
      mHabits(aHabits),
      mPiece(aPiece)
{
}

Situation FifoInterleaving::MakeFirst()
{
    Situation first{{LineTiming::Real, GetBulkConfig(mLine), EVENT_SERIAL_INTERRUPT, mOutputs}};
    first.mFifo.EnableInterrupts(TRANSMIT_INTERRUPTS);
    return first;
}

void FifoInterleaving::StepHost(const Situation& aSituation, Situations& aNext)
{
    switch (aSituation.mHost)
    {
    case HostStep::BeginWrite:
        BeginWrite(aSituation, aNext);
        break;
    case HostStep::ResetPartial:
        Append(aSituation, aNext).mPartial = false;
        aNext.back().mHost = HostStep::ResetEmpty;
        break;
    case HostStep::ResetEmpty:
        Append(aSituation, aNext).mEmpty = false;
        aNext.back().mHost = HostStep::Transmit;
        break;
    case HostStep::Transmit:
        Transmit(Append(aSituation, aNext));
        break;
    case HostStep::WaitForPartial:
        GoOn(aSituation, aNext);
        break;
    case HostStep::WaitForEmpty:
        EndWrite(aSituation, aNext);
        break;
    case HostStep::End:
        break;
    }
}

void FifoInterleaving::Transmit(Situation& aSituation)
{
    const std::string bytes(aSituation.mChunk, 'x');
    aSituation.mFifo.Transmit(AsBytes(bytes), bytes.size(), 0, aSituation.mNow);
    KeepInterrupts(aSituation);
    aSituation.mHandedOver += bytes.size();
    aSituation.mHost = aSituation.mIsLast ? HostStep::WaitForEmpty : HostStep::WaitForPartial;
}

void FifoInterleaving::BeginWrite(const Situation& aSituation, Situations& aNext) const
{
    if (!mHabits.mPauses || aSituation.IsQuiet())
    {
        ChooseChunk(aSituation, mLine.mInterface == BulkInterface::I2c ? 254 : FIFO_SIZE, aNext);
    }
}

void FifoInterleaving::GoOn(const Situation& aSituation, Situations& aNext) const
{
    if (aSituation.IsWaiting())
    {
        EndWrite(aSituation, aNext);
        return;
    }
    Situation woken = aSituation;
    woken.mPartial = false; // the wait takes the signal
    ChooseChunk(woken, GetLaterChunkSize(mLine), aNext);
}

/// Ends a write, but not out of a wait, unless the host has no patience.
void FifoInterleaving::EndWrite(const Situation& aSituation, Situations& aNext) const
{
    const bool givesUp = mHabits.mTimesOut && aSituation.GetLevel() == 0;
    if (!aSituation.IsWaiting() || givesUp)
    {
        Append(aSituation, aNext).mHost = mHabits.mWritesAgain ? HostStep::BeginWrite : HostStep::End;
    }
}

/// A chunk in the middle of a write is as long as it can be; the last one is that too, or has one byte.
void FifoInterleaving::ChooseChunk(const Situation& aSituation, std::size_t aLimit, Situations& aNext) const
{
    for (const auto& [size, isLast] : {std::pair(aLimit, true), {std::size_t{1}, true}, {aLimit, false}})
    {
        if (isLast || !mHabits.mWritesOneChunkEach)
        {
            Situation& next = Append(aSituation, aNext);
            next.mHost = HostStep::ResetPartial;
            next.mChunk = size;
            next.mIsLast = isLast;
        }
    }
}

void FifoInterleaving::StepDeviceThread(const Situation& aSituation, Situations& aNext)
{
    if (aSituation.mDelivery == DeliveryStep::Take && aSituation.mInterrupts.empty())
    {
        return;
    }
    Situation& next = Append(aSituation, aNext);
    switch (aSituation.mDelivery)
    {
    case DeliveryStep::Take:
        Take(next);
        break;
    case DeliveryStep::SetPartial:
        next.mPartial = true;
        next.mDelivery = DeliveryStep::Take;
        break;
    case DeliveryStep::SetPartialForEmpty:
        next.mPartial = true;
        next.mDelivery = DeliveryStep::SetEmpty;
        break;
    case DeliveryStep::SetEmpty:
        next.mEmpty = true;
        next.mDelivery = DeliveryStep::Take;
        break;
    }
}

/// A few bytes leave, no more than there are before an interrupt.
void FifoInterleaving::StepLine(const Situation& aSituation, Situations& aNext)
{
    const std::size_t level = aSituation.GetLevel();
    const std::size_t free = FIFO_SIZE - level;
    const std::size_t partialRoom = aSituation.mFifo.GetPartialRoom();
    const std::size_t toInterrupt = free < partialRoom && partialRoom < FIFO_SIZE ? partialRoom - free : level;
    if (level > 0)
    {
        Situation& next = Append(aSituation, aNext);
        next.mNow += GetByteTime(mLine) * std::min(mPiece, toInterrupt);
        next.mFifo.Advance(next.mNow);
        KeepInterrupts(next);
    }
}

/// The device thread would drop outdated interrupts; nothing depends on when.
void FifoInterleaving::KeepInterrupts(Situation& aSituation)
{
    OutputQueue& interrupts = aSituation.mInterrupts;
    std::move(mOutputs.begin(), mOutputs.end(), std::back_inserter(interrupts));
    mOutputs.clear();
    const auto isDropped = [&](const Output& aOutput)
    {
        const auto* const event = std::get_if<EventOutput>(&aOutput);
        return event == nullptr || aSituation.mFifo.IsOutdated(*event);
    };
    interrupts.erase(std::remove_if(interrupts.begin(), interrupts.end(), isDropped), interrupts.end());
}

} // namespace KoSim
