#pragma once

#include "SerialPort.h"

#include <functional>

namespace KoSerialLib
{

/// A serial port engine that is opened on a port of a device.
class DeviceSerialPort : public SerialPort
{
public:
    virtual KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort) = 0;

    /// As Open(), but gives up what was claimed when an exception leaves it.
    KoResult OpenOrAbandon(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Gives up a port whose device is gone: ends its events, gives the port back to the port map and forgets the
    /// device, which is asked nothing. Does nothing for an engine that has no device.
    void Abandon();

protected:
    using SupportTest = bool (*)(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// The first steps of every Open: checks that the device is connected and offers the port, takes the port in the
    /// port map and binds this engine to it. aDevice must not be NULL.
    KoResult ClaimPort(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, SupportTest aIsSupported);

    /// Gives the port back to the port map.
    void ReleasePort();

    /// Claims the port and subscribes to the events of the device: how the register engines begin to open.
    KoResult Attach(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, SupportTest aIsSupported);

    /// How the register engines close: undoes Attach() after aRestoreInterrupts has put the interrupt enable bits back.
    /// Fails with NOT_CONNECTED, and undoes nothing, when there is no device or it is gone.
    KoResult Detach(const std::function<void()>& aRestoreInterrupts);

    /// Fails with NOT_CONNECTED, on behalf of aOperation, when this engine has no device or the device is gone.
    KoResult CheckConnected(const char* aOperation);
};

} // namespace KoSerialLib
