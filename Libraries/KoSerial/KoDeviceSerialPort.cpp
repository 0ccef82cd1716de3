#include <KoDeviceSerialPort.h>

#include "BulkIPEngine.h"
#include "IRegisterSerialPort.h"
#include "Logging.h"
#include "SerialPortIPEngine.h"

using KoSerialLib::BulkIPEngine;
using KoSerialLib::DeviceSerialPort;
using KoSerialLib::IRegisterSerialPort;
using KoSerialLib::SerialPort;
using KoSerialLib::SerialPortIPEngine;

namespace
{

/// Puts a new engine in the place of another, which is deleted, open or not. There is always one: the new one is made
/// first.
template <typename Engine, typename... Arguments>
DeviceSerialPort& Replace(std::unique_ptr<DeviceSerialPort>& aEngine, Arguments... aArguments)
{
    aEngine->CheckThatItMayBeReplaced();
    aEngine = std::make_unique<Engine>(aArguments...);
    return *aEngine;
}

bool IsKnown(KoDeviceSerial aPort)
{
    return static_cast<std::uint32_t>(aPort) <= KoDeviceSerialBulk7;
}

KoResult CheckSink(const KoDeviceSerialPortEchoSink* aSink, const char* aOperation)
{
    if (aSink != nullptr)
    {
        return KoResult(KoResult::OK);
    }
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    return KO_FAIL_IN(aOperation, logger, KoResult::INVALID_PARAMETER, "aSink cannot be NULL");
}

} // namespace

KoDeviceSerialPort::KoDeviceSerialPort() : mEngine(std::make_unique<SerialPortIPEngine>()) {}

KoDeviceSerialPort::~KoDeviceSerialPort()
{
    if (!mEngine->IsOpened())
    {
        return;
    }
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    if (logger.IsPriorityEnabled(KuUtilsLib::LOG_WARNING))
    {
        KO_LOG(logger, LOG_WARNING, "SerialPort not closed before deleting. Will close");
    }
    mEngine->Close();
}

KoResult KoDeviceSerialPort::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    if (aPort == KoDeviceSerialInvalid)
    {
        return KO_FAIL(logger, KoResult::INVALID_PARAMETER, "The specified port is invalid.");
    }
    if (!IsKnown(aPort))
    {
        KO_LOG(logger, LOG_CRITICAL, "Unknown port.");
        return KoResult(KoResult::NOT_SUPPORTED);
    }
    if (aPort <= KoDeviceSerialUart1)
    {
        return Replace<SerialPortIPEngine>(mEngine).OpenOrAbandon(aDevice, aPort);
    }
    if (aPort == KoDeviceSerialBulk0)
    {
        const bool inRegisters = BulkIPEngine::IsSupported(aDevice, aPort);
        const bool inFeatures = IRegisterSerialPort::IsSupported(aDevice, aPort);
        if (inRegisters)
        {
            return Replace<BulkIPEngine>(mEngine).OpenOrAbandon(aDevice, aPort);
        }
        if (!inFeatures)
        {
            return KoResult(KoResult::NOT_SUPPORTED);
        }
    }
    return Replace<IRegisterSerialPort>(mEngine, false).OpenOrAbandon(aDevice, aPort);
}

KoResult KoDeviceSerialPort::Close()
{
    return mEngine->Close();
}

void KoDeviceSerialPort::Abandon()
{
    mEngine->Abandon();
}

bool KoDeviceSerialPort::IsOpened()
{
    return mEngine->IsOpened();
}

KoResult KoDeviceSerialPort::Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten)
{
    return mEngine->Write(aData, aSize, aBytesWritten);
}

KoResult KoDeviceSerialPort::GetWriteProgress(std::uint32_t& aWritten, std::uint32_t& aTotal)
{
    return mEngine->GetWriteProgress(aWritten, aTotal);
}

KoResult KoDeviceSerialPort::Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead,
                                  std::uint32_t aTimeoutMs)
{
    return mEngine->Read(aBuffer, aSize, aBytesRead, aTimeoutMs);
}

void KoDeviceSerialPort::CancelRead()
{
    mEngine->CancelRead();
}

void KoDeviceSerialPort::SetArrivalSink(KoDeviceSerialPortArrivalSink* aSink)
{
    mEngine->SetArrivalSink(aSink);
}

KoResult KoDeviceSerialPort::FlushRxBuffer()
{
    return mEngine->FlushRxBuffer();
}

KoResult KoDeviceSerialPort::GetRxBytesReady(std::uint32_t& aBytes)
{
    return mEngine->GetRxBytesReady(aBytes);
}

KoResult KoDeviceSerialPort::GetRxBufferSize(std::uint32_t& aSize)
{
    return mEngine->GetRxBufferSize(aSize);
}

KoResult KoDeviceSerialPort::SetRxBufferSize(std::uint32_t aSize)
{
    return mEngine->SetRxBufferSize(aSize);
}

KoResult KoDeviceSerialPort::NotifyReadComplete()
{
    return mEngine->NotifyReadComplete();
}

std::uint64_t KoDeviceSerialPort::GetBytesSent() const
{
    return mEngine->mBytesSent.load(std::memory_order_relaxed);
}

std::uint64_t KoDeviceSerialPort::GetBytesReceived() const
{
    return mEngine->mBytesReceived.load(std::memory_order_relaxed);
}

std::uint64_t KoDeviceSerialPort::GetBytesDropped() const
{
    return mEngine->mBytesDropped.load(std::memory_order_relaxed);
}

std::uint32_t KoDeviceSerialPort::GetMostBytesReady() const
{
    return mEngine->GetMostBytesReady();
}

void KoDeviceSerialPort::ResetStatistics()
{
    mEngine->ResetStatistics();
}

bool KoDeviceSerialPort::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    if (!IsKnown(aPort))
    {
        return false;
    }
    if (aPort <= KoDeviceSerialUart1)
    {
        return SerialPortIPEngine::IsSupported(aDevice, aPort);
    }
    return IRegisterSerialPort::IsSupported(aDevice, aPort) ||
           (aPort == KoDeviceSerialBulk0 && BulkIPEngine::IsSupported(aDevice, aPort));
}

KoResult KoDeviceSerialPort::RegisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KoResult checked = CheckSink(aSink, __func__);
    return checked.IsOK() ? SerialPort::RegisterEchoSink(aSink) : checked;
}

KoResult KoDeviceSerialPort::UnregisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KoResult checked = CheckSink(aSink, __func__);
    return checked.IsOK() ? SerialPort::UnregisterEchoSink(aSink) : checked;
}
