#pragma once

#include "IRegisterSerialPort.h"

namespace KoSerialLib
{

/// An SPI bus master on a feature engine in SPI mode.
class DeviceSPIBus
{
public:
    DeviceSPIBus();
    ~DeviceSPIBus();

    DeviceSPIBus(const DeviceSPIBus&) = delete;
    DeviceSPIBus& operator=(const DeviceSPIBus&) = delete;

    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);
    KoResult Close();
    void Abandon();
    bool IsOpened();
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    KoResult BurstWriteAndRead(std::uint8_t* aData, std::uint32_t aWriteLength, std::uint32_t aReadLength,
                               bool aSimultaneous, bool aSPIControl);
    KoResult BurstRead(std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                       std::uint32_t aTimeoutMs);

    /// Most bytes that a transfer writes; 0 when the bus is not open.
    std::uint32_t GetLongestWrite();

protected:
    std::unique_ptr<IRegisterSerialPort> mEngine;
    KuUtilsLib::Logger* mLogger;

private:
    KoResult FailUnopened(const char* aOperation);
};

} // namespace KoSerialLib
