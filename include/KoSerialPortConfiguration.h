#pragma once

#include <KoParity.h>
#include <KoResult.h>
#include <KoSerialExport.h>

#include <cstdint>

/// Settings of a serial line: a plain value, unchecked until IsValid() is asked.
///
/// One object must not be changed by one thread while another uses it.
class KO_SERIAL_API KoSerialPortConfiguration
{
public:
    /// Creates 9600 bit/s, no parity, 8 data bits, 1 stop bit.
    KoSerialPortConfiguration() = default;

    /// Stores the four values as they are.
    KoSerialPortConfiguration(std::uint32_t aBaudRate, KoParity aParity, std::uint32_t aByteSize,
                              std::uint32_t aStopBits);

    /// Puts in values that IsValid() refuses: baud rate 0, parity -1, 0 data bits and 0 stop bits.
    void MakeInvalid();

    /// Checks baud rate, parity, data bits and stop bits, in this order.
    /// @return OK; INVALID_PARAMETER, logged and with a description, for the first value that is not accepted: a baud
    ///         rate other than 9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400, 460800 and 921600, a parity
    ///         outside KoParity, data bits other than 7 and 8, stop bits other than 1 and 2
    KoResult IsValid() const;

    std::uint32_t mBaudRate = 9600;  ///< bits per second
    KoParity mParity = KoParityNone; ///< parity
    std::uint32_t mByteSize = 8;     ///< data bits per byte
    std::uint32_t mStopBits = 1;     ///< stop bits
};
