#pragma once

#include "EmptyAdapter.h"

/// A device with all ports, on which a bulk port may run I2C and SPI; its operations take no memory of their own, so
/// that they never fail when it runs out. It confirms nothing of what is sent, and has a byte in the registers of its
/// UARTs.
class LeanDevice : public EmptyAdapter
{
public:
    bool IsGenIntegerPresent(const KoString&) override { return true; }
    bool IsGenEnumPresent(const KoString&) override { return true; }
    bool IsGenRegisterPresent(const KoString&) override { return true; }
    bool IsGenEnumReadable(const KoString&) override { return true; }
    bool IsGenEnumWritable(const KoString&) override { return true; }
    bool IsGenEnumEntryAvailable(const KoString&, const KoString&) override { return true; }
    KoResult GetGenIntegerValue(const KoString&, std::int64_t& aValue) override
    {
        aValue = UPSTREAM_COUNT;
        return Ok();
    }
    KoResult GetGenEnumEntries(const KoString&, KoStringList& aEntries) override
    {
        aEntries.Add(KoString("Baud9600"));
        return Ok();
    }
    KoResult GetGenEnumValue(const KoString&, KoString& aValue) override
    {
        aValue = KoString("Other");
        return Ok();
    }
    KoResult SetGenEnumValue(const KoString&, const KoString&) override { return Ok(); }
    KoResult GetGenRegisterLength(const KoString&, std::int64_t& aLength) override
    {
        aLength = REGISTER_LENGTH;
        return Ok();
    }
    KoResult GetGenRegisterData(const KoString&, std::uint8_t*, std::int64_t) override { return Ok(); }
    KoResult SetGenRegisterData(const KoString&, const std::uint8_t*, std::int64_t) override { return Ok(); }
    KoResult RegisterGenInvalidator(const KoString&) override { return Ok(); }
    KoResult UnregisterGenInvalidator(const KoString&) override { return Ok(); }
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override
    {
        switch (aAddress)
        {
        case 0xB8FC:
            *aValue = 0x80000032;
            break;
        case 0xB95C:
            *aValue = 3;
            break;
        case 0xB84C:
        case 0xB850:
            *aValue = 0x10041;
            break;
        default:
            *aValue = 0;
        }
        return Ok();
    }
    KoResult GetDeviceId(KoString& aId) override
    {
        aId = KoString("a device whose name takes memory");
        return Ok();
    }

    static constexpr std::int64_t REGISTER_LENGTH = 64;
    static constexpr std::int64_t UPSTREAM_COUNT = 3;
};
