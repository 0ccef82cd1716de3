#include "IRegisterSerialPort.h"

#include "Logging.h"

#include <KuUtilsLib/LockScope.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <limits>
#include <new>

namespace KoSerialLib
{
namespace
{

constexpr std::uint32_t BULK_HEADER_SIZE = 8;
constexpr std::uint32_t SPI_HEADER_SIZE = 12;
constexpr std::uint32_t SPI_COMMAND_SIZE = 4;
constexpr std::int64_t LARGEST_FRAME = 16384;
constexpr std::uint32_t IDLE_TIMEOUT_MS = 1000;

constexpr std::uint32_t CONTROL_OPTION_9 = 0x80000000;
constexpr std::uint32_t CONTROL_OPTION_10 = 0x40000000;
constexpr std::uint32_t CONTROL_OPTION_11 = 0x20000000;
constexpr std::uint32_t CONTROL_OPTION_12 = 0x10000000;

/// aPattern with the number of the bulk port in it.
KoString FormatName(const char* aPattern, KoDeviceSerial aPort)
{
    std::array<char, 256> text{};
    std::snprintf(text.data(), text.size(), aPattern, aPort - KoDeviceSerialBulk0);
    return KoString(text.data());
}

/// The name of a feature of aPort; empty when that is not a bulk port.
KoString GetFeatureName(const char* aPattern, KoDeviceSerial aPort)
{
    const bool isBulk = static_cast<std::uint32_t>(aPort) - KoDeviceSerialBulk0 <= 7;
    return isBulk ? FormatName(aPattern, aPort) : KoString();
}

constexpr std::uint32_t RoundUpToWord(std::uint32_t aLength)
{
    return (aLength + 3) & ~3U;
}

/// How both support tests begin; aFunction is the one that asks.
bool CheckAdapter(const char* aFunction, IKoDeviceAdapter* aDevice, KuUtilsLib::Logger& aLogger)
{
    if (aDevice == nullptr)
    {
        KO_LOG_IN(aFunction, aLogger, LOG_ERROR, "Device pointer is NULL.");
        return false;
    }
    if (!aDevice->IsConnected())
    {
        KO_LOG_IN(aFunction, aLogger, LOG_ERROR, "The device is not currently connected.");
        return false;
    }
    return true;
}

} // namespace

IRegisterSerialPort::IRegisterSerialPort(bool aSPIMode) : mSPIMode(aSPIMode) {}

IRegisterSerialPort::~IRegisterSerialPort()
{
    FreeDownstreamBuffer();
    FreeUpstreamBuffer();
}

bool IRegisterSerialPort::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    if (!CheckAdapter(__func__, aDevice, logger))
    {
        return false;
    }
    if (!aDevice->IsTavricVideoInterface())
    {
        KO_LOG(logger, LOG_ERROR, "The device is not on a Tavric video interface.");
        return false;
    }
    const bool hasDownstreamData = aDevice->IsGenRegisterPresent(GetDownstreamData(aPort));
    const bool hasUpstreamDataLength = aDevice->IsGenIntegerPresent(GetUpstreamDataLength(aPort));
    const bool hasUpstreamDataBuffer = aDevice->IsGenRegisterPresent(GetUpstreamDataBuffer(aPort));
    return hasDownstreamData && hasUpstreamDataLength && hasUpstreamDataBuffer;
}

bool IRegisterSerialPort::IsProtocolSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort,
                                              const KoString& aProtocol)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    return CheckAdapter(__func__, aDevice, logger) && IsSupported(aDevice, aPort) &&
           aDevice->IsGenEnumEntryAvailable(KoString("BulkMode"), aProtocol);
}

KoString IRegisterSerialPort::GetDownstreamData(KoDeviceSerial aPort)
{
    return GetFeatureName("Bulk%iDownstreamData", aPort);
}

KoString IRegisterSerialPort::GetUpstreamDataBuffer(KoDeviceSerial aPort)
{
    return GetFeatureName("EventBulk%iUpstreamDataBuffer", aPort);
}

KoString IRegisterSerialPort::GetUpstreamDataLength(KoDeviceSerial aPort)
{
    return GetFeatureName("EventBulk%iUpstreamDataLength", aPort);
}

