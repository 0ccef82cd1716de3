#pragma once

#include <KoSim/DeviceProfile.h>
#include <KoSim/Port.h>

#include <array>
#include <cstdint>
#include <string>

namespace KoTool
{

/// What sits at the far end of a line of a simulated device.
struct FarEnd
{
    enum class Kind
    {
        Console,
        Loopback,
        Pty,
        Nothing,
    };

    Kind mKind = Kind::Loopback;
    std::string mLink;           ///< of a pseudo-terminal: where to put the symbolic link; empty for none
    std::uint32_t mBaudRate = 0; ///< of a loopback that does not follow the rate of the device; 0 for one that does
};

/// What `--device` asks for: `sim[:PROFILE][,KEY=VALUE...]`.
///
/// The profiles are `full` (the default), `uart-only`, `no-bulk-selector`, `not-gige-vision` and `tiny-downstream`.
///
/// | key | values |
/// |---|---|
/// | `uart0`, `uart1`, `bulk0` to `bulk7` | `console`, `loopback`, `loopback:RATE`, `pty`, `pty:LINK`, `null` |
/// | `timing` | `real`, `instant` |
/// | `baud` | 50 to 4000000, for the lines whose rate the registers do not set |
/// | `id` | any text without a comma |
/// | `eeprom`, `flash` | path of the file that holds the contents of the larger EEPROM, of the flash |
struct DeviceUri
{
    DeviceUri();

    KoSim::DeviceProfile mProfile;
    std::array<FarEnd, KoSim::PORT_COUNT> mFarEnds; ///< by port; a console on UART0, loopbacks elsewhere
    std::string mEepromFile;                        ///< empty for contents that are gone with the device
    std::string mFlashFile;                         ///< the same
};

/// @throws Failure with STATUS_USAGE, saying what is accepted, for a text that names no device
DeviceUri ParseDeviceUri(const std::string& aText);

} // namespace KoTool
