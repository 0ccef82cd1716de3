#include "DeviceI2CBus.h"

#include "BulkIPEngine.h"
#include "IRegisterSerialPort.h"
#include "Logging.h"

namespace KoSerialLib
{
namespace
{

constexpr std::uint32_t BITS_PER_BYTE = 9;
constexpr std::uint32_t FAST_RATE = 400000;
constexpr std::uint32_t NORMAL_RATE = 100000;
constexpr std::uint32_t READ_MARGIN_MS = 50;

/// Goes out as it stands, placeholder included: the operation is named by the log entry, not by the text.
const char* const UNOPENED = "%s failed. You must first call Open before using this function";

std::uint32_t GetReadTimeoutMs(std::uint32_t aLength, bool aFastMode)
{
    // The division comes first: whole seconds only, and the product wraps.
    return aLength * BITS_PER_BYTE / (aFastMode ? FAST_RATE : NORMAL_RATE) * 1000 + READ_MARGIN_MS;
}

/// Makes aBytes aFirst and then the data. Its memory only grows.
void Join(std::vector<std::uint8_t>& aBytes, std::uint8_t aFirst, const std::uint8_t* aData, std::uint32_t aLength)
{
    aBytes.clear();
    aBytes.reserve(std::size_t{aLength} + 1);
    aBytes.push_back(aFirst);
    aBytes.insert(aBytes.end(), aData, aData + aLength);
}

} // namespace

DeviceI2CBus::DeviceI2CBus() : mLogger(KuUtilsLib::Logger::Create(KO_LOG_CATEGORY, nullptr, 0)) {}

DeviceI2CBus::~DeviceI2CBus()
{
    if (mEngine != nullptr && mEngine->IsOpened())
    {
        mEngine->Close();
    }
    delete mEngine;
    if (mLogger != nullptr)
    {
        KuUtilsLib::Logger::Free(mLogger);
    }
}

bool DeviceI2CBus::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return IRegisterSerialPort::IsProtocolSupported(aDevice, aPort, KoString("I2C")) ||
           BulkIPEngine::IsI2CSupported(aDevice, aPort);
}

KoResult DeviceI2CBus::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    const bool inRegisters = BulkIPEngine::IsI2CSupported(aDevice, aPort);
    const bool inFeatures = IRegisterSerialPort::IsProtocolSupported(aDevice, aPort, KoString("I2C"));
    if (!inRegisters && !inFeatures)
    {
        return KO_FAIL(*mLogger, KoResult::NOT_SUPPORTED, "I2C Bus is not supported with this device");
    }
    if (aPort == KoDeviceSerialBulk0)
    {
        CheckThatEngineMayBeReplaced();
        delete mEngine;
        mEngine = nullptr;
        if (inRegisters)
        {
            mEngine = new BulkIPEngine;
        }
        else
        {
            mEngine = new IRegisterSerialPort(false);
        }
        return mEngine->OpenOrAbandon(aDevice, aPort);
    }
    if (aPort >= KoDeviceSerialBulk1 && aPort <= KoDeviceSerialBulk7 && inFeatures)
    {
        // Here the engine before is left alone, open or not: only the path of Bulk0 deletes it.
        CheckThatEngineMayBeReplaced();
        mEngine = new IRegisterSerialPort(false);
        return mEngine->OpenOrAbandon(aDevice, aPort);
    }
    return KO_FAIL(*mLogger, KoResult::INVALID_PARAMETER, "The specified port is not supported by this device.");
}

KoResult DeviceI2CBus::Close()
{
    return mEngine == nullptr ? FailUnopened(__func__) : mEngine->Close();
}

void DeviceI2CBus::Abandon()
{
    if (mEngine != nullptr)
    {
        mEngine->Abandon();
    }
}

bool DeviceI2CBus::IsOpened()
{
    if (mEngine != nullptr)
    {
        return mEngine->IsOpened();
    }
    if (mLogger != nullptr && mLogger->IsPriorityEnabled(KuUtilsLib::LOG_ERROR))
    {
        KO_LOG(*mLogger, LOG_ERROR, UNOPENED, "%s");
    }
    return false;
}

KoResult DeviceI2CBus::BurstWrite(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                  bool aFastMode)
{
    return MasterTransmitter(aAddress, aData, aLength, aFastMode, true);
}

