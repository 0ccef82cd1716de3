#pragma once

#include <KoDeviceSerial.h>
#include <KoResult.h>
#include <KoSerialExport.h>

#include <cstdint>
#include <memory>

class IKoDeviceAdapter;

namespace KoSerialLib
{
class DeviceSPIBus;
}

/// An SPI bus master on a bulk port of a device whose bulk mode offers "SPI".
///
/// A transfer is BurstWriteAndRead(); the bytes that it clocks in are collected with BurstRead(). An object is unopened
/// until Open(), and may be opened again after Close().
///
/// @par How much goes out as one transfer
/// A transfer is one selection of the slave only as long as its bytes go to the device in one frame: the length of the
/// feature "Bulk%iDownstreamData", at most 16384 bytes, less 12, so 500 bytes for a register of 512. Where a register
/// is shorter than 267 bytes, a longer transfer goes out as several frames, each of which selects the slave anew,
/// starts a command of its own and asks for all the bytes to read once more. Nothing refuses such a transfer.
///
/// @par When the device is unplugged
/// Everything said of KoDeviceSerialPort holds here: the bus stays open and holds its port until the device is back or
/// Abandon() is called.
///
/// @par Threads
/// One thread at a time uses an object.
class KO_SERIAL_API KoDeviceSPIBus
{
public:
    /// Creates an unopened bus.
    KoDeviceSPIBus();

    /// Closes the bus if it is open. The device must still exist and be connected then: otherwise it goes on to deliver
    /// to memory that was freed, and the port stays in use until the process ends. Abandon() such a bus first.
    ~KoDeviceSPIBus();

    KoDeviceSPIBus(const KoDeviceSPIBus&) = delete;
    KoDeviceSPIBus& operator=(const KoDeviceSPIBus&) = delete;

    /// Opens the bus on a bulk port. Close or abandon an open bus first: opening it again discards what it had. The old
    /// port then stays in use until the process ends, and its device goes on to deliver to it, to memory that was
    /// freed. A library that was built with KO_CHECK_CONTRACT ends the process with a message instead.
    /// @param aDevice the device; not owned; must outlive the open bus
    /// @param aPort the bulk port
    /// @return
    /// - OK: the bus is open
    /// - NOT_SUPPORTED: the device offers no SPI on that port
    /// - NOT_CONNECTED: the device is not connected
    /// - GENERIC_ERROR: the port is in use, or an access to the device failed
    [[nodiscard]] KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Closes the bus. @return OK; NOT_OPENED: Open was never called; NOT_CONNECTED: closed already, or the device is
    /// not connected
    KoResult Close();

    /// Gives up a bus whose device is gone, as KoDeviceSerialPort::Abandon() does. Does nothing when it is not open.
    void Abandon();

    /// True while the bus is open.
    bool IsOpened();

    /// True when the device is connected and offers SPI on that port. Any thread may ask.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Sends bytes and asks for bytes back.
    /// @param aData the bytes to send; may be NULL when aWriteLength is 0
    /// @param aWriteLength number of bytes to send, 0 to 255
    /// @param aReadLength number of bytes to clock in, 0 to 255
    /// @param aSimultaneous true clocks a byte in with each byte that goes out
    /// @param aSPIControl passed on to the device
    /// @return OK; NOT_OPENED: Open was never called; INVALID_PARAMETER: a length above 255; NOT_CONNECTED: the bus is
    ///         closed, or the device is not connected; anything else is what the device answered
    [[nodiscard]] KoResult BurstWriteAndRead(std::uint8_t* aData, std::uint32_t aWriteLength, std::uint32_t aReadLength,
                                             bool aSimultaneous, bool aSPIControl);

    /// Collects bytes that transfers have clocked in; returns as soon as there is at least one. Bytes that nobody has
    /// collected, those of a read that timed out included, stay and answer the next call.
    /// @param[out] aBuffer where the bytes go; room for one byte at least
    /// @param aLength most bytes to take; there is no limit of 255 here
    /// @param[out] aBytesRead number of bytes taken
    /// @param aTimeoutMs how long to wait for the first byte, in milliseconds; 0 does not wait
    /// @return OK; NOT_OPENED: Open was never called; TIMEOUT: nothing came in time
    [[nodiscard]] KoResult BurstRead(std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                                     std::uint32_t aTimeoutMs);

    /// Most bytes that one transfer writes (see above), at most 255; 0 when the bus is not open or the device does not
    /// tell. This asks the device.
    std::uint32_t GetLongestWrite();

private:
    std::unique_ptr<KoSerialLib::DeviceSPIBus> mImpl;
};
