#include "SimulatedSetup.h"

#include "Failure.h"
#include "PortNames.h"

#include <KoSim/CommandConsole.h>
#include <KoSim/I2cEeprom.h>
#include <KoSim/I2cThermometer.h>
#include <KoSim/Loopback.h>
#include <KoSim/MemoryImage.h>
#include <KoSim/SpiFlash.h>

#include <cerrno>
#include <iostream>
#include <system_error>

#include <fcntl.h>

namespace KoTool
{
namespace
{

constexpr std::uint8_t THERMOMETER_ADDRESS = 0x48;
constexpr std::uint8_t LARGE_EEPROM_ADDRESS = 0x50;
constexpr std::uint8_t SMALL_EEPROM_ADDRESS = 0x57;

KoSim::MemoryImage MakeImage(const char* aKey, std::size_t aSize, const std::string& aPath)
{
    try
    {
        return aPath.empty() ? KoSim::MemoryImage(aSize) : KoSim::MemoryImage(aSize, aPath);
    }
    catch (const std::exception& error)
    {
        throw Failure(std::string("device: ") + aKey + ": " + error.what());
    }
}

std::shared_ptr<KoSim::Loopback> MakeLoopback(std::uint32_t aBaudRate)
{
    if (aBaudRate == 0)
    {
        return std::make_shared<KoSim::Loopback>();
    }
    KoSim::LineSettings settings;
    settings.mBaudRate = aBaudRate;
    return std::make_shared<KoSim::Loopback>(settings);
}

KoSim::Port ToSimulatedPort(KoDeviceSerial aPort)
{
    return static_cast<KoSim::Port>(aPort);
}

const char* GetInterfaceName(KoSim::BulkInterface aInterface)
{
    switch (aInterface)
    {
    case KoSim::BulkInterface::Usrt:
        return "usrt";
    case KoSim::BulkInterface::Uart:
        return "uart";
    case KoSim::BulkInterface::I2c:
        break;
    }
    return "i2c";
}

} // namespace

SimulatedSetup::SimulatedSetup(const DeviceUri& aUri) : mUri(aUri), mDevice(aUri.mProfile)
{
    AddChips();
}

void SimulatedSetup::HoldImages()
{
    HoldImage("eeprom", mUri.mEepromFile);
    HoldImage("flash", mUri.mFlashFile);
}

void SimulatedSetup::HoldImage(const char* aKey, const std::string& aPath)
{
    if (aPath.empty())
    {
        return;
    }
    const Descriptor& file = mHeldImages.emplace_back(aPath, O_RDWR, -1);
    struct flock whole = {};
    whole.l_type = F_WRLCK;
    whole.l_whence = SEEK_SET;
    if (::fcntl(file.Get(), F_OFD_SETLK, &whole) == 0)
    {
        return;
    }
    const int error = errno;
    const std::string key = std::string("device: ") + aKey + ": ";
    throw error == EAGAIN ? Failure(key + "another program is writing to " + aPath)
                          : MakeSystemFailure(key + "cannot lock " + aPath, error);
}

LineDescription SimulatedSetup::DescribeLine(KoDeviceSerial aPort) const
{
    const KoSim::DeviceProfile& profile = mUri.mProfile;
    if (aPort <= KoDeviceSerialUart1)
    {
        return {"registers", "uart", profile.mLines.at(static_cast<std::size_t>(aPort)).mBaudRate};
    }
    if (aPort == KoDeviceSerialBulk0 && profile.mBulk0InRegisters && profile.mGigEVision)
    {
        return {"registers", GetInterfaceName(profile.mBulk0Line.mInterface), KoSim::GetBitRate(profile.mBulk0Line)};
    }
    return {"features", "uart", profile.mBulkLine.mBaudRate};
}

void SimulatedSetup::ConnectFarEnds()
{
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        mDevice.SetLineEnd(ToSimulatedPort(port), MakeFarEnd(port));
    }
}

