#pragma once

#include <KoDeviceSerial.h>
#include <KoSerialExport.h>
#include <KoString.h>

#include <cstdint>

/// Observes the traffic of every serial port of every device in the process.
///
/// Derive from it, override what is of interest and pass the object to KoDeviceSerialPort::RegisterEchoSink().
///
/// Every operation runs on the thread that makes the transfer, one call at a time for the whole process, while a lock
/// is held that every transfer takes: return soon, and never read, write, register or unregister from inside. The port
/// name is the identity text of the device. The timestamp is in milliseconds of a monotonic clock, which moves on with
/// the tick of the kernel, every 1 to 10 ms: take a time of your own where less counts.
class KO_SERIAL_API KoDeviceSerialPortEchoSink
{
public:
    KoDeviceSerialPortEchoSink() = default;
    virtual ~KoDeviceSerialPortEchoSink();

    /// Reports bytes that a successful write has sent; a write of 0 bytes is reported with length 0.
    /// @param aPortName identity text of the device
    /// @param aPort port on that device
    /// @param aData the bytes, valid during the call; may be NULL when aLength is 0
    /// @param aLength number of bytes
    /// @param aTimestamp time of the report in milliseconds
    virtual void OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData,
                               std::uint32_t aLength, std::uint64_t aTimestamp);

    /// Reports bytes that a read has handed to the application; a read whose wait ran out is reported with length 0,
    /// one with time-out 0 that finds nothing is not reported. Parameters as for OnTransmitted().
    virtual void OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData,
                        std::uint32_t aLength, std::uint64_t aTimestamp);

    /// Reports that the application marked the end of a sequence of reads.
    virtual void OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t aTimestamp);
};
