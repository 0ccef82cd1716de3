#pragma once

#include <IKoDeviceEventSink.h>
#include <KoResult.h>
#include <KoString.h>
#include <KoStringList.h>

#include <cstdint>

class IKoDeviceAdapter
{
public:
    virtual bool IsGenIntegerPresent(const KoString& aName) = 0;
    virtual bool IsGenEnumPresent(const KoString& aName) = 0;
    virtual bool IsGenRegisterPresent(const KoString& aName) = 0;
    virtual bool IsGenEnumReadable(const KoString& aName) = 0;
    virtual bool IsGenEnumWritable(const KoString& aName) = 0;
    virtual bool IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName) = 0;
    virtual KoResult GetGenIntegerValue(const KoString& aName, std::int64_t& aValue) = 0;
    virtual KoResult GetGenEnumEntries(const KoString& aName, KoStringList& aEntries) = 0;
    virtual KoResult GetGenEnumValue(const KoString& aName, KoString& aValue) = 0;
    virtual KoResult SetGenEnumValue(const KoString& aName, const KoString& aValue) = 0;
    virtual KoResult GetGenRegisterLength(const KoString& aName, std::int64_t& aLength) = 0;
    virtual KoResult GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength) = 0;
    virtual KoResult SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength) = 0;
    virtual KoResult RegisterGenInvalidator(const KoString& aName) = 0;
    virtual KoResult UnregisterGenInvalidator(const KoString& aName) = 0;
    virtual KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) = 0;
    virtual KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) = 0;
    virtual KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) = 0;
    virtual KoResult WaitForIdle(std::uint32_t aTimeoutMs) = 0;
    virtual bool IsConnected() = 0;
    virtual bool IsTavricVideoInterface() = 0;
    virtual bool IsGigEVision() = 0;
    virtual KoResult RegisterEventSink(IKoDeviceEventSink* aSink) = 0;
    virtual KoResult UnregisterEventSink(IKoDeviceEventSink* aSink) = 0;
    virtual KoResult GetDeviceId(KoString& aId) = 0;
    virtual ~IKoDeviceAdapter() = default;
};
