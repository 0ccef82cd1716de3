#pragma once

#include "IncomingLine.h"
#include "Output.h"

#include <KoSim/LineSettings.h>
#include <KoSim/LineStatistics.h>
#include <KoSim/Port.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <utility>
#include <vector>

namespace KoSim
{

/// A serial port of the device with its line. It has no thread and no clock: whoever drives it says what time it is.
class PortModel
{
public:
    PortModel(Port aPort, OutputQueue& aOutputs) : mPort(aPort), mOutputs(aOutputs) {}
    virtual ~PortModel() = default;

    PortModel& operator=(const PortModel&) = delete;

    Port GetPort() const { return mPort; }

    /// Puts bytes on the line at the far end; what finds no room is lost and counted.
    void Receive(const std::uint8_t* aData, std::size_t aLength, Time aNow)
    {
        if (IsAgreed())
        {
            mStatistics.mLostBytes += mIncoming.Put(aData, aLength, aNow);
            return;
        }
        const std::vector<std::uint8_t> garbage = Garble({aData, aData + aLength});
        mStatistics.mLostBytes += mIncoming.Put(garbage.data(), garbage.size(), aNow);
    }

    /// Says how the far end is set up; nothing when it follows the device.
    void SetFarEndSettings(const std::optional<LineSettings>& aSettings) { mFarEndSettings = aSettings; }

    /// Number of bytes that Receive() can take without loss.
    std::size_t GetRoom() const { return mIncoming.GetRoom(); }

    /// The far end makes the transmitter wait, or lets it go on. What has left already is on its way to the far end.
    void HoldBack(bool aHold) { mHeldBack = aHold; }

    /// True while the far end makes the transmitter wait.
    bool IsHeldBack() const { return mHeldBack; }

    /// Tells that bytes have been carried to the far end.
    void CountDelivered(std::size_t aLength) { mUndelivered -= aLength; }

    /// Lets everything happen that is due.
    virtual void Advance(Time aNow) = 0;

    /// When something is due next.
    virtual std::optional<Time> GetDeadline() const = 0;

    LineStatistics mStatistics;

protected:
    /// A copy goes its own way from here, and reports to the same queue.
    PortModel(const PortModel&) = default;

    void ReportSent(std::vector<std::uint8_t> aBytes)
    {
        mStatistics.mSentBytes += aBytes.size();
        mUndelivered += aBytes.size();
        mOutputs.emplace_back(LineOutput{mPort, this, IsAgreed() ? std::move(aBytes) : Garble(std::move(aBytes))});
    }

    const Port mPort;
    OutputQueue& mOutputs;
    IncomingLine mIncoming;
    std::size_t mUndelivered = 0;          ///< bytes in outputs that have not been carried to the far end
    std::optional<LineSettings> mSettings; ///< those in effect; nothing when the port is no UART now

private:
    bool IsAgreed() const { return !mSettings || !mFarEndSettings || *mSettings == *mFarEndSettings; }

    /// What the other end makes of bytes: other ones, and not the same again after the way back.
    std::vector<std::uint8_t> Garble(std::vector<std::uint8_t> aBytes)
    {
        const auto garble = [](std::uint8_t aByte)
        { return static_cast<std::uint8_t>((aByte << 3 | aByte >> 5) ^ 0xA5); };
        std::transform(aBytes.begin(), aBytes.end(), aBytes.begin(), garble);
        mStatistics.mFramingErrors += aBytes.size();
        return aBytes;
    }

    std::optional<LineSettings> mFarEndSettings;
    bool mHeldBack = false;
};

} // namespace KoSim
