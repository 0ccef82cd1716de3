#pragma once

#include <IKoDeviceAdapter.h>

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <string>
#include <vector>

/// A device whose answers a test sets and that records every call as a text: the name of the operation and its
/// arguments, such as "ReadRegister 0xB838", "SetGenEnumValue BulkMode I2C" or "BulkTransmit 0x3 41 42".
///
/// A register answers what the script says, whatever was written to it; an enumeration keeps the value that was set.
/// A fresh device is connected, of the right kind and offers two UARTs and no feature. Builds on any host SDK.
class ScriptedAdapter : public IKoDeviceAdapter
{
public:
    struct Enumeration
    {
        std::string mValue;
        std::vector<std::string> mEntries;
        bool mReadable = true;
        bool mWritable = true;
    };

    explicit ScriptedAdapter(std::string aIdentity);

    /// The calls since the last time this was asked.
    std::vector<std::string> TakeCalls();

    /// Makes the aCount-th call from now fail, or answer false, whose text is aCall or begins with the words of it.
    void FailCall(const std::string& aCall, std::size_t aCount = 1);

    /// Makes all these calls fail, or answer false.
    void FailEvery(const std::string& aCall);

    /// Delivers an event to every registered sink.
    void SendEvent(std::uint16_t aEventId, const void* aData, std::uint32_t aLength);
    void SendWords(std::uint16_t aEventId, const std::vector<std::uint32_t>& aWords);

    /// Reports to every registered sink that a feature has changed.
    void Invalidate(const char* aFeature);

    bool IsGenIntegerPresent(const KoString& aName) override;
    bool IsGenEnumPresent(const KoString& aName) override;
    bool IsGenRegisterPresent(const KoString& aName) override;
    bool IsGenEnumReadable(const KoString& aName) override;
    bool IsGenEnumWritable(const KoString& aName) override;
    bool IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName) override;
    KoResult GetGenIntegerValue(const KoString& aName, std::int64_t& aValue) override;
    KoResult GetGenEnumEntries(const KoString& aName, KoStringList& aEntries) override;
    KoResult GetGenEnumValue(const KoString& aName, KoString& aValue) override;
    KoResult SetGenEnumValue(const KoString& aName, const KoString& aValue) override;
    KoResult GetGenRegisterLength(const KoString& aName, std::int64_t& aLength) override;
    KoResult GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength) override;
    KoResult SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength) override;
    KoResult RegisterGenInvalidator(const KoString& aName) override;
    KoResult UnregisterGenInvalidator(const KoString& aName) override;
    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) override;
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override;
    KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) override;
    KoResult WaitForIdle(std::uint32_t aTimeoutMs) override;
    bool IsConnected() override;
    bool IsTavricVideoInterface() override;
    bool IsGigEVision() override;
    KoResult RegisterEventSink(IKoDeviceEventSink* aSink) override;
    KoResult UnregisterEventSink(IKoDeviceEventSink* aSink) override;
    KoResult GetDeviceId(KoString& aId) override;

    std::string mIdentity;
    bool mConnected = true;
    bool mTavricVideoInterface = true;
    bool mGigEVision = true;

    KoResult mRefusal{KoResult::GENERIC_ERROR}; ///< the result of a call that fails

    /// What reads of a register yield, one after the other; the last value stays. Others read 0.
    std::map<std::uint32_t, std::deque<std::uint32_t>> mRegisters;

    std::map<std::string, std::int64_t> mIntegers;
    std::map<std::string, Enumeration> mEnumerations;
    std::map<std::string, std::vector<std::uint8_t>> mGenRegisters;
    std::map<std::string, std::int64_t> mGenRegisterLengths; ///< told instead of the true length of a register

    std::function<void(const std::string& aCall)> mOnCall; ///< before each call is answered
    std::function<void(std::uint32_t aAddress, std::uint32_t aValue)> mOnWriteRegister; ///< after each that succeeds

    std::vector<IKoDeviceEventSink*> mSinks; ///< the registered sinks

private:
    struct Failure
    {
        std::string mCall;
        std::size_t mCountdown; ///< calls until the one that fails; 0: every call fails
    };

    bool Answer(const std::string& aCall);
    KoResult Respond(const std::string& aCall);
    const Enumeration* FindEnumeration(const KoString& aName) const;

    std::vector<std::string> mCalls;
    std::vector<Failure> mFailures;
};
