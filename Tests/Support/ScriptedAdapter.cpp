#include "ScriptedAdapter.h"

#include "HexText.h"

#include <algorithm>
#include <utility>

namespace
{

constexpr std::uint32_t FUNCTION_CAPS = 0xB8FC;
constexpr std::uint32_t TWO_UARTS = 0x80000002;

std::string Call(const char* aOperation, const KoString& aName)
{
    return std::string(aOperation) + ' ' + aName.GetAscii();
}

bool Matches(const std::string& aCall, const std::string& aPattern)
{
    return aCall == aPattern || aCall.compare(0, aPattern.size() + 1, aPattern + ' ') == 0;
}

} // namespace

ScriptedAdapter::ScriptedAdapter(std::string aIdentity) : mIdentity(std::move(aIdentity))
{
    mRegisters[FUNCTION_CAPS] = {TWO_UARTS};
}

std::vector<std::string> ScriptedAdapter::TakeCalls()
{
    return std::exchange(mCalls, {});
}

void ScriptedAdapter::FailCall(const std::string& aCall, std::size_t aCount)
{
    mFailures.push_back({aCall, aCount});
}

void ScriptedAdapter::FailEvery(const std::string& aCall)
{
    mFailures.push_back({aCall, 0});
}

void ScriptedAdapter::SendEvent(std::uint16_t aEventId, const void* aData, std::uint32_t aLength)
{
    for (IKoDeviceEventSink* const sink : mSinks)
    {
        sink->NotifyEvent(aEventId, 0, 0, 0, aData, aLength);
    }
}

void ScriptedAdapter::SendWords(std::uint16_t aEventId, const std::vector<std::uint32_t>& aWords)
{
    SendEvent(aEventId, aWords.data(), static_cast<std::uint32_t>(aWords.size() * sizeof(std::uint32_t)));
}

void ScriptedAdapter::Invalidate(const char* aFeature)
{
    for (IKoDeviceEventSink* const sink : mSinks)
    {
        sink->NotifyInvalidatedGenParameter(KoString(aFeature));
    }
}

/// Records a call; false when the script makes it fail.
bool ScriptedAdapter::Answer(const std::string& aCall)
{
    mCalls.push_back(aCall);
    if (mOnCall)
    {
        mOnCall(aCall);
    }
    bool succeeds = true;
    for (auto failure = mFailures.begin(); failure != mFailures.end();)
    {
        const bool matches = Matches(aCall, failure->mCall);
        const bool fires = matches && failure->mCountdown <= 1;
        succeeds = succeeds && !fires;
        if (fires && failure->mCountdown == 1)
        {
            failure = mFailures.erase(failure);
            continue;
        }
        if (matches && !fires)
        {
            --failure->mCountdown;
        }
        ++failure;
    }
    return succeeds;
}

KoResult ScriptedAdapter::Respond(const std::string& aCall)
{
    return Answer(aCall) ? KoResult(KoResult::OK) : mRefusal;
}

const ScriptedAdapter::Enumeration* ScriptedAdapter::FindEnumeration(const KoString& aName) const
{
    const auto found = mEnumerations.find(aName.GetAscii());
    return found == mEnumerations.end() ? nullptr : &found->second;
}

bool ScriptedAdapter::IsGenIntegerPresent(const KoString& aName)
{
    return Answer(Call("IsGenIntegerPresent", aName)) && mIntegers.count(aName.GetAscii()) != 0;
}

bool ScriptedAdapter::IsGenEnumPresent(const KoString& aName)
{
    return Answer(Call("IsGenEnumPresent", aName)) && FindEnumeration(aName) != nullptr;
}

bool ScriptedAdapter::IsGenRegisterPresent(const KoString& aName)
{
    return Answer(Call("IsGenRegisterPresent", aName)) && mGenRegisters.count(aName.GetAscii()) != 0;
}

bool ScriptedAdapter::IsGenEnumReadable(const KoString& aName)
{
    const Enumeration* const feature = FindEnumeration(aName);
    return Answer(Call("IsGenEnumReadable", aName)) && feature != nullptr && feature->mReadable;
}

bool ScriptedAdapter::IsGenEnumWritable(const KoString& aName)
{
    const Enumeration* const feature = FindEnumeration(aName);
    return Answer(Call("IsGenEnumWritable", aName)) && feature != nullptr && feature->mWritable;
}

bool ScriptedAdapter::IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName)
{
    const Enumeration* const feature = FindEnumeration(aEnumName);
    return Answer(Call("IsGenEnumEntryAvailable", aEnumName) + ' ' + aEntryName.GetAscii()) && feature != nullptr &&
           std::count(feature->mEntries.begin(), feature->mEntries.end(), aEntryName.GetAscii()) != 0;
}

