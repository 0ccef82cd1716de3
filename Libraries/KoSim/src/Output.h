#pragma once

#include <KoSim/LineSettings.h>
#include <KoSim/Port.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <iterator>
#include <string>
#include <variant>
#include <vector>

namespace KoSim
{

class PortModel;

/// An event that the device sends to its host.
struct EventOutput
{
    Port mPort; ///< the port that it is about
    std::uint16_t mEventId;
    Time mTime;
    std::size_t mReceivedBytes; ///< number of bytes from the line that the payload carries
    std::vector<std::uint8_t> mPayload;
    std::uint64_t mBlock = 0; ///< the block of the host that it is about, counted from 1; 0 when it is about none
};

/// Bytes that have reached the far end of a line.
struct LineOutput
{
    Port mPort;
    PortModel* mSender; ///< is told when the bytes have been carried there
    std::vector<std::uint8_t> mBytes;
};

/// A watched feature that has changed.
struct InvalidationOutput
{
    std::string mFeature;
};

using Output = std::variant<EventOutput, LineOutput, InvalidationOutput>;

/// What a device has to tell the outside world, in order.
using OutputQueue = std::deque<Output>;

/// Appends a 32-bit little-endian word to the payload of an event.
inline void AppendWord(std::vector<std::uint8_t>& aPayload, std::uint32_t aWord)
{
    const std::uint8_t bytes[] = {static_cast<std::uint8_t>(aWord), static_cast<std::uint8_t>(aWord >> 8),
                                  static_cast<std::uint8_t>(aWord >> 16), static_cast<std::uint8_t>(aWord >> 24)};
    aPayload.insert(aPayload.end(), std::begin(bytes), std::end(bytes));
}

} // namespace KoSim
