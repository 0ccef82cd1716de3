#include <KoSim/FaultInjectingAdapter.h>

#include <cstdio>
#include <thread>
#include <utility>

namespace KoSim
{
namespace
{

/// The operation and its arguments, with blanks between them.
template <typename... Arguments>
std::string Call(const char* aOperation, const Arguments&... aArguments)
{
    std::string text = aOperation;
    ((text += ' ', text += aArguments), ...);
    return text;
}

std::string Hex(std::uint32_t aValue)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", aValue);
    return text;
}

/// One of 2^64 values, as if by chance, that depends on the two arguments only.
std::uint64_t Draw(std::uint64_t aSeed, std::uint64_t aNumber)
{
    std::uint64_t value = aSeed + (aNumber + 1) * 0x9E3779B97F4A7C15U;
    value = (value ^ (value >> 30)) * 0xBF58476D1CE4E5B9U;
    value = (value ^ (value >> 27)) * 0x94D049BB133111EBU;
    return value ^ (value >> 31);
}

/// At least 0 and less than 1.
double DrawFraction(std::uint64_t aSeed, std::uint64_t aNumber)
{
    constexpr double STEPS = 9007199254740992.0; // 2^53, as many as a double tells apart
    return static_cast<double>(Draw(aSeed, aNumber) >> 11) / STEPS;
}

std::string Describe(const Fault& aFault)
{
    switch (aFault.mKind)
    {
    case Fault::Kind::Fail:
        return std::string("fails with ") + KoResult(aFault.mCode).GetCodeString();
    case Fault::Kind::Delay:
        return "delayed by " + std::to_string(aFault.mDelay.count()) + " ms";
    case Fault::Kind::Disconnect:
        break;
    }
    return "fails because the device is disconnected";
}

} // namespace

Fault Fault::Fail(std::uint32_t aCode)
{
    Fault fault;
    fault.mCode = aCode;
    return fault;
}

Fault Fault::Delay(std::chrono::milliseconds aDelay)
{
    Fault fault;
    fault.mKind = Kind::Delay;
    fault.mCode = KoResult::OK;
    fault.mDelay = aDelay;
    return fault;
}

Fault Fault::Disconnect()
{
    Fault fault;
    fault.mKind = Kind::Disconnect;
    fault.mCode = KoResult::NOT_CONNECTED;
    return fault;
}

std::string FaultInjectingAdapter::LogEntry::GetText() const
{
    return std::to_string(mNumber) + ": " + mCall + (mFault ? ": " + Describe(*mFault) : "");
}

FaultInjectingAdapter::FaultInjectingAdapter(IKoDeviceAdapter& aDevice, LogScope aLogScope)
    : mDevice(aDevice),
      mLogScope(aLogScope)
{
}

void FaultInjectingAdapter::InjectAt(std::uint64_t aNumber, const Fault& aFault)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mPlanned[aNumber] = aFault;
}

void FaultInjectingAdapter::InjectRandomly(std::uint64_t aSeed, double aRate, std::vector<Fault> aFaults)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mChance = {aSeed, aRate, std::move(aFaults)};
}

void FaultInjectingAdapter::ClearFaults()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mPlanned.clear();
    mChance = Chance();
}

void FaultInjectingAdapter::Reconnect()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    mDisconnected = false;
}

std::uint64_t FaultInjectingAdapter::GetCallCount() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mCallCount;
}

std::uint64_t FaultInjectingAdapter::GetFaultCount() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mFaultCount;
}

std::vector<FaultInjectingAdapter::LogEntry> FaultInjectingAdapter::TakeLog()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return std::exchange(mLog, {});
}

/// Counts a call; what goes wrong with it, if anything does.
std::optional<Fault> FaultInjectingAdapter::Enter(const std::string& aCall)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const std::uint64_t number = mCallCount++;
    std::optional<Fault> fault;
    if (mDisconnected)
    {
        fault = Fault::Disconnect();
    }
    else if ((fault = Decide(number)))
    {
        ++mFaultCount;
        mDisconnected = fault->mKind == Fault::Kind::Disconnect;
    }
    if (fault || mLogScope == LogScope::Calls)
    {
        mLog.push_back({number, aCall, fault});
    }
    return fault;
}

/// What goes wrong with a call to the connected device.
std::optional<Fault> FaultInjectingAdapter::Decide(std::uint64_t aNumber) const
{
    const auto planned = mPlanned.find(aNumber);
    if (planned != mPlanned.end())
    {
        return planned->second;
    }
    if (mChance.mFaults.empty() || DrawFraction(mChance.mSeed, 2 * aNumber) >= mChance.mRate)
    {
        return std::nullopt;
    }
    return mChance.mFaults[Draw(mChance.mSeed, 2 * aNumber + 1) % mChance.mFaults.size()];
}

template <typename Access>
KoResult FaultInjectingAdapter::Pass(const std::string& aCall, Access aAccess)
{
    const std::optional<Fault> fault = Enter(aCall);
    if (fault && fault->mKind != Fault::Kind::Delay)
    {
        return KoResult(fault->mCode, KoString(("Injected into " + aCall).c_str()));
    }
    if (fault)
    {
        std::this_thread::sleep_for(fault->mDelay);
    }
    return aAccess();
}

template <typename Query>
bool FaultInjectingAdapter::Ask(const std::string& aCall, Query aQuery)
{
    bool answer = false;
    const KoResult asked = Pass(aCall,
                                [&]
                                {
                                    answer = aQuery();
                                    return KoResult(KoResult::OK);
                                });
    return asked.IsOK() && answer;
}

bool FaultInjectingAdapter::IsGenIntegerPresent(const KoString& aName)
{
    return Ask(Call("IsGenIntegerPresent", aName), [&] { return mDevice.IsGenIntegerPresent(aName); });
}

