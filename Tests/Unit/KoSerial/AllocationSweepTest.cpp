// Every allocation of every public operation fails, one after the other: whatever was under way then, no lock stays
// held, nothing leaks, and the object and the port can be used.

#include "AllocationCounter.h"
#include "BareHostTest.h"
#include "LeanDevice.h"
#include "RecordingSink.h"

#include <DeviceSerialPortConfig.h>
#include <KoDeviceI2CBus.h>
#include <KoDeviceSPIBus.h>
#include <KoDeviceSerialPort.h>

#include <functional>
#include <memory>
#include <new>
#include <tuple>

namespace
{

using KoSerialLib::DeviceSerialPortConfig;

constexpr std::size_t NEVER = 1000000;

/// What an operation works on.
template <typename Object>
struct Stage
{
    LeanDevice mDevice;
    std::unique_ptr<Object> mObject = std::make_unique<Object>();
    std::uint8_t mBytes[8] = {};
    std::uint32_t mCount = 0;
};

/// An operation and what comes before it, which does not fail.
template <typename Object>
struct Scenario
{
    using Step = std::function<void(Stage<Object>&)>;

    const char* mName;
    Step mPrepare;
    Step mAct;
    Step mCheckAfterFailure = nullptr;
};

/// Expects the port to be free and the device to deliver to nobody.
template <typename Object>
void ExpectFree(Stage<Object>& aStage, KoDeviceSerial aPort)
{
    EXPECT_FALSE(aStage.mObject->IsOpened());
    EXPECT_EQ(aStage.mDevice.mSink, nullptr) << "the device still delivers";
    Object next;
    EXPECT_TRUE(next.Open(&aStage.mDevice, aPort).IsOK()) << "the port is still held";
    EXPECT_TRUE(next.Close().IsOK());
}

template <typename Object>
void ExpectFreeUnlessOpen(Stage<Object>& aStage, KoDeviceSerial aPort)
{
    if (!aStage.mObject->IsOpened())
    {
        ExpectFree(aStage, aPort);
    }
}

/// Ends what is left of a port or a bus.
template <typename Object>
void Finish(Stage<Object>& aStage, KoDeviceSerial aPort)
{
    if (aStage.mObject->IsOpened())
    {
        EXPECT_TRUE(aStage.mObject->Close().IsOK());
    }
    ExpectFree(aStage, aPort);
}

void Finish(Stage<DeviceSerialPortConfig>& /*aStage*/, KoDeviceSerial /*aPort*/) {}

/// Does the operation while its aNumber-th allocation fails, and once more while none does. False when it has fewer.
template <typename Object>
bool FailOnce(const Scenario<Object>& aScenario, KoDeviceSerial aPort, std::size_t aNumber)
{
    HostRecorder host;
    host.Reserve();
    bool hasFailed = false;
    {
        Stage<Object> stage;
        aScenario.mPrepare(stage);
        FailAllocation(aNumber);
        try
        {
            aScenario.mAct(stage);
        }
        catch (const std::bad_alloc&)
        {
            StopFailingAllocations();
            if (aScenario.mCheckAfterFailure)
            {
                aScenario.mCheckAfterFailure(stage);
            }
        }
        hasFailed = StopFailingAllocations();
        EXPECT_TRUE(host.GetHeld().empty()) << "a lock is held";
        aScenario.mAct(stage);
        Finish(stage, aPort);
    }
    EXPECT_EQ(host.mHeapLoggers, 0) << "a logger has leaked";
    return hasFailed;
}

/// The number of allocations that failed, one after the other.
template <typename Object>
std::size_t Sweep(const Scenario<Object>& aScenario, KoDeviceSerial aPort)
{
    SCOPED_TRACE(::testing::Message() << aScenario.mName << " on port " << aPort);
    // What is made once and kept.
    FailOnce(aScenario, aPort, NEVER);
    const std::size_t live = CountLiveAllocations();
    std::size_t number = 0;
    while (!::testing::Test::HasFailure() && FailOnce(aScenario, aPort, number + 1))
    {
        ++number;
        EXPECT_EQ(CountLiveAllocations(), live) << "memory has leaked at allocation " << number;
    }
    return number;
}

template <typename Object>
void Sweep(const std::vector<Scenario<Object>>& aScenarios, const std::vector<KoDeviceSerial>& aPorts)
{
    std::size_t total = 0;
    for (const KoDeviceSerial port : aPorts)
    {
        for (const Scenario<Object>& scenario : aScenarios)
        {
            total += Sweep(scenario, port);
        }
    }
    std::printf("%zu allocations have failed\n", total);
    EXPECT_GT(total, aScenarios.size());
}

template <typename Object>
void Nothing(Stage<Object>& /*aStage*/)
{
}

template <typename Object>
typename Scenario<Object>::Step Open(KoDeviceSerial aPort)
{
    return [aPort](Stage<Object>& aStage) { EXPECT_TRUE(aStage.mObject->Open(&aStage.mDevice, aPort).IsOK()); };
}

/// What every class does that is opened on a port.
template <typename Object>
std::vector<Scenario<Object>> CommonScenarios(KoDeviceSerial aPort)
{
    using S = Stage<Object>;
    return {
        {"construction", Nothing<Object>, [](S&) { const Object object; }},
        {"IsSupported", Nothing<Object>, [aPort](S& s) { Object::IsSupported(&s.mDevice, aPort); }},
        {"IsSupported without device", Nothing<Object>, [aPort](S&) { Object::IsSupported(nullptr, aPort); }},
        {"IsOpened", Nothing<Object>, [](S& s) { s.mObject->IsOpened(); }},
        {"Open", Nothing<Object>,
         [aPort](S& s)
         {
             s.mObject->Abandon();
             EXPECT_TRUE(s.mObject->Open(&s.mDevice, aPort).IsOK());
         },
         [aPort](S& s) { ExpectFree(s, aPort); }},
        {"Open on no port", Nothing<Object>,
         [](S& s) { EXPECT_FALSE(s.mObject->Open(&s.mDevice, KoDeviceSerialInvalid).IsOK()); }},
        {"Close", Open<Object>(aPort), [](S& s) { s.mObject->Close(); },
         [aPort](S& s) { ExpectFreeUnlessOpen(s, aPort); }},
        {"Close of a closed object", Nothing<Object>, [](S& s) { EXPECT_FALSE(s.mObject->Close().IsOK()); }},
        {"Abandon", Open<Object>(aPort), [](S& s) { s.mObject->Abandon(); }},
    };
}

template <typename Object>
std::vector<Scenario<Object>> operator+(std::vector<Scenario<Object>> aFirst, std::vector<Scenario<Object>> aSecond)
{
    aFirst.insert(aFirst.end(), aSecond.begin(), aSecond.end());
    return aFirst;
}

/// Bytes that the device has received, or an answer to what was sent: on the device's thread.
void Receive(LeanDevice& aDevice)
{
    const std::uint32_t words[] = {0x0102, 0x41, 0x42};
    aDevice.mSink->NotifyEvent(0x9000, 0, 0, 0, words, sizeof(words));
    aDevice.mSink->NotifyInvalidatedGenParameter(KoString("EventBulk2UpstreamDataBuffer"));
}

std::vector<Scenario<KoDeviceSerialPort>> SerialPortScenarios(KoDeviceSerial aPort)
{
    using S = Stage<KoDeviceSerialPort>;
    const auto open = Open<KoDeviceSerialPort>(aPort);
    const auto receive = [open](S& s)
    {
        open(s);
        Receive(s.mDevice);
    };
    return CommonScenarios<KoDeviceSerialPort>(aPort) +
           std::vector<Scenario<KoDeviceSerialPort>>{
               {"Write", open, [](S& s) { std::ignore = s.mObject->Write(s.mBytes, 8, s.mCount); }},
               {"Write on a closed port", Nothing<KoDeviceSerialPort>,
                [](S& s) { EXPECT_FALSE(s.mObject->Write(s.mBytes, 8, s.mCount).IsOK()); }},
               {"reception", open, [](S& s) { Receive(s.mDevice); }},
               {"Read", receive, [](S& s) { std::ignore = s.mObject->Read(s.mBytes, 1, s.mCount, 0); }},
               {"Read that waits", open, [](S& s) { std::ignore = s.mObject->Read(s.mBytes, 1, s.mCount, 10); }},
               {"Read that is woken",
                [open](S& s)
                {
                    open(s);
                    const auto wake = [&s] { Receive(s.mDevice); };
                    HostRecorder::Current().At(5, wake);
                    HostRecorder::Current().At(25, wake);
                },
                [](S& s) { std::ignore = s.mObject->Read(s.mBytes, 8, s.mCount, 10); }},
               {"Read that an echo sink sees", receive,
                [](S& s)
                {
                    const RecordingSink sink;
                    std::ignore = s.mObject->Read(s.mBytes, 1, s.mCount, 0);
                }},
               {"NotifyReadComplete", open,
                [](S& s)
                {
                    const RecordingSink sink;
                    s.mObject->NotifyReadComplete();
                }},
               {"GetWriteProgress", open, [](S& s) { s.mObject->GetWriteProgress(s.mCount, s.mCount); }},
               {"FlushRxBuffer", receive, [](S& s) { s.mObject->FlushRxBuffer(); }},
               {"GetRxBytesReady", receive, [](S& s) { s.mObject->GetRxBytesReady(s.mCount); }},
               {"GetRxBufferSize", open, [](S& s) { s.mObject->GetRxBufferSize(s.mCount); }},
               {"SetRxBufferSize", receive, [](S& s) { s.mObject->SetRxBufferSize(100); }},
               {"SetRxBufferSize to nothing", open, [](S& s) { s.mObject->SetRxBufferSize(0); }},
               {"RegisterEchoSink of nothing", open, [](S&) { KoDeviceSerialPort::RegisterEchoSink(nullptr); }},
               {"UnregisterEchoSink of a stranger", open,
                [](S&)
                {
                    KoDeviceSerialPortEchoSink stranger;
                    KoDeviceSerialPort::UnregisterEchoSink(&stranger);
                }},
           };
}

TEST(AllocationSweepTest, ASerialPortSurvivesAFailureOfEveryAllocation)
{
    for (const KoDeviceSerial port :
         {KoDeviceSerialUart0, KoDeviceSerialUart1, KoDeviceSerialBulk0, KoDeviceSerialBulk2})
    {
        Sweep(SerialPortScenarios(port), {port});
    }
}

TEST(AllocationSweepTest, AnI2CBusSurvivesAFailureOfEveryAllocation)
{
    using S = Stage<KoDeviceI2CBus>;
    for (const KoDeviceSerial port : {KoDeviceSerialBulk0, KoDeviceSerialBulk2})
    {
        const auto open = Open<KoDeviceI2CBus>(port);
        const std::vector<Scenario<KoDeviceI2CBus>> transfers = {
            {"BurstWrite", open, [](S& s) { std::ignore = s.mObject->BurstWrite(0x50, s.mBytes, 8, false); }},
            {"BurstWrite on an unopened bus", Nothing<KoDeviceI2CBus>,
             [](S& s) { EXPECT_FALSE(s.mObject->BurstWrite(0x50, s.mBytes, 8, false).IsOK()); }},
            {"IndirectBurstWrite", open,
             [](S& s) { std::ignore = s.mObject->IndirectBurstWrite(0x50, 1, s.mBytes, 8, false); }},
            {"BurstRead", open, [](S& s) { std::ignore = s.mObject->BurstRead(0x50, s.mBytes, 8, s.mCount, false); }},
            {"IndirectBurstRead", open,
             [](S& s) { std::ignore = s.mObject->IndirectBurstRead(0x50, 1, s.mBytes, 8, s.mCount, false, true); }},
        };
        // Every opening on Bulk1 to Bulk7 leaves the engine before to the end of the process.
        std::vector<Scenario<KoDeviceI2CBus>> scenarios = CommonScenarios<KoDeviceI2CBus>(port) + transfers;
        if (port != KoDeviceSerialBulk0)
        {
            scenarios.erase(scenarios.begin() + 4);
        }
        Sweep(scenarios, {port});
    }
}

TEST(AllocationSweepTest, AnSPIBusSurvivesAFailureOfEveryAllocation)
{
    using S = Stage<KoDeviceSPIBus>;
    const auto open = Open<KoDeviceSPIBus>(KoDeviceSerialBulk2);
    const std::vector<Scenario<KoDeviceSPIBus>> transfers = {
        {"BurstWriteAndRead", open,
         [](S& s) { std::ignore = s.mObject->BurstWriteAndRead(s.mBytes, 8, 4, true, false); }},
        {"BurstWriteAndRead of too much", open,
         [](S& s) { EXPECT_FALSE(s.mObject->BurstWriteAndRead(s.mBytes, 256, 0, false, false).IsOK()); }},
        {"BurstWriteAndRead on an unopened bus", Nothing<KoDeviceSPIBus>,
         [](S& s) { EXPECT_FALSE(s.mObject->BurstWriteAndRead(s.mBytes, 8, 4, true, false).IsOK()); }},
        {"BurstRead", open, [](S& s) { std::ignore = s.mObject->BurstRead(s.mBytes, 8, s.mCount, 10); }},
    };
    Sweep(CommonScenarios<KoDeviceSPIBus>(KoDeviceSerialBulk2) + transfers, {KoDeviceSerialBulk2});
}

TEST(AllocationSweepTest, APortConfigurationSurvivesAFailureOfEveryAllocation)
{
    using S = Stage<DeviceSerialPortConfig>;
    const Scenario<DeviceSerialPortConfig>::Step bind = [](S& s)
    { s.mObject->SetPort(&s.mDevice, KoDeviceSerialBulk2); };
    const std::vector<Scenario<DeviceSerialPortConfig>> scenarios = {
        {"construction", Nothing<DeviceSerialPortConfig>, [](S&) { const DeviceSerialPortConfig object; }},
        {"SetPort", Nothing<DeviceSerialPortConfig>, bind},
        {"GetParameters", bind, [](S& s) { s.mObject->GetParameters(); }},
        {"RefreshSupportedBaudRates", bind, [](S& s) { s.mObject->RefreshSupportedBaudRates(); }},
        {"SyncPortConfig", bind, [](S& s) { s.mObject->SyncPortConfig(); }},
        {"SyncPortConfig of an invalid one", bind,
         [](S& s)
         {
             s.mObject->mConfiguration.MakeInvalid();
             s.mObject->SyncPortConfig();
         }},
        {"SyncBaudRate", bind, [](S& s) { s.mObject->SyncBaudRate(false); }},
        {"SyncParity", bind, [](S& s) { s.mObject->SyncParity(); }},
        {"SyncStopBits", bind, [](S& s) { s.mObject->SyncStopBits(); }},
        {"SyncBulkMode", bind, [](S& s) { s.mObject->SyncBulkMode(); }},
        {"BackupPortConfig", bind, [](S& s) { s.mObject->BackupPortConfig(); }},
        {"RestorePortConfig", bind, [](S& s) { s.mObject->RestorePortConfig(); }},
    };
    Sweep(scenarios, {KoDeviceSerialBulk2});
}

} // namespace
