#include <KoDeviceSPIBus.h>

#include "DeviceSPIBus.h"

using KoSerialLib::DeviceSPIBus;

KoDeviceSPIBus::KoDeviceSPIBus() : mImpl(std::make_unique<DeviceSPIBus>()) {}

KoDeviceSPIBus::~KoDeviceSPIBus() = default;

KoResult KoDeviceSPIBus::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return mImpl->Open(aDevice, aPort);
}

KoResult KoDeviceSPIBus::Close()
{
    return mImpl->Close();
}

void KoDeviceSPIBus::Abandon()
{
    mImpl->Abandon();
}

bool KoDeviceSPIBus::IsOpened()
{
    return mImpl->IsOpened();
}

bool KoDeviceSPIBus::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return DeviceSPIBus::IsSupported(aDevice, aPort);
}

KoResult KoDeviceSPIBus::BurstWriteAndRead(std::uint8_t* aData, std::uint32_t aWriteLength, std::uint32_t aReadLength,
                                           bool aSimultaneous, bool aSPIControl)
{
    return mImpl->BurstWriteAndRead(aData, aWriteLength, aReadLength, aSimultaneous, aSPIControl);
}

KoResult KoDeviceSPIBus::BurstRead(std::uint8_t* aBuffer, std::uint32_t aLength, std::uint32_t& aBytesRead,
                                   std::uint32_t aTimeoutMs)
{
    return mImpl->BurstRead(aBuffer, aLength, aBytesRead, aTimeoutMs);
}

std::uint32_t KoDeviceSPIBus::GetLongestWrite()
{
    return mImpl->GetLongestWrite();
}