bool FaultInjectingAdapter::IsGenEnumPresent(const KoString& aName)
{
    return Ask(Call("IsGenEnumPresent", aName), [&] { return mDevice.IsGenEnumPresent(aName); });
}

bool FaultInjectingAdapter::IsGenRegisterPresent(const KoString& aName)
{
    return Ask(Call("IsGenRegisterPresent", aName), [&] { return mDevice.IsGenRegisterPresent(aName); });
}

bool FaultInjectingAdapter::IsGenEnumReadable(const KoString& aName)
{
    return Ask(Call("IsGenEnumReadable", aName), [&] { return mDevice.IsGenEnumReadable(aName); });
}

bool FaultInjectingAdapter::IsGenEnumWritable(const KoString& aName)
{
    return Ask(Call("IsGenEnumWritable", aName), [&] { return mDevice.IsGenEnumWritable(aName); });
}

bool FaultInjectingAdapter::IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName)
{
    return Ask(Call("IsGenEnumEntryAvailable", aEnumName, aEntryName),
               [&] { return mDevice.IsGenEnumEntryAvailable(aEnumName, aEntryName); });
}

KoResult FaultInjectingAdapter::GetGenIntegerValue(const KoString& aName, std::int64_t& aValue)
{
    return Pass(Call("GetGenIntegerValue", aName), [&] { return mDevice.GetGenIntegerValue(aName, aValue); });
}

KoResult FaultInjectingAdapter::GetGenEnumEntries(const KoString& aName, KoStringList& aEntries)
{
    return Pass(Call("GetGenEnumEntries", aName), [&] { return mDevice.GetGenEnumEntries(aName, aEntries); });
}

KoResult FaultInjectingAdapter::GetGenEnumValue(const KoString& aName, KoString& aValue)
{
    return Pass(Call("GetGenEnumValue", aName), [&] { return mDevice.GetGenEnumValue(aName, aValue); });
}

KoResult FaultInjectingAdapter::SetGenEnumValue(const KoString& aName, const KoString& aValue)
{
    return Pass(Call("SetGenEnumValue", aName, aValue), [&] { return mDevice.SetGenEnumValue(aName, aValue); });
}

KoResult FaultInjectingAdapter::GetGenRegisterLength(const KoString& aName, std::int64_t& aLength)
{
    return Pass(Call("GetGenRegisterLength", aName), [&] { return mDevice.GetGenRegisterLength(aName, aLength); });
}

KoResult FaultInjectingAdapter::GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength)
{
    return Pass(Call("GetGenRegisterData", aName, std::to_string(aLength)),
                [&] { return mDevice.GetGenRegisterData(aName, aBuffer, aLength); });
}

KoResult FaultInjectingAdapter::SetGenRegisterData(const KoString& aName, const std::uint8_t* aData,
                                                   std::int64_t aLength)
{
    return Pass(Call("SetGenRegisterData", aName, std::to_string(aLength)),
                [&] { return mDevice.SetGenRegisterData(aName, aData, aLength); });
}

KoResult FaultInjectingAdapter::RegisterGenInvalidator(const KoString& aName)
{
    return Pass(Call("RegisterGenInvalidator", aName), [&] { return mDevice.RegisterGenInvalidator(aName); });
}

KoResult FaultInjectingAdapter::UnregisterGenInvalidator(const KoString& aName)
{
    return Pass(Call("UnregisterGenInvalidator", aName), [&] { return mDevice.UnregisterGenInvalidator(aName); });
}

KoResult FaultInjectingAdapter::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    return Pass(Call("WriteRegister", Hex(aAddress), Hex(aValue)),
                [&] { return mDevice.WriteRegister(aAddress, aValue); });
}

KoResult FaultInjectingAdapter::ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue)
{
    return Pass(Call("ReadRegister", Hex(aAddress)), [&] { return mDevice.ReadRegister(aAddress, aValue); });
}

KoResult FaultInjectingAdapter::BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength)
{
    return Pass(Call("BulkTransmit", Hex(aCommand), std::to_string(aLength)),
                [&] { return mDevice.BulkTransmit(aData, aCommand, aLength); });
}

KoResult FaultInjectingAdapter::WaitForIdle(std::uint32_t aTimeoutMs)
{
    return Pass(Call("WaitForIdle", std::to_string(aTimeoutMs)), [&] { return mDevice.WaitForIdle(aTimeoutMs); });
}

bool FaultInjectingAdapter::IsConnected()
{
    return Ask(Call("IsConnected"), [&] { return mDevice.IsConnected(); });
}

bool FaultInjectingAdapter::IsTavricVideoInterface()
{
    return Ask(Call("IsTavricVideoInterface"), [&] { return mDevice.IsTavricVideoInterface(); });
}

bool FaultInjectingAdapter::IsGigEVision()
{
    return Ask(Call("IsGigEVision"), [&] { return mDevice.IsGigEVision(); });
}

KoResult FaultInjectingAdapter::RegisterEventSink(IKoDeviceEventSink* aSink)
{
    return Pass(Call("RegisterEventSink"), [&] { return mDevice.RegisterEventSink(aSink); });
}

KoResult FaultInjectingAdapter::UnregisterEventSink(IKoDeviceEventSink* aSink)
{
    bool reached = false;
    const auto unregister = [&]
    {
        reached = true;
        return mDevice.UnregisterEventSink(aSink);
    };
    KoResult result = Pass(Call("UnregisterEventSink"), unregister);
    if (!reached)
    {
        unregister();
    }
    return result;
}

KoResult FaultInjectingAdapter::GetDeviceId(KoString& aId)
{
    aId = KoString();
    return Pass(Call("GetDeviceId"), [&] { return mDevice.GetDeviceId(aId); });
}

} // namespace KoSim
