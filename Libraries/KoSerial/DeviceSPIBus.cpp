#include "DeviceSPIBus.h"

#include "Logging.h"

#include <algorithm>

namespace KoSerialLib
{
namespace
{

/// The counts of an SPI frame have one byte each.
constexpr std::uint32_t LONGEST_TRANSFER = 255;

/// Goes out as it stands, placeholder included: the operation is named by the log entry, not by the text.
const char* const UNOPENED_SPI = "%s failed SPI. You must first call Open before using this function";

} // namespace

DeviceSPIBus::DeviceSPIBus() : mLogger(KuUtilsLib::Logger::Create(KO_LOG_CATEGORY, nullptr, 0)) {}

DeviceSPIBus::~DeviceSPIBus()
{
    if (mEngine != nullptr && mEngine->IsOpened())
    {
        mEngine->Close();
    }
    mEngine.reset();
    if (mLogger != nullptr)
    {
        KuUtilsLib::Logger::Free(mLogger);
    }
}

bool DeviceSPIBus::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return IRegisterSerialPort::IsProtocolSupported(aDevice, aPort, KoString("SPI"));
}

KoResult DeviceSPIBus::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    if (!IsSupported(aDevice, aPort))
    {
        return KO_FAIL(*mLogger, KoResult::NOT_SUPPORTED, "SPI Bus is not supported with this device");
    }
    if (aPort < KoDeviceSerialBulk0 || aPort > KoDeviceSerialBulk7)
    {
        return KO_FAIL(*mLogger, KoResult::INVALID_PARAMETER, "The specified port is not supported by this device.");
    }
    if (mEngine != nullptr)
    {
        mEngine->CheckThatItMayBeReplaced();
    }
    mEngine.reset();
    mEngine = std::make_unique<IRegisterSerialPort>(true);
    return mEngine->OpenOrAbandon(aDevice, aPort);
}

KoResult DeviceSPIBus::Close()
{
    return mEngine == nullptr ? FailUnopened(__func__) : mEngine->Close();
}

void DeviceSPIBus::Abandon()
{
    if (mEngine != nullptr)
    {
        mEngine->Abandon();
    }
}

bool DeviceSPIBus::IsOpened()
{
    if (mEngine != nullptr)
    {
        return mEngine->IsOpened();
    }
    if (mLogger != nullptr && mLogger->IsPriorityEnabled(KuUtilsLib::LOG_ERROR))
    {
        KO_LOG(*mLogger, LOG_ERROR, UNOPENED_SPI, "%s");
    }
    return false;
}

KoResult DeviceSPIBus::BurstWriteAndRead(std::uint8_t* aData, std::uint32_t aWriteLength, std::uint32_t aReadLength,
                                         bool aSimultaneous, bool aSPIControl)
{
    if (mEngine == nullptr)
    {
        return FailUnopened(__func__);
    }
    if (aWriteLength > LONGEST_TRANSFER || aReadLength > LONGEST_TRANSFER)
    {
        return KO_FAIL(*mLogger, KoResult::INVALID_PARAMETER, "SPI read and write only support up to 255 bytes");
    }
    std::uint32_t written = 0;
    return mEngine->WriteAndRead(aData, aWriteLength, written, aReadLength, aSimultaneous, aSPIControl);
}

KoResult DeviceSPIBus::BurstRead(std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                                 std::uint32_t aTimeoutMs)
{
    return mEngine == nullptr ? FailUnopened(__func__) : mEngine->Read(aBuffer, aLength, aBytesRead, aTimeoutMs);
}

std::uint32_t DeviceSPIBus::GetLongestWrite()
{
    return mEngine == nullptr ? 0 : std::min(LONGEST_TRANSFER, mEngine->GetFramePayload());
}

KoResult DeviceSPIBus::FailUnopened(const char* aOperation)
{
    return KO_FAIL_IN(aOperation, *mLogger, KoResult::NOT_OPENED, UNOPENED_SPI, "%s");
}

} // namespace KoSerialLib
