#include "DeviceSerialPort.h"

#include "Logging.h"
#include "PortMap.h"

namespace KoSerialLib
{

KoResult DeviceSerialPort::OpenOrAbandon(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    try
    {
        return Open(aDevice, aPort);
    }
    catch (...)
    {
        Abandon();
        throw;
    }
}

void DeviceSerialPort::Abandon()
{
    if (mDevice == nullptr)
    {
        return;
    }
    mDevice->UnregisterEventSink(this);
    sPortMap.Release(mPortName.GetAscii(), mPort);
    SerialPort::Close();
}

KoResult DeviceSerialPort::ClaimPort(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, SupportTest aIsSupported)
{
    if (!aDevice->IsConnected())
    {
        return KO_FAIL_IN("Open", *mLogger, KoResult::NOT_CONNECTED, "The device is not currently connected.");
    }
    if (!aIsSupported(aDevice, aPort))
    {
        return KO_FAIL_IN("Open", *mLogger, KoResult::NOT_SUPPORTED,
                          "The specified port is not supported by this device.");
    }
    KoString identity;
    aDevice->GetDeviceId(identity);
    if (!sPortMap.Lock(identity.GetAscii(), aPort))
    {
        return KO_FAIL_IN("Open", *mLogger, KoResult::GENERIC_ERROR, "The specified port is already in use.");
    }
    try
    {
        Init(aDevice, aPort, identity.GetAscii());
    }
    catch (...)
    {
        sPortMap.Release(identity.GetAscii(), aPort);
        throw;
    }
    return KoResult(KoResult::OK);
}

void DeviceSerialPort::ReleasePort()
{
    KoString identity;
    mDevice->GetDeviceId(identity);
    sPortMap.Release(identity.GetAscii(), mPort);
}

KoResult DeviceSerialPort::Attach(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, SupportTest aIsSupported)
{
    KoResult claimed = ClaimPort(aDevice, aPort, aIsSupported);
    if (claimed.IsOK())
    {
        aDevice->RegisterEventSink(this);
    }
    return claimed;
}

KoResult DeviceSerialPort::Detach(const std::function<void()>& aRestoreInterrupts)
{
    KoResult connected = CheckConnected("Close");
    if (!connected.IsOK())
    {
        return connected;
    }
    aRestoreInterrupts();
    ReleasePort();
    mDevice->UnregisterEventSink(this);
    return SerialPort::Close();
}

KoResult DeviceSerialPort::CheckConnected(const char* aOperation)
{
    if (mDevice == nullptr)
    {
        return KO_FAIL_IN(aOperation, *mLogger, KoResult::NOT_CONNECTED, "Device pointer is NULL.");
    }
    if (!mDevice->IsConnected())
    {
        return KO_FAIL_IN(aOperation, *mLogger, KoResult::NOT_CONNECTED, "The device is not currently connected.");
    }
    return KoResult(KoResult::OK);
}

} // namespace KoSerialLib
