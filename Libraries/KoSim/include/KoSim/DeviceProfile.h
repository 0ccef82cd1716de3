#pragma once

#include <KoSim/BulkLine.h>
#include <KoSim/LineSettings.h>

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
    LineTiming mTiming = LineTiming::Instant;

    std::uint32_t mUartCount = 2;             ///< number of UARTs, 0 to 2
    std::array<LineSettings, 2> mLines{}; ///< by UART

    bool mBulk0InRegisters = true;        ///< bulk port 0 is in the register block
    bool mBulk0RunsI2c = true;            ///< and can run I2C there
    BulkLine mBulk0Line{};                ///< what its configuration register holds at first
    std::uint16_t mBulk0EventId = 0x9000; ///< identifier of its events: 0x9000 or 0x9001
};

} // namespace KoSim
