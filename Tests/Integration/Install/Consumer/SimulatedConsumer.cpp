#include <KoDeviceSerialPort.h>
#include <KoSim/SimulatedDevice.h>

#include <cstdio>

int main()
{
    KoSim::SimulatedDevice device;
    KoDeviceSerialPort port;
    std::printf("opened: %s\n", port.Open(&device, KoDeviceSerialUart0).GetCodeString());
    return port.Close().IsOK() ? 0 : 1;
}
