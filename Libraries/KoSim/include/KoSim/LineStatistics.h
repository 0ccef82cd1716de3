#pragma once

#include <cstdint>

namespace KoSim
{

/// What happened on one line since the device was created. Every byte is counted somewhere.
struct LineStatistics
{
    std::uint64_t mSentBytes = 0;     ///< reached the far end
    std::uint64_t mReceivedBytes = 0; ///< came from the far end and were reported to the host or fetched by it
    std::uint64_t mLostBytes = 0;     ///< came from the far end and found no room, or no host that listened
    std::uint64_t mTxOverruns = 0;    ///< written by the host while the transmitter was still busy, and lost
};

} // namespace KoSim
