#pragma once

#include "Check.h"

#include <KoDeviceSerialPort.h>

#include <cstdint>

/// A port that is open from its construction to its destruction. The device must outlive it.
class OpenPort
{
public:
    OpenPort(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort)
    {
        Check(mPort.Open(&aDevice, aPort).IsOK(), "cannot open the port");
    }
    ~OpenPort() { mPort.Close(); }
    OpenPort(const OpenPort&) = delete;
    OpenPort& operator=(const OpenPort&) = delete;

    KoDeviceSerialPort* operator->() { return &mPort; }

    void Write(const std::uint8_t* aData, std::uint32_t aSize)
    {
        std::uint32_t written = 0;
        const bool isWritten = mPort.Write(aData, aSize, written).IsOK();
        Check(isWritten && written == aSize, "a write did not send its bytes");
    }

private:
    KoDeviceSerialPort mPort;
};
