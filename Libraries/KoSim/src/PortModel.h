#pragma once

#include "IncomingLine.h"
#include "Output.h"

#include <KoSim/LineSettings.h>
#include <KoSim/LineStatistics.h>
#include <KoSim/Port.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace KoSim
{

/// A serial port of the device with its line. It has no thread and no clock: whoever drives it says what time it is.
class PortModel
{
public:
    PortModel(Port aPort, OutputQueue& aOutputs) : mPort(aPort), mOutputs(aOutputs) {}
    virtual ~PortModel() = default;

    PortModel(const PortModel&) = delete;
    PortModel& operator=(const PortModel&) = delete;

    /// Puts bytes on the line at the far end; what finds no room is lost and counted.
    void Receive(const std::uint8_t* aData, std::size_t aLength, Time aNow)
    {
        mStatistics.mLostBytes += mIncoming.Put(aData, aLength, aNow);
    }

    /// Number of bytes that Receive() can take without loss.
    std::size_t GetRoom() const { return mIncoming.GetRoom(); }

    /// Lets everything happen that is due.
    virtual void Advance(Time aNow) = 0;

    /// When something is due next.
    virtual std::optional<Time> GetDeadline() const = 0;

    LineStatistics mStatistics;

protected:
    const Port mPort;
    OutputQueue& mOutputs;
    IncomingLine mIncoming;
};

} // namespace KoSim
