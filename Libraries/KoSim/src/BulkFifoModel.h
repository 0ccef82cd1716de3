#pragma once

#include "BulkModel.h"

#include <KoSim/BulkLine.h>

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace KoSim
{

/// Bulk port 0 behind the register block: a transmit FIFO of 256 bytes, the line that drains it, and the receiver. It
/// has no thread and no clock: whoever drives it says what time it is.
///
/// The partially-empty interrupt comes when the space of one later chunk has become free, or is still free after a
/// block; the empty interrupt when the last byte is out. A block outdates the interrupts before it, which are not
/// delivered any more, and causes its own. The three receive interrupts mean the same; the lowest that is enabled is
/// reported.
///
/// A host hands over a chunk for each interrupt that it gets. One that reaches it between the preparation of a chunk
/// and its transmission lets it hand over another one unasked: it has a credit then, which this FIFO cannot see but
/// allows for. While the host may have one, the partially-empty interrupt waits for the space of all the chunks that
/// may come, or, where three do not fit, leaves the word to the empty interrupt. So no later chunk of up to 128 bytes
/// finds too little room, however late the host is; for longer ones, of which two do not fit, nothing would help. The
/// price is that the line stands still for a moment between the chunks that follow a late one. A block that is longer
/// than a later chunk begins a write: its host has waited for the empty interrupt and has no credit.
class BulkFifoModel : public BulkModel
{
public:
    BulkFifoModel(LineTiming aTiming, std::uint32_t aConfig, std::uint16_t aEventId, OutputQueue& aOutputs);

    std::uint32_t ReadConfig() const { return mConfig; }

    /// Changes line rate, interface and reserve, and puts in effect what SetUp() has chosen; a set reset bit empties
    /// the FIFO.
    void WriteConfig(std::uint32_t aValue);

    std::uint32_t ReadClockDivider() const { return mClockDivider; }
    void WriteClockDivider(std::uint32_t aValue) { mClockDivider = aValue; }

    /// Switches the interrupts, given as they stand in the interrupt enable register.
    void EnableInterrupts(std::uint32_t aBits) { mInterrupts = aBits; }

    /// Sets the port up as something else. The configuration register shows it, except for rates that it does not know,
    /// and the line follows when that register is written next, as everyone does who opens the port.
    void SetUp(BulkInterface aInterface, const LineSettings& aSettings);

    /// Puts a block into the FIFO; what finds no room is lost and counted. On I2C the block is one transfer when its
    /// command word says so.
    void Transmit(const std::uint8_t* aData, std::size_t aLength, std::uint32_t aCommand, Time aNow);

    /// True when a block has come since an event of this port: it must not be delivered any more.
    bool IsOutdated(const EventOutput& aEvent) const { return aEvent.mBlock != 0 && aEvent.mBlock != mBlock; }

    /// Tells that an event of this port, which is not outdated, is being delivered.
    void StartDelivery(const EventOutput& aEvent);

    /// The most chunks that the host may hand over before it is told again.
    std::size_t GetCredit() const { return mCredit; }

    /// Number of free bytes at which the last block causes the partially-empty interrupt.
    std::size_t GetPartialRoom() const { return mPartialRoom; }

    void Advance(Time aNow) override;
    std::optional<Time> GetDeadline() const override;

private:
    std::size_t GetFreeBytes() const;
    Time::rep GetBytesToInterrupt() const;
    void Drain(Time aNow);
    void SendBytes(Time::rep aCount);
    void SetByteTime(Time aByteTime);
    void StartBlock(std::size_t aLength);
    std::size_t ChoosePartialRoom() const;
    void TakeFromLine(Time aNow);
    void ReportRoom(std::uint32_t aStatus, Time aNow);
    void SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow,
                       std::uint64_t aBlock = 0);

    const LineTiming mTiming;
    const std::uint16_t mEventId;
    std::uint32_t mConfig = 0;
    std::uint32_t mClockDivider = 0;
    std::uint32_t mInterrupts = 0;
    std::size_t mLaterChunk = 0;
    LineSettings mChosen;            ///< for the next opening
    Time mLineByteTime{0};           ///< as the configuration register has it
    Time mByteTime{0};               ///< of what is in the FIFO
    std::vector<std::uint8_t> mFifo; ///< oldest byte first
    std::uint64_t mBlock = 0;        ///< number of the last block
    std::size_t mCredit = 0;         ///< see GetCredit()
    std::size_t mPartialRoom = 0;    ///< see GetPartialRoom()
    Time mByteDone{0};               ///< when the first byte of the FIFO is out
    std::optional<Time> mIdleSince;  ///< when the FIFO ran empty
};

} // namespace KoSim
