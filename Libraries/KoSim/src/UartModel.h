#pragma once

#include "Output.h"

#include <KoSim/LineSettings.h>
#include <KoSim/LineStatistics.h>
#include <KoSim/Port.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace KoSim
{

/// A UART of the device with its line. It has no thread and no clock: whoever drives it says what time it is.
///
/// The transmitter holds one byte. Towards the device the line has flow control: while the receive interrupt is off,
/// one byte waits in the data register and the rest waits at the far end.
class UartModel
{
public:
    UartModel(Port aPort, Time aByteTime, OutputQueue& aOutputs);

    /// Writes the data register.
    void WriteData(std::uint32_t aValue, Time aNow);

    /// Reads the data register, which takes the byte out that waits there.
    std::uint32_t ReadData();

    /// Switches the two interrupts of this UART.
    void EnableInterrupts(bool aTx, bool aRx);

    /// Puts bytes on the line at the far end.
    void Receive(const std::uint8_t* aData, std::size_t aLength, Time aNow);

    /// Number of bytes that Receive() can take without loss.
    std::size_t GetRoom() const;

    /// Lets everything happen that is due.
    void Advance(Time aNow);

    /// When something is due next.
    std::optional<Time> GetDeadline() const;

    LineStatistics mStatistics;

private:
    bool HasByteToTake() const;
    void FinishTransmission(Time aNow);
    void TakeFromLine(Time aNow);
    void ReportReceived(const std::vector<std::uint8_t>& aBytes, Time aNow);
    void SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow);

    const Port mPort;
    const Time mByteTime;
    OutputQueue& mOutputs;
    bool mTxInterrupt = false;
    bool mRxInterrupt = false;
    std::optional<Time> mTxDone; ///< when the byte in the transmitter is out
    std::uint8_t mTxByte = 0;
    std::optional<std::uint8_t> mHeld;  ///< the received byte in the data register
    std::deque<std::uint8_t> mIncoming; ///< on the line or waiting at the far end, oldest first
    Time mNextArrival{0};               ///< when the first of them has arrived
    bool mFarEndWaits = false;          ///< the first of them starts when the device can take it
};

} // namespace KoSim
