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
