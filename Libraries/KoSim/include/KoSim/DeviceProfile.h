#pragma once

#include <KoSim/BulkLine.h>
#include <KoSim/KoSimExport.h>
#include <KoSim/LineSettings.h>

#include <array>
#include <cstdint>
#include <string>

namespace KoSim
{

/// The features of one bulk port.
struct BulkFeatures
{
    bool mPresent = true;
    std::int64_t mDownstreamLength = 1024; ///< longest frame that the host can write, in bytes
    std::int64_t mUpstreamLength = 512;    ///< longest block that the host can read, in bytes
};

/// What a simulated device is and has.
struct KO_SIM_API DeviceProfile
{
    /// Two UARTs; bulk port 0 in the register block and all eight bulk ports in features, with a selector. This is what
    /// a default profile is, too.
    static DeviceProfile FullDevice();

    /// Two UARTs and nothing else.
    static DeviceProfile UartOnly();

    /// A full device without "BulkSelector".
    static DeviceProfile NoBulkSelector();

    /// A full device that is not a GigE Vision device, so that its ports are in features only, with little-endian
    /// frames.
    static DeviceProfile NotGigEVision();

    /// A full device whose downstream registers hold frames of 30 bytes only, which is not a multiple of 4.
    static DeviceProfile TinyDownstreamRegister();

    /// Identity text. Without one a device gets a text that no other device of the process has had: "sim" is the first
    /// one, then come "sim-2", "sim-3" and so on. Two devices with the same text are one device to whoever asks for it:
    /// a port that is open on the one is in use on the other.
    std::string mId{};

    bool mTavricVideoInterface = true; ///< sits on one of the maker's video interfaces
    bool mGigEVision = true;           ///< is a GigE Vision device
    LineTiming mTiming = LineTiming::Instant;

    std::uint32_t mUartCount = 2;         ///< number of UARTs, 0 to 2
    std::array<LineSettings, 2> mLines{}; ///< by UART

    bool mBulk0InRegisters = true;        ///< bulk port 0 is in the register block
    bool mBulk0RunsI2c = true;            ///< and can run I2C there
    BulkLine mBulk0Line{};                ///< what its configuration register holds at first
    std::uint16_t mBulk0EventId = 0x9000; ///< identifier of its events: 0x9000 or 0x9001

    std::array<BulkFeatures, 8> mBulkFeatures{}; ///< by bulk port
    LineSettings mBulkLine{};                    ///< how bytes travel on the lines of the bulk ports in features
    bool mHasBulkSelector = true;                ///< "BulkSelector" says which bulk port "BulkMode" is about
};

} // namespace KoSim
