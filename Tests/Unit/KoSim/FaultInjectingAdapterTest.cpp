#include <KoSim/FaultInjectingAdapter.h>

#include "EmptyAdapter.h"
#include "ScriptedAdapter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <functional>
#include <set>
#include <string>
#include <thread>
#include <vector>

using namespace std::chrono_literals;

using KoSim::Fault;
using KoSim::FaultInjectingAdapter;

namespace
{

/// A code that no device makes up.
constexpr std::uint32_t CODE = 4711;

class IgnoringSink : public IKoDeviceEventSink
{
public:
    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void*, std::uint32_t) override {}
    void NotifyInvalidatedGenParameter(const KoString&) override {}
};

/// An operation with arguments that the scripted device knows.
struct Operation
{
    const char* mCall; ///< in the log
    std::function<KoResult(IKoDeviceAdapter&)> mRun;
};

/// As a query answers: OK for true.
KoResult Answer(bool aAnswer)
{
    return KoResult(aAnswer ? KoResult::OK : KoResult::GENERIC_ERROR);
}

KoResult GetInteger(IKoDeviceAdapter& aDevice)
{
    std::int64_t value = 0;
    return aDevice.GetGenIntegerValue("Integer", value);
}

KoResult GetEntries(IKoDeviceAdapter& aDevice)
{
    KoStringList entries;
    return aDevice.GetGenEnumEntries("Enum", entries);
}

KoResult GetEnum(IKoDeviceAdapter& aDevice)
{
    KoString value;
    return aDevice.GetGenEnumValue("Enum", value);
}

KoResult GetLength(IKoDeviceAdapter& aDevice)
{
    std::int64_t length = 0;
    return aDevice.GetGenRegisterLength("Register", length);
}

KoResult GetData(IKoDeviceAdapter& aDevice)
{
    std::array<std::uint8_t, 2> data{};
    return aDevice.GetGenRegisterData("Register", data.data(), data.size());
}

KoResult SetData(IKoDeviceAdapter& aDevice)
{
    const std::array<std::uint8_t, 3> data{};
    return aDevice.SetGenRegisterData("Register", data.data(), data.size());
}

KoResult ReadRegister(IKoDeviceAdapter& aDevice)
{
    std::uint32_t value = 0;
    return aDevice.ReadRegister(0xB838, &value);
}

KoResult BulkTransmit(IKoDeviceAdapter& aDevice)
{
    const std::array<std::uint8_t, 5> data{};
    return aDevice.BulkTransmit(data.data(), 0x80000000, data.size());
}

KoResult GetId(IKoDeviceAdapter& aDevice)
{
    KoString id;
    return aDevice.GetDeviceId(id);
}

IgnoringSink sSink;

