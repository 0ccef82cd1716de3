#pragma once

#include <chrono>
#include <cstdint>

namespace KoSim
{

/// Time of a simulated device, counted from its creation.
using Time = std::chrono::nanoseconds;

/// Whether bytes take time on a line.
///
/// An instant line is faster than any reader. The device hands received bytes to its event sinks and, as real devices,
/// is not told whether anybody reads what they collect: a far end that sends more in one go than a port's receive
/// buffer holds overwrites the oldest bytes there. Give the port a larger buffer, let the far end wait for answers, or
/// take real timing where much data comes in.
enum class LineTiming
{
    Real,    ///< each byte takes the time of its bits
    Instant, ///< no byte takes any time
};

enum class LineParity
{
    None,
    Even,
    Odd,
};

/// How a byte travels on a line.
struct LineSettings
{
    std::uint32_t mBaudRate = 115200; ///< bits per second
    LineParity mParity = LineParity::None;
    std::uint32_t mDataBits = 8;
    std::uint32_t mStopBits = 1;
};

constexpr bool operator==(const LineSettings& aLeft, const LineSettings& aRight)
{
    return aLeft.mBaudRate == aRight.mBaudRate && aLeft.mParity == aRight.mParity &&
           aLeft.mDataBits == aRight.mDataBits && aLeft.mStopBits == aRight.mStopBits;
}

/// Time that one byte takes: start bit, data bits, parity bit if any, stop bits.
constexpr Time GetByteTime(const LineSettings& aSettings)
{
    const std::uint32_t bits =
        1 + aSettings.mDataBits + (aSettings.mParity == LineParity::None ? 0 : 1) + aSettings.mStopBits;
    return Time(std::chrono::seconds(bits)) / aSettings.mBaudRate;
}

} // namespace KoSim