void SimulatedSetup::DisconnectFarEnds()
{
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        mDevice.SetLineEnd(ToSimulatedPort(port), nullptr);
    }
    std::string losses;
    for (const Terminal& terminal : mTerminals)
    {
        if (const std::uint64_t lost = terminal.mLine->GetLostBytes(); lost > 0)
        {
            losses += (losses.empty() ? "" : "; ") + std::string("the program at the far end of ") +
                      terminal.mPortName + " did not read " + std::to_string(lost) + " bytes";
        }
    }
    mTerminals.clear();
    if (!losses.empty())
    {
        throw Failure(losses);
    }
}

void SimulatedSetup::AddChips()
{
    const bool isInstant = mUri.mProfile.mTiming == KoSim::LineTiming::Instant;
    const KoSim::Time writeTime = isInstant ? KoSim::Time(0) : KoSim::I2cEeprom::TYPICAL_WRITE_TIME;
    const KoSim::SpiFlash::Timing noTime{KoSim::Time(0), KoSim::Time(0)};

    const auto thermometer = std::make_shared<KoSim::I2cThermometer>();
    const auto smallEeprom = std::make_shared<KoSim::I2cEeprom>(
        KoSim::I2cEeprom::SMALL, KoSim::MemoryImage(KoSim::I2cEeprom::SMALL.mSize), writeTime);
    const auto largeEeprom = std::make_shared<KoSim::I2cEeprom>(
        KoSim::I2cEeprom::LARGE, MakeImage("eeprom", KoSim::I2cEeprom::LARGE.mSize, mUri.mEepromFile), writeTime);
    const auto flash = std::make_shared<KoSim::SpiFlash>(MakeImage("flash", KoSim::SpiFlash::SIZE, mUri.mFlashFile),
                                                         isInstant ? noTime : KoSim::SpiFlash::Timing());
    for (const KoDeviceSerial port : ALL_PORTS)
    {
        if (port >= KoDeviceSerialBulk0)
        {
            mDevice.SetI2cSlave(ToSimulatedPort(port), THERMOMETER_ADDRESS, thermometer);
            mDevice.SetI2cSlave(ToSimulatedPort(port), LARGE_EEPROM_ADDRESS, largeEeprom);
            mDevice.SetI2cSlave(ToSimulatedPort(port), SMALL_EEPROM_ADDRESS, smallEeprom);
            mDevice.SetSpiSlave(ToSimulatedPort(port), flash);
        }
    }
}

std::shared_ptr<KoSim::ILineEnd> SimulatedSetup::MakeFarEnd(KoDeviceSerial aPort)
{
    const FarEnd& farEnd = mUri.mFarEnds.at(static_cast<std::size_t>(aPort));
    switch (farEnd.mKind)
    {
    case FarEnd::Kind::Console:
        return std::make_shared<KoSim::CommandConsole>();
    case FarEnd::Kind::Loopback:
        return MakeLoopback(farEnd.mBaudRate);
    case FarEnd::Kind::Pty:
        return MakeTerminal(aPort, farEnd.mLink);
    case FarEnd::Kind::Nothing:
        break;
    }
    return nullptr;
}

std::shared_ptr<KoSim::ILineEnd> SimulatedSetup::MakeTerminal(KoDeviceSerial aPort, const std::string& aLink)
{
    try
    {
        const auto terminal = std::make_shared<KoSim::PtyLine>(aLink);
        mTerminals.push_back({GetPortName(aPort), terminal});
        if (aLink.empty())
        {
            std::cerr << "koserial: the far end of " << GetPortName(aPort) << " is " << terminal->GetPath()
                      << std::endl;
        }
        return terminal;
    }
    catch (const std::system_error& error)
    {
        throw Failure(std::string("far end of ") + GetPortName(aPort) + ": " + error.what());
    }
}

} // namespace KoTool
