#pragma once

#include <KoSim/LineSettings.h>

#include <cstdint>

namespace KoSim
{

/// What happened on one line since the device was created. Every byte is counted somewhere.
struct LineStatistics
{
    std::uint64_t mSentBytes = 0;     ///< reached the far end
    std::uint64_t mReceivedBytes = 0; ///< came from the far end and were reported to the host or fetched by it
    std::uint64_t mLostBytes = 0;     ///< came from the far end and found no room, or no host that listened
    std::uint64_t mTxOverruns = 0;    ///< handed over by the host and lost: the transmitter had no room, or was reset

    /// Arrived as garbage, at the device or at the far end, because the two do not agree on the settings of the line.
    std::uint64_t mFramingErrors = 0;

    std::uint64_t mMalformedFrames = 0; ///< written by the host to a bulk port in features, and dropped

    /// @name Bulk port 0 in the register block, with LineTiming::Real
    /// @{
    Time mBusyTime{0};            ///< during which bytes went out
    Time mIdleTime{0};            ///< between two bytes, during which the transmitter had nothing to send
    std::uint64_t mUnderruns = 0; ///< how often that happened
    /// @}
};

/// The sum, member by member.
constexpr LineStatistics operator+(const LineStatistics& aLeft, const LineStatistics& aRight)
{
    LineStatistics sum = aLeft;
    sum.mSentBytes += aRight.mSentBytes;
    sum.mReceivedBytes += aRight.mReceivedBytes;
    sum.mLostBytes += aRight.mLostBytes;
    sum.mTxOverruns += aRight.mTxOverruns;
    sum.mFramingErrors += aRight.mFramingErrors;
    sum.mMalformedFrames += aRight.mMalformedFrames;
    sum.mBusyTime += aRight.mBusyTime;
    sum.mIdleTime += aRight.mIdleTime;
    sum.mUnderruns += aRight.mUnderruns;
    return sum;
}

} // namespace KoSim
