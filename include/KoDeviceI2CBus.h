#pragma once

#include <KoDeviceSerial.h>
#include <KoResult.h>
#include <KoSerialExport.h>

#include <cstdint>
#include <memory>

class IKoDeviceAdapter;

namespace KoSerialLib
{
class DeviceI2CBus;
}

/// An I2C bus master on a bulk port of a device.
///
/// An object is unopened until Open(), and may be opened again after Close(). Addresses are 7-bit slave addresses, not
/// shifted; a higher bit is dropped by writes. Fast mode is 400 kHz, otherwise the bus runs at 100 kHz.
///
/// @par Errors of every transfer
/// NOT_OPENED: Open was never called. NOT_CONNECTED: the bus is closed, or the device is not connected. TIMEOUT: the
/// device did not take the request, or did not deliver all bytes, in time. Anything else is what the device answered.
///
/// @par Threads
/// One thread at a time uses an object.
class KO_SERIAL_API KoDeviceI2CBus
{
public:
    /// Creates an unopened bus.
    KoDeviceI2CBus();

    /// Closes the bus if it is open. The device must still exist and be connected then.
    ~KoDeviceI2CBus();

    KoDeviceI2CBus(const KoDeviceI2CBus&) = delete;
    KoDeviceI2CBus& operator=(const KoDeviceI2CBus&) = delete;

    /// Opens the bus on a bulk port. Close an open bus first: opening it again gives up its hold on the old port, which
    /// then stays in use until the process ends.
    ///
    /// Opening an object on Bulk1 to Bulk7 leaks what its opening before had allocated (the receive buffer of 16 KiB
    /// and a little more), even if the bus was closed. Where buses are opened again and again, use a new object each
    /// time; opening on Bulk0 leaks nothing.
    /// @param aDevice the device; not owned; must outlive the open bus
    /// @param aPort the bulk port
    /// @return
    /// - OK: the bus is open
    /// - NOT_SUPPORTED: the device offers no I2C on that port
    /// - INVALID_PARAMETER: the port is no bulk port, or offers I2C in a way that only Bulk0 has
    /// - NOT_CONNECTED: the device is not connected
    /// - GENERIC_ERROR: the port is in use, or an access to the device failed
    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Closes the bus. @return OK; NOT_OPENED: Open was never called; NOT_CONNECTED: closed already, or the device is
    /// not connected
    KoResult Close();

    /// True while the bus is open.
    bool IsOpened();

    /// True when the device is connected and offers I2C on that port. Any thread may ask.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Writes bytes to a slave. The device does not tell whether the slave has acknowledged them.
    KoResult BurstWrite(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength, bool aFastMode);

    /// Writes a register offset and then bytes to a slave.
    KoResult IndirectBurstWrite(std::uint8_t aAddress, std::uint8_t aOffset, const std::uint8_t* aData,
                                std::uint32_t aLength, bool aFastMode);

    /// Reads bytes from a slave. Received bytes that nobody has read are dropped first. Each wait for bytes is 50 ms,
    /// more from 11112 bytes on (44445 in fast mode). A slave that does not acknowledge sends nothing, which is the
    /// only way to notice that.
    /// @param aLength number of bytes, at most 65535; beyond 16383, which is what the receive buffer holds, bytes are
    ///                lost when they come faster than the calling thread takes them
    /// @param[out] aBytesRead number of bytes that came, also after a TIMEOUT
    KoResult BurstRead(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                       bool aFastMode);

    /// Writes a register offset to a slave, then reads bytes from it as BurstRead() does.
    /// @param aRepeatedStart true leaves out the stop condition between the two
    KoResult IndirectBurstRead(std::uint8_t aAddress, std::uint8_t aOffset, std::uint8_t* aBuffer,
                               std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode, bool aRepeatedStart);

    /// Writes bytes to a slave. @param aStop true ends the transfer with a stop condition
    KoResult MasterTransmitter(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength, bool aFastMode,
                               bool aStop);

    /// Reads bytes from a slave as BurstRead() does. @param aStop true ends the transfer with a stop condition
    KoResult MasterReceiverAfterFirstByte(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                          std::uint32_t& aBytesRead, bool aFastMode, bool aStop);

private:
    std::unique_ptr<KoSerialLib::DeviceI2CBus> mImpl;
};
