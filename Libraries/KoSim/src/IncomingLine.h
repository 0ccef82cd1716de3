#pragma once

#include <KoSim/LineSettings.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <vector>

namespace KoSim
{

/// The bytes on their way from the far end of a line to the device.
///
/// They arrive at the pace of the line. The line has flow control: while the device takes nothing, the far end waits.
class IncomingLine
{
public:
    void SetByteTime(Time aByteTime) { mByteTime = aByteTime; }

    /// Puts bytes on the line at the far end. Returns the number of those that found no room.
    std::size_t Put(const std::uint8_t* aData, std::size_t aLength, Time aNow);

    /// Number of bytes for which there is room.
    std::size_t GetRoom() const;

    /// Number of bytes on the line.
    std::size_t GetSize() const { return mBytes.size(); }

    bool IsEmpty() const { return mBytes.empty(); }

    /// Takes at most aLimit bytes that have arrived.
    std::vector<std::uint8_t> Take(std::size_t aLimit, Time aNow);

    /// Makes the far end, if it has a byte to send, wait with it until the next Take().
    void Hold() { mHeld = !mBytes.empty(); }

    /// When the next byte has arrived.
    Time GetNextArrival() const { return mHeld ? Time(0) : mNextArrival; }

private:
    Time mByteTime{0};
    std::deque<std::uint8_t> mBytes; ///< oldest first
    Time mNextArrival{0};
    bool mHeld = false;
};

} // namespace KoSim
