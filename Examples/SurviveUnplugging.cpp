// Three ways on for a port whose device is unplugged while the port is open, in the order of how much they keep.
//
// The device is a simulated one that is unplugged and plugged in again. With your own, IsConnected() of your
// IKoDeviceAdapter tells when it is gone and when it is back.

#include <KoDeviceSerialPort.h>
#include <KoSim/Loopback.h>
#include <KoSim/SimulatedDevice.h>

#include <cstdio>
#include <memory>

namespace
{

/// A device whose first UART sends back what it gets.
std::unique_ptr<KoSim::SimulatedDevice> Connect()
{
    auto device = std::make_unique<KoSim::SimulatedDevice>();
    device->SetLineEnd(KoSim::Port::Uart0, std::make_shared<KoSim::Loopback>());
    return device;
}

/// Sends a byte around; true when it comes back.
bool Works(KoDeviceSerialPort& aPort)
{
    const std::uint8_t sent = 0x41;
    std::uint8_t received = 0;
    std::uint32_t count = 0;
    return aPort.Write(&sent, 1, count).IsOK() && aPort.Read(&received, 1, count, 1000).IsOK() && received == sent;
}

const char* Tell(bool aWorks)
{
    return aWorks ? "works" : "does not work";
}

} // namespace

int main()
{
    std::unique_ptr<KoSim::SimulatedDevice> device = Connect();
    KoDeviceSerialPort port;
    if (!port.Open(device.get(), KoDeviceSerialUart0).IsOK())
    {
        return 1;
    }

    // 1. The same objects. Nothing is to be done: everything fails until the device is back.
    device->Disconnect();
    const bool whileUnplugged = Works(port);
    device->Connect();
    const bool sameObjects = Works(port);

    // 2. Abandoned and opened anew. Close() is refused while the device is gone; Abandon() gives the port up without
    // it. Until it is opened again nothing is held, and the object may be destroyed.
    device->Disconnect();
    if (!port.Close().IsOK())
    {
        port.Abandon();
    }
    device->Connect();
    const bool openedAnew = port.Open(device.get(), KoDeviceSerialUart0).IsOK() && Works(port);

    // 3. A new adapter, where the old one is of no use any more. The port is abandoned before its adapter goes.
    device->Disconnect();
    port.Abandon();
    device = Connect();
    const bool newAdapter = port.Open(device.get(), KoDeviceSerialUart0).IsOK() && Works(port);

    std::printf("unplugged: %s, same objects: %s, opened anew: %s, new adapter: %s\n", Tell(whileUnplugged),
                Tell(sameObjects), Tell(openedAnew), Tell(newAdapter));
    port.Close();
    return sameObjects && openedAnew && newAdapter ? 0 : 1;
}
