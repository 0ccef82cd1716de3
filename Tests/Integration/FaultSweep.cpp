#include "FaultSweep.h"

#include "UartFixture.h"

#include <KoDeviceSerialPort.h>

#include <array>
#include <iostream>
#include <map>

using namespace std::chrono_literals;

using KoSim::Fault;
using KoSim::FaultInjectingAdapter;

namespace
{

constexpr std::chrono::milliseconds LONGEST_SETTLING{30000};

/// What a machine may need for itself.
constexpr std::chrono::milliseconds MARGIN{10000};

constexpr std::uint64_t SEEDS = 20;
constexpr double RATE = 0.02;

/// What was counted, by group.
std::map<std::string, std::uint64_t>& GetCounts()
{
    static std::map<std::string, std::uint64_t> counts;
    return counts;
}

class CountPrinter : public ::testing::Environment
{
public:
    void TearDown() override
    {
        std::uint64_t total = 0;
        for (const auto& [group, count] : GetCounts())
        {
            std::cout << "faults injected, " << group << ": " << count << '\n';
            total += count;
        }
        std::cout << "faults injected, total: " << total << std::endl;
    }
};

const ::testing::Environment* const sCountPrinter = ::testing::AddGlobalTestEnvironment(new CountPrinter);

const char* NameOf(const Fault& aFault)
{
    switch (aFault.mKind)
    {
    case Fault::Kind::Fail:
        return "fails";
    case Fault::Kind::Delay:
        return "is late";
    case Fault::Kind::Disconnect:
        break;
    }
    return "disconnects the device";
}

KoSim::DeviceProfile WithFreshId(KoSim::DeviceProfile aProfile)
{
    static std::uint64_t sCount = 0;
    aProfile.mId = "device" + std::to_string(++sCount);
    return aProfile;
}

} // namespace

KoResult PromptDevice::SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength)
{
    const KoResult result = SimulatedDevice::SetGenRegisterData(aName, aData, aLength);
    Settle();
    return result;
}

KoResult PromptDevice::WriteRegister(std::uint32_t aAddress, std::uint32_t aValue)
{
    const KoResult result = SimulatedDevice::WriteRegister(aAddress, aValue);
    Settle();
    return result;
}

KoResult PromptDevice::BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength)
{
    const KoResult result = SimulatedDevice::BulkTransmit(aData, aCommand, aLength);
    Settle();
    return result;
}

void PromptDevice::Settle() const
{
    EXPECT_TRUE(WaitUntilQuiet(LONGEST_SETTLING));
}

void PromptDevice::DropUnreported(KoDeviceSerial aPort)
{
    const std::string name = "EventBulk" + std::to_string(aPort - KoDeviceSerialBulk0) + "UpstreamDataBuffer";
    std::array<std::uint8_t, 512> data{};
    GetGenRegisterData(name.c_str(), data.data(), data.size());
}

EchoNotes::EchoNotes()
{
    EXPECT_TRUE(KoDeviceSerialPort::RegisterEchoSink(this).IsOK());
}

EchoNotes::~EchoNotes()
{
    EXPECT_TRUE(KoDeviceSerialPort::UnregisterEchoSink(this).IsOK());
}

void EchoNotes::OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* /*aData*/,
                              std::uint32_t aLength, std::uint64_t /*aTimestamp*/)
{
    Note("sent", aPortName, aPort, aLength);
}

void EchoNotes::OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* /*aData*/,
                       std::uint32_t aLength, std::uint64_t /*aTimestamp*/)
{
    Note("read", aPortName, aPort, aLength);
}

void EchoNotes::OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t /*aTimestamp*/)
{
    Note("complete", aPortName, aPort, 0);
}

void EchoNotes::Note(const char* aWhat, const KoString& aPortName, KoDeviceSerial aPort, std::uint32_t aLength)
{
    mNotes.push_back(std::string(aWhat) + ' ' + aPortName.GetAscii() + ' ' + std::to_string(aPort) + ' ' +
                     std::to_string(aLength));
}

FaultSweepRun::FaultSweepRun(const KoSim::DeviceProfile& aProfile, const Plan& aPlan) : mProfile(WithFreshId(aProfile))
{
    aPlan(mFaulty);
}

std::string FaultSweepRun::ToText(const KoResult& aResult)
{
    return ToText(aResult.GetCode(), aResult.GetDescription().GetAscii());
}

std::string FaultSweepRun::ToText(std::uint32_t aCode, const std::string& aDescription)
{
    return std::to_string(aCode) + " \"" + aDescription + '"';
}

std::string FaultSweepRun::ToText(const std::vector<std::string>& aLines)
{
    std::string text;
    for (const std::string& line : aLines)
    {
        text += "\n  " + line;
    }
    return text;
}

std::string FaultSweepRun::ToText(const std::string& aData) const
{
    return std::to_string(aData.size()) + " bytes" + (mHasFailed ? "" : ' ' + ::testing::PrintToString(aData));
}

void FaultSweepRun::Check(const char* aOperation, const FaultSweepCalls::Entries& aLog, const std::string& aComplaint,
                          std::chrono::steady_clock::duration aElapsed)
{
    EXPECT_EQ(aComplaint, "") << aOperation;
    std::chrono::milliseconds longest = MARGIN + std::chrono::milliseconds(TakeStatedWaitMs());
    for (const FaultInjectingAdapter::LogEntry& entry : aLog)
    {
        mHasFailed = mHasFailed || entry.IsFailed();
        longest += entry.mFault ? entry.mFault->mDelay : 0ms;
    }
    EXPECT_LE(aElapsed, longest) << aOperation;
}

std::string GetSweptPortName(const FaultSweepProfile& aProfile, KoDeviceSerial aPort)
{
    const bool isUart = aPort < KoDeviceSerialBulk0;
    return aProfile.mName + std::string(isUart ? "Uart" : "Bulk") +
           std::to_string(isUart ? aPort : aPort - KoDeviceSerialBulk0);
}

void SweepFaults(const char* aGroup, const std::function<std::uint64_t(const FaultSweepRun::Plan&)>& aRun)
{
    const QuietLog quiet;
    const std::uint64_t before = GetCounts()[aGroup];
    const std::vector<Fault> faults = {Fault::Fail(INJECTED_CODE), Fault::Disconnect(), Fault::Delay(INJECTED_DELAY)};
    for (const Fault& fault : faults)
    {
        std::uint64_t hits = 1;
        for (std::uint64_t number = 0; hits > 0 && !::testing::Test::HasFailure(); ++number)
        {
            SCOPED_TRACE("call " + std::to_string(number) + ' ' + NameOf(fault));
            hits = aRun([&](FaultInjectingAdapter& aFaulty) { aFaulty.InjectAt(number, fault); });
            GetCounts()[aGroup] += hits;
        }
    }
    for (std::uint64_t seed = 0; seed < SEEDS && !::testing::Test::HasFailure(); ++seed)
    {
        SCOPED_TRACE("seed " + std::to_string(seed));
        GetCounts()[aGroup] +=
            aRun([&](FaultInjectingAdapter& aFaulty) { aFaulty.InjectRandomly(seed, RATE, faults); });
    }
    EXPECT_GT(GetCounts()[aGroup], before) << "nothing was tried";
}
