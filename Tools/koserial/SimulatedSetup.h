#pragma once

#include "Descriptor.h"
#include "DeviceUri.h"

#include <KoDeviceSerial.h>
#include <KoSim/ILineEnd.h>
#include <KoSim/PtyLine.h>
#include <KoSim/SimulatedDevice.h>

#include <cstdint>
#include <list>
#include <memory>
#include <string>
#include <vector>

namespace KoTool
{

/// How a device carries a port.
struct LineDescription
{
    std::string mEngine;    ///< "registers" or "features"
    std::string mInterface; ///< "uart", "usrt" or "i2c"
    std::uint32_t mBitRate;
};

/// A simulated device with the chips on its buses and the far ends of its lines, as a device URI describes them. Lives
/// as long as the command.
///
/// Every bulk port leads to the same chips: a thermometer (0x48), an EEPROM of 32 KiB (0x50) and one of 256 bytes
/// (0x57) while it is in I2C mode, and a flash of 1 MiB while it is in SPI mode.
class SimulatedSetup
{
public:
    /// @throws Failure when the file of a chip cannot be used
    explicit SimulatedSetup(const DeviceUri& aUri);

    SimulatedSetup(const SimulatedSetup&) = delete;
    SimulatedSetup& operator=(const SimulatedSetup&) = delete;

    KoSim::SimulatedDevice& GetDevice() { return mDevice; }

    /// Keeps the files of the chips for this command, as one that writes to the chips should: another one that asks for
    /// them is refused until the end of this object. Reading them takes no hold.
    /// @throws Failure when another program has taken one
    void HoldImages();

    /// How the device carries a port that it offers.
    LineDescription DescribeLine(KoDeviceSerial aPort) const;

    /// Puts the far ends on the lines: from now on they send and receive. A pseudo-terminal appears now, and its path
    /// goes to standard error when no link leads to it.
    /// @throws Failure when a pseudo-terminal or its link cannot be made
    void ConnectFarEnds();

    /// Takes the far ends off the lines. Blocks while a program at a pseudo-terminal still reads.
    /// @throws Failure when that program did not read everything
    void DisconnectFarEnds();

private:
    struct Terminal
    {
        std::string mPortName;
        std::shared_ptr<KoSim::PtyLine> mLine;
    };

    void AddChips();
    void HoldImage(const char* aKey, const std::string& aPath);
    std::shared_ptr<KoSim::ILineEnd> MakeFarEnd(KoDeviceSerial aPort);
    std::shared_ptr<KoSim::ILineEnd> MakeTerminal(KoDeviceSerial aPort, const std::string& aLink);

    const DeviceUri mUri;
    std::vector<Terminal> mTerminals;
    std::list<Descriptor> mHeldImages;
    KoSim::SimulatedDevice mDevice;
};

} // namespace KoTool
