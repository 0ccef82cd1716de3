// The echo sinks of SerialPort.

#include "SerialPort.h"

#include "Logging.h"

#include <KoDeviceSerialPortEchoSink.h>
#include <KuUtilsLib/LockScope.h>
#include <KuUtilsLib/Thread.h>

#include <algorithm>

namespace KoSerialLib
{

std::list<KoDeviceSerialPortEchoSink*> SerialPort::sEchoSinkList;
KuUtilsLib::Mutex SerialPort::sEchoSinkListMutex(nullptr, nullptr);

template <typename Notification>
void SerialPort::NotifyEchoSinks(Notification aNotify)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    const std::uint64_t time = KuUtilsLib::Thread::GetTickCount();
    for (KoDeviceSerialPortEchoSink* const sink : sEchoSinkList)
    {
        aNotify(*sink, time);
    }
}

KoResult SerialPort::NotifyReadComplete()
{
    NotifyEchoSinks([this](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnReadComplete(mPortName, mPort, aTime); });
    return KoResult(KoResult::OK);
}

void SerialPort::EchoTransmit(const std::uint8_t* aData, std::uint32_t aLength)
{
    NotifyEchoSinks([&](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnTransmitted(mPortName, mPort, aData, aLength, aTime); });
}

void SerialPort::EchoReceive(const std::uint8_t* aData, std::uint32_t aLength)
{
    NotifyEchoSinks([&](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnRead(mPortName, mPort, aData, aLength, aTime); });
}

KoResult SerialPort::RegisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    if (std::find(sEchoSinkList.begin(), sEchoSinkList.end(), aSink) != sEchoSinkList.end())
    {
        KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
        return KO_FAIL(logger, KoResult::NOT_SUPPORTED,
                       "Sink already registered: registering the same sink twice is not supported");
    }
    sEchoSinkList.push_back(aSink);
    return KoResult(KoResult::OK);
}

KoResult SerialPort::UnregisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    const auto registered = std::find(sEchoSinkList.begin(), sEchoSinkList.end(), aSink);
    if (registered == sEchoSinkList.end())
    {
        KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
        return KO_FAIL(logger, KoResult::NOT_FOUND, "Sink not found in registered echo sinks");
    }
    sEchoSinkList.erase(registered);
    return KoResult(KoResult::OK);
}

} // namespace KoSerialLib
