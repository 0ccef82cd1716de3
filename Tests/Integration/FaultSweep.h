#pragma once

#include "FaultSweepCalls.h"

#include <KoDeviceSerial.h>
#include <KoDeviceSerialPortEchoSink.h>
#include <KoResult.h>
#include <KoSim/DeviceProfile.h>
#include <KoSim/FaultInjectingAdapter.h>
#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

/// Tells a fault that the sweep injects from every failure that the library makes up itself.
constexpr std::uint32_t INJECTED_CODE = 0x2BAD;

constexpr std::chrono::milliseconds INJECTED_DELAY{1};

/// A simulated device on instant lines that has done its part when a call returns, events included: what the library
/// finds then does not depend on the threads of the machine.
class PromptDevice : public KoSim::SimulatedDevice
{
public:
    using KoSim::SimulatedDevice::SimulatedDevice;

    KoResult SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength) override;
    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) override;
    KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) override;

    /// Waits until everything has been delivered.
    void Settle() const;

    /// Forgets the received bytes that a port in features still has to report.
    void DropUnreported(KoDeviceSerial aPort);
};

/// Notes what is echoed: what, the name of the port, its identifier, and the number of bytes.
class EchoNotes : public KoDeviceSerialPortEchoSink
{
public:
    EchoNotes();
    ~EchoNotes() override;
    EchoNotes(const EchoNotes&) = delete;
    EchoNotes& operator=(const EchoNotes&) = delete;

    void OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t*, std::uint32_t aLength,
                       std::uint64_t) override;
    void OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t*, std::uint32_t aLength,
                std::uint64_t) override;
    void OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t) override;

    std::vector<std::string> Take() { return std::exchange(mNotes, {}); }

private:
    void Note(const char* aWhat, const KoString& aPortName, KoDeviceSerial aPort, std::uint32_t aLength);

    std::vector<std::string> mNotes;
};

/// What an operation is expected to return.
struct FaultSweepResult
{
    std::uint32_t mCode = 0;
    std::string mDescription;
    std::string mData; ///< bytes that a read hands out

    bool IsOk() const { return mCode == 0; }
};

/// A device whose calls go wrong as planned, and what is common to all that is done with it.
class FaultSweepRun
{
public:
    /// Sets the faults up.
    using Plan = std::function<void(KoSim::FaultInjectingAdapter& aFaulty)>;

    /// The device gets an identity text that none of this process has had.
    FaultSweepRun(const KoSim::DeviceProfile& aProfile, const Plan& aPlan);

    std::uint64_t GetFaultCount() const { return mFaulty.GetFaultCount(); }

    virtual ~FaultSweepRun() = default;

protected:
    static std::string ToText(const KoResult& aResult);
    static std::string ToText(std::uint32_t aCode, const std::string& aDescription);
    static std::string ToText(const FaultSweepResult& aResult) { return ToText(aResult.mCode, aResult.mDescription); }
    static std::string ToText(const std::vector<std::string>& aLines);

    /// The bytes; only how many once a call has failed, because a chip may then have others.
    std::string ToText(const std::string& aData) const;

    /// Does aAct, which tells what came of it, and compares that with what aPredict makes of the calls, and the time
    /// that it took with the waits that are documented for it.
    template <typename Act, typename Predict>
    void Do(const char* aOperation, Act aAct, Predict aPredict)
    {
        const auto start = std::chrono::steady_clock::now();
        const std::string observed = aAct();
        const auto elapsed = std::chrono::steady_clock::now() - start;
        const FaultSweepCalls::Entries log = mFaulty.TakeLog();
        FaultSweepCalls calls(log);
        const std::string expected = aPredict(calls);
        Check(aOperation, log, calls.GetComplaint(), elapsed);
        EXPECT_EQ(observed + Observe(), expected + Expect()) << aOperation;
    }

    /// What can be seen of the object and the device after an operation.
    virtual std::string Observe() = 0;
    virtual std::string Expect() = 0;

    /// The waits that are documented for the operations since the last time this was asked.
    virtual std::uint32_t TakeStatedWaitMs() = 0;

    const KoSim::DeviceProfile mProfile;
    PromptDevice mDevice{mProfile};
    KoSim::FaultInjectingAdapter mFaulty{mDevice, KoSim::FaultInjectingAdapter::LogScope::Calls};
    EchoNotes mEchoes;
    bool mHasFailed = false; ///< a call has failed by now

private:
    void Check(const char* aOperation, const FaultSweepCalls::Entries& aLog, const std::string& aComplaint,
               std::chrono::steady_clock::duration aElapsed);
};

/// A kind of device to sweep.
struct FaultSweepProfile
{
    const char* mName;
    KoSim::DeviceProfile (*mMake)();
};

/// For the description of a test.
inline void PrintTo(const FaultSweepProfile& aProfile, std::ostream* aStream)
{
    *aStream << aProfile.mName;
}

inline const std::vector<FaultSweepProfile> FAULT_SWEEP_PROFILES = {
    {"FullDevice", &KoSim::DeviceProfile::FullDevice},
    {"UartOnly", &KoSim::DeviceProfile::UartOnly},
    {"NoBulkSelector", &KoSim::DeviceProfile::NoBulkSelector},
    {"NotGigEVision", &KoSim::DeviceProfile::NotGigEVision},
    {"TinyDownstreamRegister", &KoSim::DeviceProfile::TinyDownstreamRegister},
};

/// "FullDeviceUart0": for the name of a test.
std::string GetSweptPortName(const FaultSweepProfile& aProfile, KoDeviceSerial aPort);

/// Runs aRun(plan), which tells the number of faults that hit it: for each kind of fault once for each of its calls and
/// once without any, and then with several faults at once, by chance. Stops at the first run that fails. The faults of
/// each group, and of all, are printed when the program ends.
void SweepFaults(const char* aGroup, const std::function<std::uint64_t(const FaultSweepRun::Plan&)>& aRun);
