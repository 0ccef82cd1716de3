#pragma once

#include "Devices.h"
#include "OpenPort.h"

#include <cstdint>
#include <vector>

/// The ways of received bytes through the library. Every way, and every peer of them, has
///
///     explicit Path(std::uint32_t aEventSize);
///     void Send();                                                    the device's side: one event of that many bytes
///     std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize); the reader's side: up to aSize bytes

constexpr std::uint32_t READ_TIMEOUT_MS = 10000;

/// What the reader does on each of them.
class PortReader
{
public:
    PortReader(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort) : mPort(aDevice, aPort) {}

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        std::uint32_t count = 0;
        const bool isRead = mPort->Read(aBuffer, aSize, count, READ_TIMEOUT_MS).IsOK();
        return isRead ? count : 0;
    }

private:
    OpenPort mPort;
};

/// A port in registers: an event is a status word and what was received.
template <KoDeviceSerial PORT, std::uint32_t STATUS, std::uint32_t BYTES_PER_BYTE>
class RegisterPath
{
public:
    explicit RegisterPath(std::uint32_t aEventSize) : mEvent(1 + aEventSize * BYTES_PER_BYTE / 4, 0x55)
    {
        mEvent[0] = STATUS;
    }

    void Send()
    {
        mDevice.mSink->NotifyEvent(SERIAL_INTERRUPT_EVENT, 0, 0, 0, mEvent.data(),
                                   static_cast<std::uint32_t>(mEvent.size() * sizeof(mEvent[0])));
    }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize) { return mReader.Take(aBuffer, aSize); }

private:
    std::vector<std::uint32_t> mEvent;
    RegisterDevice mDevice;
    PortReader mReader{mDevice, PORT};
};

/// One word for each byte.
using UartPath = RegisterPath<KoDeviceSerialUart0, UART0_RECEIVED, 4>;

/// The bytes one after the other; their number is a multiple of 4.
using BulkPath = RegisterPath<KoDeviceSerialBulk0, BULK0_RECEIVED, 1>;

/// A bulk port in features.
class FeaturePath
{
public:
    explicit FeaturePath(std::uint32_t aEventSize) : mDevice(LARGEST_EVENT, aEventSize) {}

    void Send() { mDevice.mSink->NotifyInvalidatedGenParameter(mName); }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize) { return mReader.Take(aBuffer, aSize); }

private:
    static constexpr std::int64_t LARGEST_EVENT = 2048;

    const KoString mName{"EventBulk1UpstreamDataBuffer"};
    FeatureDevice mDevice;
    PortReader mReader{mDevice, KoDeviceSerialBulk1};
};
