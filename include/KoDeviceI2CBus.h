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
/// @par How much goes out as one transfer
/// A write is one transfer on the bus only as long as address and data go to the device in one piece. Beyond that the
/// device makes several transfers of it: the first byte of each further piece is taken for an address, so that data
/// reaches other slaves. A piece has 254 bytes where Bulk0 runs I2C through registers, which leaves 253 bytes of data,
/// or 252 after an offset. Otherwise it is as long as the feature "Bulk%iDownstreamData", at most 16384 bytes, less 8:
/// a register of 512 bytes leaves 503 bytes of data, or 502 after an offset. Nothing refuses a longer write.
///
/// @par When the device is unplugged
/// Everything said of KoDeviceSerialPort holds here: the bus stays open and holds its port until the device is back or
/// Abandon() is called.
///
/// @par Threads
/// One thread at a time uses an object.
class KO_SERIAL_API KoDeviceI2CBus
{
public:
    /// Creates an unopened bus.
    KoDeviceI2CBus();

    /// Closes the bus if it is open. The device must still exist and be connected then: otherwise it goes on to deliver
    /// to memory that was freed, and the port stays in use until the process ends. Abandon() such a bus first.
    ~KoDeviceI2CBus();

    KoDeviceI2CBus(const KoDeviceI2CBus&) = delete;
    KoDeviceI2CBus& operator=(const KoDeviceI2CBus&) = delete;

    /// Opens the bus on a bulk port. Close or abandon an open bus first: opening it again discards what it had. The old
    /// port then stays in use until the process ends, and its device goes on to deliver to it, on Bulk0 to memory that
    /// was freed. A library that was built with KO_CHECK_CONTRACT ends the process with a message instead.
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
    [[nodiscard]] KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Closes the bus. @return OK; NOT_OPENED: Open was never called; NOT_CONNECTED: closed already, or the device is
    /// not connected
    KoResult Close();

    /// Gives up a bus whose device is gone, as KoDeviceSerialPort::Abandon() does. Does nothing when it is not open.
    void Abandon();

    /// True while the bus is open.
    bool IsOpened();

    /// True when the device is connected and offers I2C on that port. Any thread may ask.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Writes bytes to a slave. The device does not tell whether the slave has acknowledged them.
    /// @param aLength number of bytes; more than what goes out as one transfer (see above) reaches other slaves
    [[nodiscard]] KoResult BurstWrite(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                      bool aFastMode);

    /// Writes a register offset and then bytes to a slave.
    /// @param aLength number of bytes; more than what goes out as one transfer (see above) reaches other slaves
    [[nodiscard]] KoResult IndirectBurstWrite(std::uint8_t aAddress, std::uint8_t aOffset, const std::uint8_t* aData,
                                              std::uint32_t aLength, bool aFastMode);

    /// Reads bytes from a slave. Received bytes that nobody has read are dropped first. Each wait for bytes is 50 ms,
    /// more from 11112 bytes on (44445 in fast mode). A slave that does not acknowledge sends nothing, which is the
    /// only way to notice that.
    ///
    /// After a TIMEOUT the rest of the answer may still be under way, and then answers the next read, even one of
    /// another slave: wait until nothing can come any more before reading again. An answer that is too early is not
    /// noticed.
    /// @param aLength number of bytes, at most 65535; beyond 16383, which is what the receive buffer holds, bytes are
    ///                lost when they come faster than the calling thread takes them
    /// @param[out] aBytesRead number of bytes that came, also after a TIMEOUT
    [[nodiscard]] KoResult BurstRead(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                     std::uint32_t& aBytesRead, bool aFastMode);

    /// Writes a register offset to a slave, then reads bytes from it as BurstRead() does.
    /// @param aRepeatedStart true leaves out the stop condition between the two
    [[nodiscard]] KoResult IndirectBurstRead(std::uint8_t aAddress, std::uint8_t aOffset, std::uint8_t* aBuffer,
                                             std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode,
                                             bool aRepeatedStart);

    /// Writes bytes to a slave as BurstWrite() does. @param aStop true ends the transfer with a stop condition
    [[nodiscard]] KoResult MasterTransmitter(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                             bool aFastMode, bool aStop);

    /// Reads bytes from a slave as BurstRead() does. @param aStop true ends the transfer with a stop condition
    [[nodiscard]] KoResult MasterReceiverAfterFirstByte(std::uint8_t aAddress, std::uint8_t* aBuffer,
                                                        std::uint32_t aLength, std::uint32_t& aBytesRead,
                                                        bool aFastMode, bool aStop);

    /// Most bytes of data, with a register offset counted among them, that a write carries in one transfer (see above);
    /// 0 when the bus is not open or the device does not tell. On a port in features this asks the device.
    std::uint32_t GetLongestWrite();

private:
    std::unique_ptr<KoSerialLib::DeviceI2CBus> mImpl;
};
