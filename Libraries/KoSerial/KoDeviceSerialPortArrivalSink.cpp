#include <KoDeviceSerialPortArrivalSink.h>

KoDeviceSerialPortArrivalSink::~KoDeviceSerialPortArrivalSink() = default;
