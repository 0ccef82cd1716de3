#pragma once

#include <IKoDeviceAdapter.h>

/// A connected device that has nothing: the base of adapters that need a few operations only.
class EmptyAdapter : public IKoDeviceAdapter
{
public:
    bool IsGenIntegerPresent(const KoString&) override { return false; }
    bool IsGenEnumPresent(const KoString&) override { return false; }
    bool IsGenRegisterPresent(const KoString&) override { return false; }
    bool IsGenEnumReadable(const KoString&) override { return false; }
    bool IsGenEnumWritable(const KoString&) override { return false; }
    bool IsGenEnumEntryAvailable(const KoString&, const KoString&) override { return false; }
    KoResult GetGenIntegerValue(const KoString&, std::int64_t&) override { return NotFound(); }
    KoResult GetGenEnumEntries(const KoString&, KoStringList&) override { return NotFound(); }
    KoResult GetGenEnumValue(const KoString&, KoString&) override { return NotFound(); }
    KoResult SetGenEnumValue(const KoString&, const KoString&) override { return NotFound(); }
    KoResult GetGenRegisterLength(const KoString&, std::int64_t&) override { return NotFound(); }
    KoResult GetGenRegisterData(const KoString&, std::uint8_t*, std::int64_t) override { return NotFound(); }
    KoResult SetGenRegisterData(const KoString&, const std::uint8_t*, std::int64_t) override { return NotFound(); }
    KoResult RegisterGenInvalidator(const KoString&) override { return NotFound(); }
    KoResult UnregisterGenInvalidator(const KoString&) override { return NotFound(); }
    KoResult WriteRegister(std::uint32_t, std::uint32_t) override { return Ok(); }
    KoResult ReadRegister(std::uint32_t, std::uint32_t* aValue) override
    {
        *aValue = 0;
        return Ok();
    }
    KoResult BulkTransmit(const std::uint8_t*, std::uint32_t, std::uint32_t) override { return Ok(); }
    KoResult WaitForIdle(std::uint32_t) override { return Ok(); }
    bool IsConnected() override { return true; }
    bool IsTavricVideoInterface() override { return true; }
    bool IsGigEVision() override { return true; }
    KoResult RegisterEventSink(IKoDeviceEventSink* aSink) override
    {
        mSink = aSink;
        return Ok();
    }
    KoResult UnregisterEventSink(IKoDeviceEventSink*) override
    {
        mSink = nullptr;
        return Ok();
    }
    KoResult GetDeviceId(KoString& aId) override
    {
        aId = KoString("empty");
        return Ok();
    }

    IKoDeviceEventSink* mSink = nullptr; ///< the sink that is registered

protected:
    static KoResult Ok() { return KoResult(KoResult::OK); }
    static KoResult NotFound() { return KoResult(KoResult::NOT_FOUND); }
};
