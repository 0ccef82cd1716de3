#pragma once

#include "BulkWithI2C.h"

#include <memory>

namespace KoSerialLib
{

/// Drives one of the eight bulk ports of a device through GenICam features.
///
/// Bytes go out in frames, each written to the register feature "Bulk%iDownstreamData" in one access. Received bytes
/// lie in the register feature "EventBulk%iUpstreamDataBuffer"; the device layer reports them by invalidating it. A
/// frame starts with a header, whose words are big-endian on a GigE Vision device and little-endian otherwise; its
/// length on the wire is a multiple of 4.
///
/// Bulk and I2C frame: control word with the option flags in bits 31 to 28, payload length, payload.
/// SPI frame: a zero word, payload length plus 4, write count, read count, simultaneous count, control byte, payload.
class IRegisterSerialPort : public BulkWithI2C
{
public:
    /// @param aSPIMode true for the SPI frame, false for the bulk and I2C frame
    explicit IRegisterSerialPort(bool aSPIMode);

    /// Lets go of the buffers only: an engine that is open must be closed first.
    ~IRegisterSerialPort() override;

    /// True when the device has the three features of that port. Reports by log only.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// True when the device has that port and its bulk mode, as the device shows it now, offers aProtocol ("I2C",
    /// "SPI"). The bulk selector is not touched. Reports by log only.
    static bool IsProtocolSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, const KoString& aProtocol);

    /// Names of the features of a bulk port; empty for any other port.
    static KoString GetDownstreamData(KoDeviceSerial aPort);
    static KoString GetUpstreamDataBuffer(KoDeviceSerial aPort);
    static KoString GetUpstreamDataLength(KoDeviceSerial aPort);

    /// Receives what the device has put into the upstream data feature; any invalidated register makes it look there.
    void NotifyInvalidatedGenParameter(const KoString& aParameterName) override;
    KoResult Close() override;
    bool IsOpened() override;
    KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten) override;

    /// A failure closes the port again. aDevice must not be NULL.
    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort) override;

    /// As Write(). In SPI mode every frame also tells the device to clock back aReadLength bytes, while the payload
    /// goes out when aSimultaneous is true, and carries aSPIControl.
    KoResult WriteAndRead(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten,
                          std::uint32_t aReadLength, bool aSimultaneous, bool aSPIControl);

    /// Sends one frame. The frame buffer must have room for it.
    KoResult TransmitBulkOrI2C(const std::uint8_t* aData, std::uint32_t aLength);
    KoResult TransmitSPI(const std::uint8_t* aData, std::uint32_t aLength, std::uint32_t aReadLength,
                         bool aSimultaneous, bool aSPIControl);

    /// Number of bytes that fit one frame, as the device has its register now; 0 when it cannot tell, or no byte fits.
    std::uint32_t GetFramePayload();

    /// Sets the "EventNotification" entry of the upstream event of this port, and tells the one before unless aPrevious
    /// is NULL. "EventSelector" is put back on success only.
    KoResult SetEventNotification(const char* aValue, KoString* aPrevious);

    void FreeDownstreamBuffer();
    void FreeUpstreamBuffer();

protected:
    const bool mSPIMode;
    KoString mDownstreamData;
    KoString mUpstreamDataLength;
    KoString mUpstreamDataBuffer;
    std::unique_ptr<std::uint8_t[]> mDownstreamBuffer;
    std::uint32_t mDownstreamBufferSize = 0;
    std::unique_ptr<std::uint8_t[]> mUpstreamBuffer;
    std::uint32_t mUpstreamBufferSize = 0;
    KoString mPreviousEventNotification;

private:
    bool PrepareUpstreamBuffer(std::uint32_t aLength, std::uint32_t aCount);
    std::uint32_t GetHeaderSize() const;
    KoResult PrepareFrame(std::uint32_t& aPayload);
    void StoreHeader(std::uint32_t aFirst, std::uint32_t aSecond);
    KoResult SendFrame(std::uint32_t aLength);
    KoResult SwitchEnum(const KoString& aName, const KoString& aValue, KoString& aPrevious);

    std::uint32_t mUpstreamCleared = 0; ///< how many bytes of the upstream buffer have a value
};

} // namespace KoSerialLib