KoResult IRegisterSerialPort::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KoResult claimed = ClaimPort(aDevice, aPort, &IRegisterSerialPort::IsSupported);
    if (!claimed.IsOK())
    {
        return claimed;
    }
    mDownstreamData = GetDownstreamData(aPort);
    mUpstreamDataLength = GetUpstreamDataLength(aPort);
    mUpstreamDataBuffer = GetUpstreamDataBuffer(aPort);
    if (!mDevice->IsGenRegisterPresent(mDownstreamData) || !mDevice->IsGenIntegerPresent(mUpstreamDataLength) ||
        !mDevice->IsGenRegisterPresent(mUpstreamDataBuffer))
    {
        Close();
        return KO_FAIL(*mLogger, KoResult::NOT_SUPPORTED, "The specified port is not supported by this device.");
    }
    const KoResult subscribed = mDevice->RegisterEventSink(this);
    if (!subscribed.IsOK())
    {
        KO_LOG(*mLogger, LOG_WARNING, "IRegisterSerialPort::Open had problems registering event sink! %s ",
               subscribed.GetCodeString());
    }
    const KoResult watched = mDevice->RegisterGenInvalidator(mUpstreamDataBuffer);
    if (!watched.IsOK())
    {
        KO_LOG(*mLogger, LOG_WARNING, "IRegisterSerialPort::Open had problems registering GenInvalidator! %s error %s",
               mUpstreamDataBuffer.GetAscii(), watched.GetCodeString());
    }
    mPreviousEventNotification = KoString();
    const KoResult notified = SetEventNotification("On", &mPreviousEventNotification);
    if (!notified.IsOK())
    {
        KO_LOG(*mLogger, LOG_WARNING, "IRegisterSerialPort::Open could not set event notification %s will close",
               notified.GetCodeString());
        Close();
        return KoResult(KoResult::GENERIC_ERROR);
    }
    ResetStatistics();
    return KoResult(KoResult::OK);
}

KoResult IRegisterSerialPort::Close()
{
    KoResult connected = CheckConnected(__func__);
    if (!connected.IsOK())
    {
        return connected;
    }
    SetEventNotification(mPreviousEventNotification.GetAscii(), nullptr);
    mDevice->UnregisterGenInvalidator(mUpstreamDataBuffer);
    mDevice->UnregisterEventSink(this);
    mDownstreamData = KoString();
    mUpstreamDataLength = KoString();
    mUpstreamDataBuffer = KoString();
    mPreviousEventNotification = KoString();
    try
    {
        ReleasePort();
    }
    catch (...)
    {
        // Without its names the port no longer counts as open, so nobody would close it again.
        Abandon();
        throw;
    }
    return SerialPort::Close();
}

bool IRegisterSerialPort::IsOpened()
{
    return mDevice != nullptr && mDownstreamData.GetLength() != 0 && mUpstreamDataLength.GetLength() != 0 &&
           mUpstreamDataBuffer.GetLength() != 0;
}

KoResult IRegisterSerialPort::SetEventNotification(const char* aValue, KoString* aPrevious)
{
    const KoString selector("EventSelector");
    const KoString eventName = FormatName("Bulk%iUpstreamData", mPort);
    KoString savedSelector;
    KoResult selected = SwitchEnum(selector, eventName, savedSelector);
    if (!selected.IsOK())
    {
        return selected;
    }
    KoString previous;
    KoResult switched = SwitchEnum(KoString("EventNotification"), KoString(aValue), previous);
    if (!switched.IsOK())
    {
        return switched;
    }
    if (savedSelector != eventName)
    {
        mDevice->SetGenEnumValue(selector, savedSelector);
    }
    if (aPrevious != nullptr)
    {
        *aPrevious = previous;
    }
    return KoResult(KoResult::OK);
}

/// Sets an enumeration unless it has that value already; aPrevious is what it had, empty when it cannot be read.
KoResult IRegisterSerialPort::SwitchEnum(const KoString& aName, const KoString& aValue, KoString& aPrevious)
{
    if (!mDevice->IsGenEnumPresent(aName))
    {
        return KO_FAIL_IN("SetEventNotification", *mLogger, KoResult::GENERIC_ERROR, "Couldn't get %s parameter.",
                          aName.GetAscii());
    }
    mDevice->GetGenEnumValue(aName, aPrevious);
    if (aPrevious != aValue && !mDevice->SetGenEnumValue(aName, aValue).IsOK())
    {
        return KO_FAIL_IN("SetEventNotification", *mLogger, KoResult::GENERIC_ERROR,
                          "Failed setting parameter %s to %s.", aName.GetAscii(), aValue.GetAscii());
    }
    return KoResult(KoResult::OK);
}

