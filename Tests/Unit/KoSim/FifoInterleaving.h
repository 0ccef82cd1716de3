#pragma once

#include "BulkFifoModel.h"
#include "Output.h"

#include <KoSim/BulkLine.h>

#include <cstddef>
#include <string>
#include <vector>

namespace KoSim
{

/// What the host does next. It writes in chunks: it takes both signals back, hands over the chunk and waits for the one
/// signal, or after the last chunk for the other.
enum class HostStep : char
{
    BeginWrite,
    ResetPartial,
    ResetEmpty,
    Transmit,
    WaitForPartial,
    WaitForEmpty,
    End,
};

/// What the device thread does next: take an interrupt, or set a signal in the call that delivers one.
enum class DeliveryStep : char
{
    Take,
    SetPartial,         ///< for a partially-empty interrupt
    SetPartialForEmpty, ///< for an empty interrupt, which sets this one too
    SetEmpty,
};

/// A transmit FIFO with its host, its device thread and its line, at rest between two steps.
struct Situation
{
    BulkFifoModel mFifo;
    OutputQueue mInterrupts{}; ///< that wait for the device thread
    Time mNow{0};
    std::size_t mHandedOver = 0;
    HostStep mHost = HostStep::BeginWrite;
    std::size_t mChunk = 0;
    bool mIsLast = false;
    bool mPartial = false; ///< the host's signals
    bool mEmpty = false;
    DeliveryStep mDelivery = DeliveryStep::Take;

    /// Number of bytes in the FIFO.
    std::size_t GetLevel() const;

    bool HasLostBytes() const { return mFifo.mStatistics.mTxOverruns > 0; }

    bool IsWaiting() const;

    /// True when no interrupt is being delivered or still to be delivered, and none will come.
    bool IsQuiet() const;

    /// Everything that decides about what can happen from here on, and whether bytes were lost on the way.
    std::string GetKey() const;
};

using Situations = std::vector<Situation>;

/// What a host does.
struct HostHabits
{
    bool mWritesOneChunkEach = false; ///< otherwise any number
    bool mWritesAgain = false;        ///< without end, otherwise once
    bool mPauses = false;             ///< begins a write only when everything is quiet
    bool mTimesOut = false; ///< gives a write up in a wait; the line is never so late, the device thread may be
};

/// The steps of a FIFO and of those around it: each of them may be late at any step.
class FifoInterleaving
{
public:
    /// @param aPiece number of bytes that leave in one step, unless an interrupt stops them
    FifoInterleaving(const BulkLine& aLine, const HostHabits& aHabits, std::size_t aPiece);
    FifoInterleaving(const FifoInterleaving&) = delete;
    FifoInterleaving& operator=(const FifoInterleaving&) = delete;

    Situation MakeFirst();

    /// @name Appends the situations to which the next step of each can lead
    /// @{
    void StepHost(const Situation& aSituation, Situations& aNext);
    void StepDeviceThread(const Situation& aSituation, Situations& aNext);
    void StepLine(const Situation& aSituation, Situations& aNext);
    /// @}

private:
    void Transmit(Situation& aSituation);
    void BeginWrite(const Situation& aSituation, Situations& aNext) const;
    void GoOn(const Situation& aSituation, Situations& aNext) const;
    void EndWrite(const Situation& aSituation, Situations& aNext) const;
    void ChooseChunk(const Situation& aSituation, std::size_t aLimit, Situations& aNext) const;
    void KeepInterrupts(Situation& aSituation);

    const BulkLine mLine;
    const HostHabits mHabits;
    const std::size_t mPiece;
    OutputQueue mOutputs; ///< of all copies of the FIFO; empty between two steps
};

} // namespace KoSim
