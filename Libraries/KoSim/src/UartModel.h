#pragma once

#include "PortModel.h"

#include <cstdint>
#include <optional>
#include <vector>

namespace KoSim
{

/// A UART of the device.
///
/// The transmitter holds one byte. The line has flow control in both directions: while the far end holds the device
/// back, the byte in the transmitter stays there; while the receive interrupt is off, one byte waits in the data
/// register and the rest waits at the far end.
class UartModel : public PortModel
{
public:
    UartModel(Port aPort, LineTiming aTiming, const LineSettings& aSettings, OutputQueue& aOutputs);

    /// Changes the settings of the line.
    void SetLine(const LineSettings& aSettings);

    /// Writes the data register.
    void WriteData(std::uint32_t aValue, Time aNow);

    /// Reads the data register, which takes the byte out that waits there.
    std::uint32_t ReadData();

    /// Switches the two interrupts of this UART.
    void EnableInterrupts(bool aTx, bool aRx);

    bool HasInterrupts() const { return mTxInterrupt || mRxInterrupt; }

    /// The settings in effect.
    const LineSettings& GetLine() const { return *mSettings; }

    void Advance(Time aNow) override;
    std::optional<Time> GetDeadline() const override;

private:
    bool HasByteToTake() const;
    void FinishTransmission(Time aNow);
    void TakeFromLine(Time aNow);
    void ReportReceived(Time aNow);
    void SendInterrupt(std::uint32_t aStatus, const std::vector<std::uint8_t>& aBytes, Time aNow);

    const LineTiming mTiming;
    Time mByteTime{0};
    bool mTxInterrupt = false;
    bool mRxInterrupt = false;
    std::optional<Time> mTxDone; ///< when the byte in the transmitter is out
    std::uint8_t mTxByte = 0;
    std::optional<std::uint8_t> mHeld; ///< the received byte in the data register
};

} // namespace KoSim