const std::vector<Operation> OPERATIONS = {
    {"IsGenIntegerPresent Integer", [](auto& aDevice) { return Answer(aDevice.IsGenIntegerPresent("Integer")); }},
    {"IsGenEnumPresent Enum", [](auto& aDevice) { return Answer(aDevice.IsGenEnumPresent("Enum")); }},
    {"IsGenRegisterPresent Register", [](auto& aDevice) { return Answer(aDevice.IsGenRegisterPresent("Register")); }},
    {"IsGenEnumReadable Enum", [](auto& aDevice) { return Answer(aDevice.IsGenEnumReadable("Enum")); }},
    {"IsGenEnumWritable Enum", [](auto& aDevice) { return Answer(aDevice.IsGenEnumWritable("Enum")); }},
    {"IsGenEnumEntryAvailable Enum One",
     [](auto& aDevice) { return Answer(aDevice.IsGenEnumEntryAvailable("Enum", "One")); }},
    {"GetGenIntegerValue Integer", &GetInteger},
    {"GetGenEnumEntries Enum", &GetEntries},
    {"GetGenEnumValue Enum", &GetEnum},
    {"SetGenEnumValue Enum One", [](auto& aDevice) { return aDevice.SetGenEnumValue("Enum", "One"); }},
    {"GetGenRegisterLength Register", &GetLength},
    {"GetGenRegisterData Register 2", &GetData},
    {"SetGenRegisterData Register 3", &SetData},
    {"RegisterGenInvalidator Enum", [](auto& aDevice) { return aDevice.RegisterGenInvalidator("Enum"); }},
    {"UnregisterGenInvalidator Enum", [](auto& aDevice) { return aDevice.UnregisterGenInvalidator("Enum"); }},
    {"WriteRegister 0xB838 0x3", [](auto& aDevice) { return aDevice.WriteRegister(0xB838, 3); }},
    {"ReadRegister 0xB838", &ReadRegister},
    {"BulkTransmit 0x80000000 5", &BulkTransmit},
    {"WaitForIdle 1000", [](auto& aDevice) { return aDevice.WaitForIdle(1000); }},
    {"IsConnected", [](auto& aDevice) { return Answer(aDevice.IsConnected()); }},
    {"IsTavricVideoInterface", [](auto& aDevice) { return Answer(aDevice.IsTavricVideoInterface()); }},
    {"IsGigEVision", [](auto& aDevice) { return Answer(aDevice.IsGigEVision()); }},
    {"RegisterEventSink", [](auto& aDevice) { return aDevice.RegisterEventSink(&sSink); }},
    {"UnregisterEventSink", [](auto& aDevice) { return aDevice.UnregisterEventSink(&sSink); }},
    {"GetDeviceId", &GetId},
};

} // namespace

class FaultInjectingAdapterTest : public ::testing::Test
{
protected:
    FaultInjectingAdapterTest()
    {
        mDevice.mIntegers["Integer"] = 5;
        mDevice.mEnumerations["Enum"] = {"One", {"One", "Two"}};
        mDevice.mGenRegisters["Register"] = {1, 2};
    }

    /// The numbers of the calls, out of the first aCount, that fail.
    std::set<std::uint64_t> FindFailures(std::uint64_t aSeed, double aRate, int aCount)
    {
        FaultInjectingAdapter faulty(mDevice);
        faulty.InjectRandomly(aSeed, aRate, {Fault::Fail()});
        std::set<std::uint64_t> numbers;
        for (int i = 0; i < aCount; ++i)
        {
            faulty.IsConnected();
        }
        for (const FaultInjectingAdapter::LogEntry& entry : faulty.TakeLog())
        {
            numbers.insert(entry.mNumber);
        }
        return numbers;
    }

    ScriptedAdapter mDevice{"device"};
    FaultInjectingAdapter mFaulty{mDevice};
};

TEST_F(FaultInjectingAdapterTest, PassesEveryOperationOnToTheDevice)
{
    for (const Operation& operation : OPERATIONS)
    {
        EXPECT_TRUE(operation.mRun(mDevice).IsOK()) << operation.mCall;
        const std::vector<std::string> direct = mDevice.TakeCalls();
        EXPECT_TRUE(operation.mRun(mFaulty).IsOK()) << operation.mCall;
        EXPECT_EQ(mDevice.TakeCalls(), direct);
    }
    EXPECT_EQ(mFaulty.GetCallCount(), OPERATIONS.size());
    EXPECT_EQ(mFaulty.GetFaultCount(), 0U);
    EXPECT_TRUE(mFaulty.TakeLog().empty());
}

