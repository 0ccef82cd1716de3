#pragma once

#include "BulkWithI2C.h"

#include <KuUtilsLib/Event.h>

#include <array>

namespace KoSerialLib
{

/// Drives bulk port 0 of a device through its serial register block.
///
/// Bytes go out in chunks that fit the transmit FIFO of the device: the first fills it, each later one fills the space
/// that the device has reported free by the partially-empty interrupt. Every wait is bounded by a time that follows
/// from the line rate, which is read from the device when the port is opened. Received bytes come in events.
///
/// Before each chunk the engine takes back what interrupts have signalled, then it transmits, then it waits. An
/// interrupt that arrives between the two, because this thread or that of the device is late, is about the chunk before
/// but ends the wait after this one, with two effects:
/// - A further chunk goes out before the device has asked for it. A device can allow for that where two later chunks
///   fit the FIFO, that is with a reserve of 124 bytes or more (123 on I2C), as KoSim's does. With a smaller reserve,
///   or another device, the end of that chunk can be lost.
/// - When it is the empty interrupt and this chunk the last, Write() returns while bytes are in the FIFO, and the first
///   chunk of a write that follows at once can be lost in part. The same happens when the final wait times out, which
///   fails no write: 256 bytes at 9600 bit/s with doubled time take longer than it lasts.
///
/// Nothing reports such a loss. It takes a thread that is late by the time of about as many bytes as the reserve has,
/// so a larger reserve makes it rarer. What rules it out: writes that are one chunk each, up to 256 bytes (254 on I2C),
/// whose final wait does not time out; or such a device and reserve and, before each write after a longer one, a pause
/// in which the FIFO drains, 256 bytes' time, and its interrupts arrive.
///
/// A wait that times out says that no interrupt has been delivered in time. A device thread that gets no CPU for that
/// long, 300 ms on most lines, looks the same as a device that does not answer; its late interrupts then fall into
/// whatever is written next, so that a retry needs the pause too.
class BulkIPEngine : public BulkWithI2C
{
public:
    BulkIPEngine();

    /// True when the device offers that port, which can only be bulk port 0, through its register block. Reports by log
    /// only.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// True when that port can run I2C through the register block. Reports by log only.
    static bool IsI2CSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId, std::uint64_t aTimestamp,
                     const void* aData, std::uint32_t aDataLength) override;
    KoResult Close() override;
    bool IsOpened() override;
    KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten) override;

    /// A failure after the port was claimed undoes nothing: the port is held and IsOpened() is true until Close().
    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort) override;

    /// Hands one chunk to the device; does not wait.
    KoResult Transmit(const std::uint8_t* aData, std::uint32_t aLength);

    /// Number of bytes that the device takes in one piece when a write begins.
    std::uint32_t GetFirstChunkSize() const { return mFirstChunkSize; }

    /// Enables the five interrupts of this port, or, when aRestore is true, puts their enable bits back.
    KoResult EnableInterrupts(bool aRestore);

    /// Resets the FIFOs of the device.
    KoResult Reset();

    /// Milliseconds to wait after a chunk of aLength bytes was handed over.
    std::uint32_t GetTransmitTimeout(std::uint32_t aLength);

    /// Takes the time per byte, in milliseconds as this engine counts them, from the configuration of the port.
    void UpdateTimePerByte();
    double GetTimePerByteUART();
    double GetTimePerByteUSRT();
    double GetTimePerByteI2C();

    /// Takes the chunk sizes from the configuration of the port.
    void UpdateTxSizes();

protected:
    std::array<bool, 5> mSavedIntEnable{};
    KuUtilsLib::Event mTxFifoEmptyEvent;
    KuUtilsLib::Event mTxFifoPartialEvent;
    std::uint32_t mFirstChunkSize;
    std::uint32_t mChunkSize;
    double mTimePerByte;
    std::uint32_t mBulkConfig = 0;
    std::uint32_t mBulkClockDivider = 0;

private:
    std::uint32_t GetInterface() const;
    std::uint32_t GetRateIndex() const;
    KoResult SendChunks(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten,
                        std::uint32_t& aTimeoutMs);
};

} // namespace KoSerialLib
