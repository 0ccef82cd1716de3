#pragma once

#include <IKoDeviceAdapter.h>
#include <KoSim/KoSimExport.h>

#include <chrono>
#include <cstdint>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace KoSim
{

/// What goes wrong with a call.
struct KO_SIM_API Fault
{
    enum class Kind
    {
        Fail,       ///< the call does not reach the device; it fails with mCode, a query answers false
        Delay,      ///< the call reaches the device mDelay later than it was made
        Disconnect, ///< the call does not reach the device, and neither does any later one
    };

    static Fault Fail(std::uint32_t aCode = KoResult::GENERIC_ERROR);
    static Fault Delay(std::chrono::milliseconds aDelay);
    static Fault Disconnect();

    Kind mKind = Kind::Fail;
    std::uint32_t mCode = KoResult::GENERIC_ERROR;
    std::chrono::milliseconds mDelay{0};
};

/// A device whose accesses go wrong when they are told to: put it between a library and any device to see what the
/// library makes of a device that answers late, wrongly or not at all.
///
/// Calls are numbered from 0 in the order in which they are made, over all operations and threads. Which of them go
/// wrong is set by number, or left to chance, which depends on nothing but a seed and the number of the call. The
/// number of the next call is GetCallCount(), so that a fault at `GetCallCount() + n` spares the next n calls:
/// @code
/// KoSim::FaultInjectingAdapter faulty(device);
/// faulty.InjectAt(faulty.GetCallCount() + 2, KoSim::Fault::Fail(KoResult::TIMEOUT));
/// @endcode
///
/// A call that fails leaves its outputs as they were, except that GetDeviceId() leaves the text empty. Its result names
/// the call in its description. While the device is disconnected every call fails with NOT_CONNECTED and every query,
/// IsConnected() among them, answers false.
///
/// Sinks are registered at the device itself: events come from there as ever, also while this adapter is disconnected.
/// UnregisterEventSink() always reaches the device, whatever it answers, because a sink may be destroyed after it.
///
/// Every operation may be called from any thread. No lock is held while a call is delayed or at the device.
class KO_SIM_API FaultInjectingAdapter : public IKoDeviceAdapter
{
public:
    /// Which calls the log holds.
    enum class LogScope
    {
        Faults, ///< those that went wrong, through a fault or because the device is disconnected
        Calls,  ///< all of them
    };

    /// A call in the log.
    struct LogEntry
    {
        std::uint64_t mNumber = 0;
        std::string mCall;           ///< the operation and its arguments, such as "ReadRegister 0xB838"
        std::optional<Fault> mFault; ///< what went wrong; nothing when the call went through

        /// True when the call did not reach the device.
        bool IsFailed() const { return mFault && mFault->mKind != Fault::Kind::Delay; }

        /// For people: "17: ReadRegister 0xB838: fails with TIMEOUT".
        KO_SIM_API std::string GetText() const;
    };

    /// Passes everything on until it is told otherwise.
    /// @param aDevice not owned; must outlive this object
    explicit FaultInjectingAdapter(IKoDeviceAdapter& aDevice, LogScope aLogScope = LogScope::Faults);

    /// @name Faults
    /// @{

    /// Makes the call with that number go wrong, in place of what was set for it before. Numbers that have passed have
    /// no effect.
    void InjectAt(std::uint64_t aNumber, const Fault& aFault);

    /// Makes each call from now on go wrong with a probability of aRate. A fault that is set by number comes first.
    /// @param aSeed the same seed hits the same calls, with the same faults
    /// @param aRate 0 never, 1 always
    /// @param aFaults what can go wrong, each as likely as the others; none stops it
    void InjectRandomly(std::uint64_t aSeed, double aRate, std::vector<Fault> aFaults);

    /// Forgets the faults that are still to come.
    void ClearFaults();

    /// Ends a disconnection.
    void Reconnect();

    /// Calls that were made. A call counts as soon as it is made, delayed or not.
    std::uint64_t GetCallCount() const;

    /// Faults that were injected. A disconnection is one, however many calls fail because of it.
    std::uint64_t GetFaultCount() const;

    /// The log since the last time this was asked, in the order of the calls. It grows until it is taken.
    std::vector<LogEntry> TakeLog();

    /// @}
    /// @name Adapter
    /// @{
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
    /// @}

private:
    /// Faults by chance.
    struct Chance
    {
        std::uint64_t mSeed = 0;
        double mRate = 0;
        std::vector<Fault> mFaults;
    };

    std::optional<Fault> Enter(const std::string& aCall);
    std::optional<Fault> Decide(std::uint64_t aNumber) const;
    template <typename Access>
    KoResult Pass(const std::string& aCall, Access aAccess);
    template <typename Query>
    bool Ask(const std::string& aCall, Query aQuery);

    IKoDeviceAdapter& mDevice;
    const LogScope mLogScope;
    mutable std::mutex mMutex; ///< guards what follows
    std::map<std::uint64_t, Fault> mPlanned;
    Chance mChance;
    bool mDisconnected = false;
    std::uint64_t mCallCount = 0;
    std::uint64_t mFaultCount = 0;
    std::vector<LogEntry> mLog;
};

} // namespace KoSim