KoResult DeviceI2CBus::IndirectBurstWrite(std::uint8_t aAddress, std::uint8_t aOffset, const std::uint8_t* aData,
                                          std::uint32_t aLength, bool aFastMode)
{
    Join(mIndirect, aOffset, aData, aLength);
    return MasterTransmitter(aAddress, mIndirect.data(), aLength + 1, aFastMode, true);
}

KoResult DeviceI2CBus::BurstRead(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                 std::uint32_t& aBytesRead, bool aFastMode)
{
    return MasterReceiverAfterFirstByte(aAddress, aBuffer, aLength, aBytesRead, aFastMode, true);
}

KoResult DeviceI2CBus::IndirectBurstRead(std::uint8_t aAddress, std::uint8_t aOffset, std::uint8_t* aBuffer,
                                         std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode,
                                         bool aRepeatedStart)
{
    KoResult addressed = MasterTransmitter(aAddress, &aOffset, 1, aFastMode, !aRepeatedStart);
    if (!addressed.IsOK())
    {
        return addressed;
    }
    return MasterReceiverAfterFirstByte(aAddress, aBuffer, aLength, aBytesRead, aFastMode, true);
}

KoResult DeviceI2CBus::MasterTransmitter(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                         bool aFastMode, bool aStop)
{
    if (mEngine == nullptr)
    {
        return FailUnopened(__func__);
    }
    const auto addressByte = static_cast<std::uint8_t>((aAddress & 0x7F) << 1);
    Join(mRequest, addressByte, aData, aLength);
    SetTransferOptions(aFastMode, aStop);
    std::uint32_t written = 0;
    return mEngine->Write(mRequest.data(), aLength + 1, written);
}

KoResult DeviceI2CBus::MasterReceiverAfterFirstByte(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                                    std::uint32_t& aBytesRead, bool aFastMode, bool aStop)
{
    if (mEngine == nullptr)
    {
        return FailUnopened(__func__);
    }
    const std::uint8_t request[] = {static_cast<std::uint8_t>(aAddress << 1 | 1), static_cast<std::uint8_t>(aLength),
                                    static_cast<std::uint8_t>(aLength >> 8)};
    SetTransferOptions(aFastMode, aStop);
    KoResult result = mEngine->FlushRxBuffer();
    if (!result.IsOK())
    {
        return result;
    }
    std::uint32_t written = 0;
    result = mEngine->Write(request, sizeof(request), written);
    if (!result.IsOK())
    {
        return result;
    }
    aBytesRead = 0;
    const std::uint32_t timeoutMs = GetReadTimeoutMs(aLength, aFastMode);
    while (result.IsOK() && aBytesRead < aLength)
    {
        std::uint32_t count = 0;
        result = mEngine->Read(aBuffer + aBytesRead, aLength - aBytesRead, count, timeoutMs);
        aBytesRead += count;
    }
    return result;
}

std::uint32_t DeviceI2CBus::GetLongestWrite()
{
    // The address of the slave is the first byte of a piece.
    const std::uint32_t piece = GetLongestPiece();
    return piece == 0 ? 0 : piece - 1;
}

/// Number of bytes that go to the device in one piece.
std::uint32_t DeviceI2CBus::GetLongestPiece()
{
    if (mEngine == nullptr || !mEngine->IsOpened())
    {
        return 0;
    }
    if (auto* const features = dynamic_cast<IRegisterSerialPort*>(mEngine))
    {
        return features->GetFramePayload();
    }
    return static_cast<BulkIPEngine*>(mEngine)->GetFirstChunkSize();
}

KoResult DeviceI2CBus::FailUnopened(const char* aOperation)
{
    return KO_FAIL_IN(aOperation, *mLogger, KoResult::NOT_OPENED, UNOPENED, "%s");
}

void DeviceI2CBus::CheckThatEngineMayBeReplaced() const
{
    if (mEngine != nullptr)
    {
        mEngine->CheckThatItMayBeReplaced();
    }
}

void DeviceI2CBus::SetTransferOptions(bool aFastMode, bool aStop)
{
    mEngine->mTxOptionBit9 = aFastMode;
    mEngine->mTxOptionBit10 = aStop;
    mEngine->mTxOptionBit11 = true;
    mEngine->mTxOptionBit12 = true;
}

} // namespace KoSerialLib
