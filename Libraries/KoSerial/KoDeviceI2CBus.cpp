#include <KoDeviceI2CBus.h>

#include "DeviceI2CBus.h"

using KoSerialLib::DeviceI2CBus;

KoDeviceI2CBus::KoDeviceI2CBus() : mImpl(std::make_unique<DeviceI2CBus>()) {}

KoDeviceI2CBus::~KoDeviceI2CBus() = default;

KoResult KoDeviceI2CBus::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return mImpl->Open(aDevice, aPort);
}

KoResult KoDeviceI2CBus::Close()
{
    return mImpl->Close();
}

void KoDeviceI2CBus::Abandon()
{
    mImpl->Abandon();
}

bool KoDeviceI2CBus::IsOpened()
{
    return mImpl->IsOpened();
}

bool KoDeviceI2CBus::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    return DeviceI2CBus::IsSupported(aDevice, aPort);
}

KoResult KoDeviceI2CBus::BurstWrite(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                    bool aFastMode)
{
    return mImpl->BurstWrite(aAddress, aData, aLength, aFastMode);
}

KoResult KoDeviceI2CBus::IndirectBurstWrite(std::uint8_t aAddress, std::uint8_t aOffset, const std::uint8_t* aData,
                                            std::uint32_t aLength, bool aFastMode)
{
    return mImpl->IndirectBurstWrite(aAddress, aOffset, aData, aLength, aFastMode);
}

KoResult KoDeviceI2CBus::BurstRead(std::uint8_t aAddress, std::uint8_t* aBuffer, std::uint32_t aLength,
                                   std::uint32_t& aBytesRead, bool aFastMode)
{
    return mImpl->BurstRead(aAddress, aBuffer, aLength, aBytesRead, aFastMode);
}

KoResult KoDeviceI2CBus::IndirectBurstRead(std::uint8_t aAddress, std::uint8_t aOffset, std::uint8_t* aBuffer,
                                           std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode,
                                           bool aRepeatedStart)
{
    return mImpl->IndirectBurstRead(aAddress, aOffset, aBuffer, aLength, aBytesRead, aFastMode, aRepeatedStart);
}

KoResult KoDeviceI2CBus::MasterTransmitter(std::uint8_t aAddress, const std::uint8_t* aData, std::uint32_t aLength,
                                           bool aFastMode, bool aStop)
{
    return mImpl->MasterTransmitter(aAddress, aData, aLength, aFastMode, aStop);
}

KoResult KoDeviceI2CBus::MasterReceiverAfterFirstByte(std::uint8_t aAddress, std::uint8_t* aBuffer,
                                                      std::uint32_t aLength, std::uint32_t& aBytesRead, bool aFastMode,
                                                      bool aStop)
{
    return mImpl->MasterReceiverAfterFirstByte(aAddress, aBuffer, aLength, aBytesRead, aFastMode, aStop);
}

std::uint32_t KoDeviceI2CBus::GetLongestWrite()
{
    return mImpl->GetLongestWrite();
}