KoResult ScriptedAdapter::GetGenIntegerValue(const KoString& aName, std::int64_t& aValue)
{
    const auto feature = mIntegers.find(aName.GetAscii());
    if (!Answer(Call("GetGenIntegerValue", aName)) || feature == mIntegers.end())
    {
        return mRefusal;
    }
    aValue = feature->second;
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::GetGenEnumEntries(const KoString& aName, KoStringList& aEntries)
{
    const Enumeration* const feature = FindEnumeration(aName);
    if (!Answer(Call("GetGenEnumEntries", aName)) || feature == nullptr)
    {
        return mRefusal;
    }
    for (const std::string& entry : feature->mEntries)
    {
        aEntries.Add(KoString(entry.c_str()));
    }
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::GetGenEnumValue(const KoString& aName, KoString& aValue)
{
    const Enumeration* const feature = FindEnumeration(aName);
    if (!Answer(Call("GetGenEnumValue", aName)) || feature == nullptr)
    {
        return mRefusal;
    }
    aValue = KoString(feature->mValue.c_str());
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::SetGenEnumValue(const KoString& aName, const KoString& aValue)
{
    const auto feature = mEnumerations.find(aName.GetAscii());
    if (!Answer(Call("SetGenEnumValue", aName) + ' ' + aValue.GetAscii()) || feature == mEnumerations.end())
    {
        return mRefusal;
    }
    feature->second.mValue = aValue.GetAscii();
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::GetGenRegisterLength(const KoString& aName, std::int64_t& aLength)
{
    const auto feature = mGenRegisters.find(aName.GetAscii());
    if (!Answer(Call("GetGenRegisterLength", aName)) || feature == mGenRegisters.end())
    {
        return mRefusal;
    }
    const auto length = mGenRegisterLengths.find(aName.GetAscii());
    aLength = length == mGenRegisterLengths.end() ? static_cast<std::int64_t>(feature->second.size()) : length->second;
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength)
{
    const auto feature = mGenRegisters.find(aName.GetAscii());
    if (!Answer(Call("GetGenRegisterData", aName) + ' ' + std::to_string(aLength)) || feature == mGenRegisters.end())
    {
        return mRefusal;
    }
    const std::size_t wanted = static_cast<std::size_t>(aLength);
    std::copy_n(feature->second.begin(), std::min(wanted, feature->second.size()), aBuffer);
    return KoResult(KoResult::OK);
}

KoResult ScriptedAdapter::SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength)
{
    return Respond(Call("SetGenRegisterData", aName) + ' ' + HexText(aData, static_cast<std::size_t>(aLength)));
}

KoResult ScriptedAdapter::RegisterGenInvalidator(const KoString& aName)
{
    return Respond(Call("RegisterGenInvalidator", aName));
}

KoResult ScriptedAdapter::UnregisterGenInvalidator(const KoString& aName)
{
    return Respond(Call("UnregisterGenInvalidator", aName));
}

KoResult ScriptedAdapter::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    const KoResult result = Respond("WriteRegister " + HexText(aAddress) + ' ' + HexText(aValue));
    if (result.IsOK() && mOnWriteRegister)
    {
        mOnWriteRegister(aAddress, aValue);
    }
    return result;
}

KoResult ScriptedAdapter::ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue)
{
    const KoResult result = Respond("ReadRegister " + HexText(aAddress));
    if (!result.IsOK())
    {
        return result;
    }
    std::deque<std::uint32_t>& values = mRegisters[aAddress];
    *aValue = values.empty() ? 0 : values.front();
    if (values.size() > 1)
    {
        values.pop_front();
    }
    return result;
}

KoResult ScriptedAdapter::BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength)
{
    return Respond("BulkTransmit " + HexText(aCommand) + ' ' + HexText(aData, aLength));
}

KoResult ScriptedAdapter::WaitForIdle(std::uint32_t aTimeoutMs)
{
    return Respond("WaitForIdle " + std::to_string(aTimeoutMs));
}

bool ScriptedAdapter::IsConnected()
{
    return Answer("IsConnected") && mConnected;
}

bool ScriptedAdapter::IsTavricVideoInterface()
{
    return Answer("IsTavricVideoInterface") && mTavricVideoInterface;
}

bool ScriptedAdapter::IsGigEVision()
{
    return Answer("IsGigEVision") && mGigEVision;
}

KoResult ScriptedAdapter::RegisterEventSink(IKoDeviceEventSink* aSink)
{
    const KoResult result = Respond("RegisterEventSink");
    if (result.IsOK())
    {
        mSinks.push_back(aSink);
    }
    return result;
}

KoResult ScriptedAdapter::UnregisterEventSink(IKoDeviceEventSink* aSink)
{
    mSinks.erase(std::remove(mSinks.begin(), mSinks.end(), aSink), mSinks.end());
    return Respond("UnregisterEventSink");
}

KoResult ScriptedAdapter::GetDeviceId(KoString& aId)
{
    const KoResult result = Respond("GetDeviceId");
    if (result.IsOK())
    {
        aId = KoString(mIdentity.c_str());
    }
    return result;
}