TEST_F(FaultInjectingAdapterTest, GivesTheOutputsOfTheDevice)
{
    std::int64_t integer = 0;
    std::int64_t length = 0;
    std::array<std::uint8_t, 2> data{};
    std::uint32_t value = 0;
    KoString entry;
    KoString id;
    KoStringList entries;
    mDevice.mRegisters[4] = {0x12345678};
    mFaulty.GetGenIntegerValue("Integer", integer);
    mFaulty.GetGenRegisterLength("Register", length);
    mFaulty.GetGenRegisterData("Register", data.data(), 2);
    mFaulty.ReadRegister(4, &value);
    mFaulty.GetGenEnumValue("Enum", entry);
    mFaulty.GetGenEnumEntries("Enum", entries);
    mFaulty.GetDeviceId(id);

    EXPECT_EQ(integer, 5);
    EXPECT_EQ(length, 2);
    EXPECT_EQ(data, (std::array<std::uint8_t, 2>{1, 2}));
    EXPECT_EQ(value, 0x12345678U);
    EXPECT_STREQ(entry.GetAscii(), "One");
    EXPECT_STREQ(entries.GetFirst()->GetAscii(), "One");
    EXPECT_STREQ(entries.GetNext()->GetAscii(), "Two");
    EXPECT_STREQ(id.GetAscii(), "device");
}

TEST_F(FaultInjectingAdapterTest, FailsTheCallOfThatNumberAndNoOther)
{
    mFaulty.InjectAt(1, Fault::Fail(CODE));
    EXPECT_TRUE(ReadRegister(mFaulty).IsOK());
    const KoResult failed = ReadRegister(mFaulty);
    EXPECT_TRUE(ReadRegister(mFaulty).IsOK());

    EXPECT_EQ(failed.GetCode(), CODE);
    EXPECT_STREQ(failed.GetDescription().GetAscii(), "Injected into ReadRegister 0xB838");
    EXPECT_EQ(mDevice.TakeCalls().size(), 2U);
    EXPECT_EQ(mFaulty.GetCallCount(), 3U);
    EXPECT_EQ(mFaulty.GetFaultCount(), 1U);
}

TEST_F(FaultInjectingAdapterTest, FailsEveryOperationAndLogsIt)
{
    for (const Operation& operation : OPERATIONS)
    {
        mDevice.TakeCalls();
        const std::uint64_t number = mFaulty.GetCallCount();
        mFaulty.InjectAt(number, Fault::Fail(KoResult::TIMEOUT));
        EXPECT_FALSE(operation.mRun(mFaulty).IsOK()) << operation.mCall;

        const std::vector<FaultInjectingAdapter::LogEntry> log = mFaulty.TakeLog();
        ASSERT_EQ(log.size(), 1U);
        EXPECT_EQ(log[0].GetText(), std::to_string(number) + ": " + operation.mCall + ": fails with TIMEOUT");
        EXPECT_TRUE(log[0].IsFailed());
        const bool reaches = std::string(operation.mCall) == "UnregisterEventSink";
        EXPECT_EQ(mDevice.TakeCalls().size(), reaches ? 1U : 0U) << operation.mCall;
    }
    EXPECT_EQ(mFaulty.GetFaultCount(), OPERATIONS.size());
}

TEST_F(FaultInjectingAdapterTest, LeavesTheOutputsOfAFailedCallExceptForTheIdentity)
{
    mFaulty.InjectRandomly(1, 1, {Fault::Fail()});
    std::int64_t length = 42;
    std::uint32_t value = 42;
    KoString entry("entry");
    KoString id("id");
    mFaulty.GetGenRegisterLength("Register", length);
    mFaulty.ReadRegister(0xB838, &value);
    mFaulty.GetGenEnumValue("Enum", entry);
    mFaulty.GetDeviceId(id);

    EXPECT_EQ(length, 42);
    EXPECT_EQ(value, 42U);
    EXPECT_STREQ(entry.GetAscii(), "entry");
    EXPECT_STREQ(id.GetAscii(), "");
}

TEST_F(FaultInjectingAdapterTest, DelaysACallThatThenReachesTheDevice)
{
    mFaulty.InjectAt(0, Fault::Delay(5ms));
    const auto start = std::chrono::steady_clock::now();

    EXPECT_TRUE(ReadRegister(mFaulty).IsOK());
    EXPECT_GE(std::chrono::steady_clock::now() - start, 5ms);
    EXPECT_EQ(mDevice.TakeCalls().size(), 1U);
    const std::vector<FaultInjectingAdapter::LogEntry> log = mFaulty.TakeLog();
    ASSERT_EQ(log.size(), 1U);
    EXPECT_EQ(log[0].GetText(), "0: ReadRegister 0xB838: delayed by 5 ms");
    EXPECT_FALSE(log[0].IsFailed());
}

