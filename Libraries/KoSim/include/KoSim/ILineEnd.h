#pragma once

#include <KoSim/LineSettings.h>

#include <cstddef>
#include <cstdint>
#include <optional>

namespace KoSim
{

/// The line between a device and its far end, as the far end sees it. Every operation may be called from any thread.
class ILine
{
public:
    /// Puts bytes on the line towards the device. They arrive at the pace of the line. What finds no room on the line
    /// is lost and counted in LineStatistics::mLostBytes.
    virtual void Send(const std::uint8_t* aData, std::size_t aLength) = 0;

    /// Number of bytes that Send() can take now without loss; for far ends that are able to wait.
    virtual std::size_t GetRoom() = 0;

    /// Makes the device wait with what it sends, or lets it go on: the flow control of the line, for far ends that fall
    /// behind. May be called from inside ILineEnd::Receive(). Bytes that have left the device already still arrive. A
    /// new far end finds the line released.
    ///
    /// The host of the device sees what it would see of a real one: its transmitter stays busy, and a host that waits
    /// for it gives up after a while.
    virtual void HoldBack(bool aHold) = 0;

protected:
    ~ILine() = default;
};

/// What sits at the far end of a line of a simulated device. Implement it to simulate an instrument of your own.
///
/// Attach() comes first, then Receive() for the bytes that the device sends, then Detach(). Receive() runs on the
/// thread of the device, one call at a time; it may call ILine::Send() and must not block: the device stands still
/// meanwhile.
class ILineEnd
{
public:
    /// The settings of this end, asked for before Attach(). Bytes turn to garbage in both directions while those of the
    /// device differ. Nothing for an end that follows the device.
    virtual std::optional<LineSettings> GetSettings() const { return std::nullopt; }

    /// Connects this end with its line. aLine stays valid until Detach() has returned.
    virtual void Attach(ILine& aLine) = 0;

    /// Disconnects this end; it makes no call to its line after the return.
    virtual void Detach() = 0;

    /// Takes bytes that have arrived from the device; valid during the call.
    virtual void Receive(const std::uint8_t* aData, std::size_t aLength) = 0;

    virtual ~ILineEnd() = default;
};

} // namespace KoSim
