#pragma once

#include "Bytes.h"

#include <KoDeviceSPIBus.h>
#include <KoDeviceSerial.h>

#include <cstdint>
#include <functional>
#include <string>

class IKoDeviceAdapter;

namespace KoTool
{

class SimulatedSetup;

/// An SPI bus that is open.
class OpenSpiBus
{
public:
    /// @param aDevice the device; must outlive the object
    /// @param aPort a bulk port
    /// @throws Failure when the bus cannot be opened
    OpenSpiBus(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort);

    /// Closes the bus if it is open; gives it up when the device is gone.
    ~OpenSpiBus();

    OpenSpiBus(const OpenSpiBus&) = delete;
    OpenSpiBus& operator=(const OpenSpiBus&) = delete;

    /// Most bytes that a transfer can write.
    std::uint32_t GetLongestWrite() const { return mLongestWrite; }

    /// Selects the slave, writes bytes, then reads bytes.
    /// @param aReadLength number of bytes to read, 0 to 255
    /// @throws Failure, also when not all bytes come; before anything is sent when aData is too long
    Bytes Transfer(const Bytes& aData, std::uint32_t aReadLength);

    /// Selects the slave, writes bytes and reads one with each of them.
    /// @throws Failure as Transfer() does
    Bytes Exchange(const Bytes& aData);

    /// @throws Failure
    void Close();

private:
    Bytes Execute(Bytes aData, std::uint32_t aReadLength, bool aSimultaneous);
    Bytes Collect(std::uint32_t aLength);

    const std::string mName;
    const std::uint32_t mLongestWrite;
    KoDeviceSPIBus mBus;
};

/// Puts a port into SPI mode, runs aAction on the bus, and puts the port back into the mode that it had.
void WithSpiBus(SimulatedSetup& aSetup, KoDeviceSerial aPort, const std::function<void(OpenSpiBus&)>& aAction);

} // namespace KoTool