TEST_F(FaultInjectingAdapterTest, FailsEveryOperationOnceTheDeviceIsDisconnected)
{
    mFaulty.InjectAt(1, Fault::Disconnect());
    EXPECT_TRUE(mFaulty.IsConnected());
    EXPECT_FALSE(mFaulty.IsConnected());
    for (const Operation& operation : OPERATIONS)
    {
        EXPECT_FALSE(operation.mRun(mFaulty).IsOK()) << operation.mCall;
    }

    EXPECT_EQ(ReadRegister(mFaulty).GetCode(), KoResult::NOT_CONNECTED);
    EXPECT_EQ(mDevice.TakeCalls(), (std::vector<std::string>{"IsConnected", "UnregisterEventSink"}));
    EXPECT_EQ(mFaulty.GetFaultCount(), 1U);
    const std::vector<FaultInjectingAdapter::LogEntry> log = mFaulty.TakeLog();
    ASSERT_EQ(log.size(), OPERATIONS.size() + 2);
    EXPECT_EQ(log[0].GetText(), "1: IsConnected: fails because the device is disconnected");
}

TEST_F(FaultInjectingAdapterTest, PassesCallsOnAgainWhenTheDisconnectionEnds)
{
    mFaulty.InjectAt(0, Fault::Disconnect());
    EXPECT_FALSE(mFaulty.IsConnected());
    mFaulty.Reconnect();

    EXPECT_TRUE(mFaulty.IsConnected());
    EXPECT_TRUE(ReadRegister(mFaulty).IsOK());
}

TEST_F(FaultInjectingAdapterTest, RegistersSinksAtTheDeviceItself)
{
    mFaulty.RegisterEventSink(&sSink);
    EXPECT_EQ(mDevice.mSinks, std::vector<IKoDeviceEventSink*>{&sSink});
    mFaulty.UnregisterEventSink(&sSink);
    EXPECT_TRUE(mDevice.mSinks.empty());
}

TEST_F(FaultInjectingAdapterTest, TakesASinkFromTheDeviceEvenWhenThatCallFails)
{
    mFaulty.RegisterEventSink(&sSink);
    mFaulty.InjectAt(1, Fault::Fail(CODE));

    EXPECT_EQ(mFaulty.UnregisterEventSink(&sSink).GetCode(), CODE);
    EXPECT_TRUE(mDevice.mSinks.empty());
}

TEST_F(FaultInjectingAdapterTest, LogsEveryCallWhenAskedTo)
{
    FaultInjectingAdapter faulty(mDevice, FaultInjectingAdapter::LogScope::Calls);
    for (const Operation& operation : OPERATIONS)
    {
        operation.mRun(faulty);
    }
    const std::vector<FaultInjectingAdapter::LogEntry> log = faulty.TakeLog();

    ASSERT_EQ(log.size(), OPERATIONS.size());
    for (std::size_t i = 0; i < log.size(); ++i)
    {
        EXPECT_EQ(log[i].GetText(), std::to_string(i) + ": " + OPERATIONS[i].mCall);
        EXPECT_FALSE(log[i].IsFailed());
    }
    EXPECT_TRUE(faulty.TakeLog().empty());
}

TEST_F(FaultInjectingAdapterTest, HitsTheSameCallsWithTheSameSeed)
{
    const std::set<std::uint64_t> first = FindFailures(1, 0.1, 1000);

    EXPECT_EQ(first, FindFailures(1, 0.1, 1000));
    EXPECT_NE(first, FindFailures(2, 0.1, 1000));
    EXPECT_GT(first.size(), 50U);
    EXPECT_LT(first.size(), 200U);
}