void IRegisterSerialPort::NotifyInvalidatedGenParameter(const KoString& aParameterName)
{
    if (!mDevice->IsGenRegisterPresent(aParameterName))
    {
        return;
    }
    std::int64_t length = 0;
    mDevice->GetGenRegisterLength(mUpstreamDataBuffer, length);
    std::int64_t count = 0;
    mDevice->GetGenIntegerValue(mUpstreamDataLength, count);
    // The buffer is as long as the register, and no register is that long.
    const bool isTooLong = length > std::numeric_limits<std::uint32_t>::max();
    if (count < 1 || count > length || isTooLong)
    {
        return;
    }
    const auto byteCount = static_cast<std::uint32_t>(count);
    KO_TRACE(*mLogger, "OnParameterUpdate receiving %d bytes of data", byteCount);
    if (!PrepareUpstreamBuffer(static_cast<std::uint32_t>(length), byteCount))
    {
        KO_LOG(*mLogger, LOG_WARNING, "No memory for an upstream register of %u bytes: %u received bytes are lost",
               static_cast<std::uint32_t>(length), byteCount);
        return;
    }
    mDevice->GetGenRegisterData(mUpstreamDataBuffer, mUpstreamBuffer.get(), count);

    const KuUtilsLib::LockScope lock(&mMutex);
    PushBatchToRxBuffer(mUpstreamBuffer.get(), byteCount, 1);
}

/// Makes the buffer at least as long as the register; false when there is no memory for it. Only bytes that are about
/// to be received are cleared: memory that nobody touches costs nothing, however long the register claims to be.
inline bool IRegisterSerialPort::PrepareUpstreamBuffer(std::uint32_t aLength, std::uint32_t aCount)
{
    if (mUpstreamBufferSize < aLength)
    {
        FreeUpstreamBuffer();
        mUpstreamBuffer.reset(new (std::nothrow) std::uint8_t[aLength]);
        if (mUpstreamBuffer == nullptr)
        {
            return false;
        }
        mUpstreamBufferSize = aLength;
    }
    if (mUpstreamCleared < aCount)
    {
        std::fill(&mUpstreamBuffer[mUpstreamCleared], &mUpstreamBuffer[0] + aCount, std::uint8_t{0});
        mUpstreamCleared = aCount;
    }
    return true;
}

KoResult IRegisterSerialPort::Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten)
{
    return WriteAndRead(aData, aSize, aBytesWritten, 0, false, false);
}

KoResult IRegisterSerialPort::WriteAndRead(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten,
                                           std::uint32_t aReadLength, bool aSimultaneous, bool aSPIControl)
{
    KoResult connected = CheckConnected(__func__);
    if (!connected.IsOK())
    {
        return connected;
    }
    StartWrite(aSize);
    aBytesWritten = 0;
    KO_LOG(*mLogger, LOG_INFO, "IRegisterSerialPort::Write sending %d bytes of data", aSize);
    std::uint32_t payload = 0;
    KoResult result = PrepareFrame(payload);
    if (result.IsOK() && mSPIMode && aSize == 0)
    {
        // A frame without payload asks for the bytes to read.
        result = TransmitSPI(aData, 0, aReadLength, aSimultaneous, aSPIControl);
    }
    while (result.IsOK() && aBytesWritten < aSize)
    {
        const std::uint8_t* const next = aData + aBytesWritten;
        const std::uint32_t count = std::min(payload, aSize - aBytesWritten);
        KO_TRACE(*mLogger, "Transmitting %d bytes (%d bytes sent)", count, aBytesWritten);
        result = mSPIMode ? TransmitSPI(next, count, aReadLength, aSimultaneous, aSPIControl)
                          : TransmitBulkOrI2C(next, count);
        if (result.IsOK())
        {
            aBytesWritten += count;
            mWriteDone.store(aBytesWritten, std::memory_order_relaxed);
        }
    }
    if (result.IsOK())
    {
        FinishWrite(aData, aBytesWritten);
    }
    return result;
}

std::uint32_t IRegisterSerialPort::GetFramePayload()
{
    std::int64_t registerLength = 0;
    if (mDevice == nullptr || !mDevice->GetGenRegisterLength(mDownstreamData, registerLength).IsOK())
    {
        return 0;
    }
    const std::int64_t payload = std::min(registerLength, LARGEST_FRAME) - GetHeaderSize();
    return static_cast<std::uint32_t>(std::max<std::int64_t>(payload, 0));
}

std::uint32_t IRegisterSerialPort::GetHeaderSize() const
{
    return mSPIMode ? SPI_HEADER_SIZE : BULK_HEADER_SIZE;
}

