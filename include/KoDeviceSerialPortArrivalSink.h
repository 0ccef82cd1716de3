#pragma once

#include <KoSerialExport.h>

/// Is told when bytes arrive at a serial port, by KoDeviceSerialPort::SetArrivalSink().
///
/// This is how a port joins an event loop: the sink makes a descriptor readable or posts a message, and the loop reads.
class KO_SERIAL_API KoDeviceSerialPortArrivalSink
{
public:
    KoDeviceSerialPortArrivalSink() = default;
    virtual ~KoDeviceSerialPortArrivalSink();

    /// Bytes have arrived; they can be read as soon as this has returned. Runs at least once for each event of the
    /// device that brings bytes, on a thread of the device layer, while a lock is held that every operation on the port
    /// takes: return soon, throw nothing, and call no operation of the port from inside.
    virtual void OnArrival() = 0;
};
