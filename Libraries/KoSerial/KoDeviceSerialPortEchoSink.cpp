#include <KoDeviceSerialPortEchoSink.h>

KoDeviceSerialPortEchoSink::~KoDeviceSerialPortEchoSink() = default;

void KoDeviceSerialPortEchoSink::OnTransmitted(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/,
                                               const std::uint8_t* /*aData*/, std::uint32_t /*aLength*/,
                                               std::uint64_t /*aTimestamp*/)
{
}

void KoDeviceSerialPortEchoSink::OnRead(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/,
                                        const std::uint8_t* /*aData*/, std::uint32_t /*aLength*/,
                                        std::uint64_t /*aTimestamp*/)
{
}

void KoDeviceSerialPortEchoSink::OnReadComplete(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/,
                                                std::uint64_t /*aTimestamp*/)
{
}