/// Makes the frame buffer fit the register as it is now; aPayload is the room in a frame after its header.
KoResult IRegisterSerialPort::PrepareFrame(std::uint32_t& aPayload)
{
    std::int64_t registerLength = 0;
    KoResult got = mDevice->GetGenRegisterLength(mDownstreamData, registerLength);
    if (!got.IsOK())
    {
        KO_LOG_IN("WriteAndRead", *mLogger, LOG_ERROR, "IRegisterSerialPort::Write Downstream get register failed");
        return got;
    }
    const std::uint32_t header = GetHeaderSize();
    if (header >= registerLength)
    {
        KO_LOG_IN("WriteAndRead", *mLogger, LOG_ERROR,
                  "IRegisterSerialPort::Write length allowed %d is less than or equal to %d header bytes!",
                  static_cast<std::int32_t>(registerLength), header);
        return KoResult(KoResult::BUFFER_TOO_SMALL);
    }
    const auto frameSize = static_cast<std::uint32_t>(std::min(registerLength, LARGEST_FRAME));
    if (frameSize > mDownstreamBufferSize)
    {
        FreeDownstreamBuffer();
        // A frame on the wire is padded to a multiple of 4, which may be longer than the register.
        mDownstreamBuffer = std::make_unique<std::uint8_t[]>(RoundUpToWord(frameSize));
        mDownstreamBufferSize = frameSize;
    }
    aPayload = frameSize - header;
    return KoResult(KoResult::OK);
}

KoResult IRegisterSerialPort::TransmitBulkOrI2C(const std::uint8_t* aData, std::uint32_t aLength)
{
    const std::uint32_t control = (mTxOptionBit9 ? CONTROL_OPTION_9 : 0) | (mTxOptionBit10 ? CONTROL_OPTION_10 : 0) |
                                  (mTxOptionBit11 ? CONTROL_OPTION_11 : 0) | (mTxOptionBit12 ? CONTROL_OPTION_12 : 0);
    StoreHeader(control, aLength);
    // The padding keeps what earlier frames left in the buffer.
    std::copy_n(aData, aLength, &mDownstreamBuffer[BULK_HEADER_SIZE]);
    return SendFrame(RoundUpToWord(BULK_HEADER_SIZE + aLength));
}

KoResult IRegisterSerialPort::TransmitSPI(const std::uint8_t* aData, std::uint32_t aLength, std::uint32_t aReadLength,
                                          bool aSimultaneous, bool aSPIControl)
{
    StoreHeader(0, aLength + SPI_COMMAND_SIZE);
    if (aSimultaneous && aLength != aReadLength)
    {
        KO_LOG(*mLogger, LOG_WARNING, "Simultaneous readwrite but read %d != write %d", aReadLength, aLength);
    }
    mDownstreamBuffer[8] = aSimultaneous ? 0 : static_cast<std::uint8_t>(aLength);
    mDownstreamBuffer[9] = aSimultaneous ? 0 : static_cast<std::uint8_t>(aReadLength);
    mDownstreamBuffer[10] = aSimultaneous ? static_cast<std::uint8_t>(aLength) : 0;
    mDownstreamBuffer[11] = aSPIControl ? 1 : 0;

    const std::uint32_t end = SPI_HEADER_SIZE + aLength;
    const std::uint32_t frameLength = RoundUpToWord(end);
    std::copy_n(aData, aLength, &mDownstreamBuffer[SPI_HEADER_SIZE]);
    std::fill_n(&mDownstreamBuffer[end], frameLength - end, std::uint8_t{0});
    return SendFrame(frameLength);
}

void IRegisterSerialPort::StoreHeader(std::uint32_t aFirst, std::uint32_t aSecond)
{
    const bool bigEndian = mDevice->IsGigEVision();
    const std::array<std::uint32_t, 2> words = {aFirst, aSecond};
    for (std::uint32_t i = 0; i < BULK_HEADER_SIZE; ++i)
    {
        const std::uint32_t shift = 8 * (bigEndian ? 3 - i % 4 : i % 4);
        mDownstreamBuffer[i] = static_cast<std::uint8_t>(words[i / 4] >> shift);
    }
}

KoResult IRegisterSerialPort::SendFrame(std::uint32_t aLength)
{
    KoResult sent = mDevice->SetGenRegisterData(mDownstreamData, mDownstreamBuffer.get(), aLength);
    if (!sent.IsOK())
    {
        return sent;
    }
    mDevice->WaitForIdle(IDLE_TIMEOUT_MS);
    return KoResult(KoResult::OK);
}

void IRegisterSerialPort::FreeDownstreamBuffer()
{
    mDownstreamBuffer.reset();
    mDownstreamBufferSize = 0;
}

void IRegisterSerialPort::FreeUpstreamBuffer()
{
    mUpstreamBuffer.reset();
    mUpstreamBufferSize = 0;
    mUpstreamCleared = 0;
}

} // namespace KoSerialLib
