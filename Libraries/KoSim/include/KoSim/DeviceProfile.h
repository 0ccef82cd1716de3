#pragma once

#include <KoSim/LineSettings.h>
#include <KoSim/Port.h>

#include <array>
#include <cstdint>
#include <string>

namespace KoSim
{

/// What a simulated device is and has.
struct DeviceProfile
{
    std::string mId = "sim";           ///< identity text
    bool mTavricVideoInterface = true; ///< sits on one of the maker's video interfaces
    bool mGigEVision = true;           ///< is a GigE Vision device
    std::uint32_t mUartCount = 2;      ///< number of UARTs, 0 to 2
    LineTiming mTiming = LineTiming::Instant;
    std::array<LineSettings, PORT_COUNT> mLines{}; ///< by port
};

} // namespace KoSim
