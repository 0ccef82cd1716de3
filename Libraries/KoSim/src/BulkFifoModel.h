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
/// The partially-empty interrupt comes when the space of one later chunk has become free, or is still free behind a
/// block; the empty interrupt when the last byte is out. The three receive interrupts mean the same; the lowest that is
/// enabled is reported.
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

    void Advance(Time aNow) override;
    std::optional<Time> GetDeadline() const override;

private:
    Time::rep GetBytesToInterrupt() const;
    void Drain(Time aNow);
    void SendBytes(Time::rep aCount);
    void SetByteTime(Time aByteTime);
    void ReportPartial(Time aNow);
    void TakeFromLine(Time aNow);
    void SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow);

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
    bool mReportedPartial = false;   ///< since the last block
    bool mReportedEmpty = false;     ///< since the last block
    Time mByteDone{0};               ///< when the first byte of the FIFO is out
    std::optional<Time> mIdleSince;  ///< when the FIFO ran empty
};

} // namespace KoSim
