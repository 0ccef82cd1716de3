#include <KoDeviceSerialPort.h>

#include <cstdio>

int main()
{
    KoDeviceSerialPort port;
    std::printf("closed: %s\n", port.Close().GetCodeString());
    return port.IsOpened() ? 1 : 0;
}