TEST_F(FaultInjectingAdapterTest, HitsNoCallAtRateZeroAndEveryCallAtRateOne)
{
    EXPECT_TRUE(FindFailures(1, 0, 1000).empty());
    EXPECT_EQ(FindFailures(1, 1, 1000).size(), 1000U);
}

TEST_F(FaultInjectingAdapterTest, ChoosesAmongTheFaultsByChance)
{
    mFaulty.InjectRandomly(7, 1, {Fault::Fail(1), Fault::Fail(2), Fault::Fail(3)});
    std::array<int, 4> counts{};
    for (int i = 0; i < 300; ++i)
    {
        ++counts.at(ReadRegister(mFaulty).GetCode());
    }
    EXPECT_EQ(counts[0], 0);
    EXPECT_GT(*std::min_element(counts.begin() + 1, counts.end()), 60);
}

TEST_F(FaultInjectingAdapterTest, PrefersTheFaultOfANumberToOneByChance)
{
    mFaulty.InjectRandomly(7, 1, {Fault::Fail(1)});
    mFaulty.InjectAt(0, Fault::Fail(2));

    EXPECT_EQ(ReadRegister(mFaulty).GetCode(), 2U);
    EXPECT_EQ(ReadRegister(mFaulty).GetCode(), 1U);
}

TEST_F(FaultInjectingAdapterTest, InjectsNothingAnyMoreOnceTheFaultsAreCleared)
{
    mFaulty.InjectRandomly(7, 1, {Fault::Fail()});
    mFaulty.InjectAt(0, Fault::Fail());
    mFaulty.ClearFaults();

    EXPECT_TRUE(ReadRegister(mFaulty).IsOK());
    EXPECT_EQ(mFaulty.GetFaultCount(), 0U);
}

TEST_F(FaultInjectingAdapterTest, NumbersTheCallsOfSeveralThreads)
{
    constexpr std::uint64_t THREADS = 4;
    constexpr std::uint64_t CALLS = 5000;
    EmptyAdapter device;
    FaultInjectingAdapter faulty(device);
    faulty.InjectRandomly(3, 0.5, {Fault::Fail(), Fault::Delay(0ms)});
    std::atomic<std::uint64_t> failures{0};
    std::vector<std::thread> threads;
    for (std::uint64_t i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (std::uint64_t call = 0; call < CALLS; ++call)
                {
                    failures += faulty.IsConnected() ? 0 : 1;
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    const std::vector<FaultInjectingAdapter::LogEntry> log = faulty.TakeLog();
    EXPECT_EQ(faulty.GetCallCount(), THREADS * CALLS);
    EXPECT_EQ(faulty.GetFaultCount(), log.size());
    EXPECT_EQ(static_cast<std::uint64_t>(
                  std::count_if(log.begin(), log.end(), [](const auto& aEntry) { return aEntry.IsFailed(); })),
              failures);
    EXPECT_TRUE(std::is_sorted(log.begin(), log.end(),
                               [](const auto& aLeft, const auto& aRight) { return aLeft.mNumber < aRight.mNumber; }));
}

TEST_F(FaultInjectingAdapterTest, CountsFaultsForAThreadThatAsksWhileOthersCall)
{
    constexpr std::uint64_t CALLS = 5000;
    EmptyAdapter device;
    FaultInjectingAdapter faulty(device);
    faulty.InjectRandomly(3, 1, {Fault::Fail()});
    std::thread caller(
        [&]
        {
            for (std::uint64_t call = 0; call < CALLS; ++call)
            {
                EXPECT_FALSE(faulty.IsConnected());
            }
        });
    for (std::uint64_t last = 0; last < CALLS;)
    {
        const std::uint64_t count = faulty.GetFaultCount();
        EXPECT_GE(count, last);
        last = count;
    }
    caller.join();
    EXPECT_EQ(faulty.GetFaultCount(), CALLS);
}
