#include <KoSim/SimulatedDevice.h>

#include "Registers.h"
#include "TestEventSink.h"
#include "TestLineEnd.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace KoSim;
using namespace std::chrono_literals;

class SimulatedDeviceSinkTest : public ::testing::Test
{
protected:
    SimulatedDeviceSinkTest()
    {
        mDevice.SetLineEnd(Port::Uart0, mLineEnd);
        mDevice.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_UART_RX);
    }

    void ExpectCode(std::uint32_t aCode, const KoResult& aResult) { EXPECT_EQ(aResult.GetCode(), aCode); }

    SimulatedDevice mDevice;
    std::shared_ptr<TestLineEnd> mLineEnd = std::make_shared<TestLineEnd>();
};

TEST_F(SimulatedDeviceSinkTest, CountsTheSinksThatAreRegistered)
{
    TestEventSink first;
    TestEventSink second;
    ExpectCode(KoResult::OK, mDevice.RegisterEventSink(&first));
    ExpectCode(KoResult::OK, mDevice.RegisterEventSink(&second));
    EXPECT_EQ(mDevice.GetEventSinkCount(), 2U);
    ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(&first));
    EXPECT_EQ(mDevice.GetEventSinkCount(), 1U);
    ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(&second));
    EXPECT_EQ(mDevice.GetEventSinkCount(), 0U);
}

TEST_F(SimulatedDeviceSinkTest, RefusesASinkThatIsNullOrRegisteredAlready)
{
    TestEventSink sink;
    mDevice.RegisterEventSink(&sink);
    const KoResult twice = mDevice.RegisterEventSink(&sink);

    ExpectCode(KoResult::INVALID_PARAMETER, twice);
    EXPECT_STREQ(twice.GetDescription().GetAscii(), "The event sink is NULL or registered already.");
    ExpectCode(KoResult::INVALID_PARAMETER, mDevice.RegisterEventSink(nullptr));
    EXPECT_EQ(mDevice.GetEventSinkCount(), 1U);
    mLineEnd->Send("A");
    EXPECT_TRUE(sink.WaitForBytes("A"));
    ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(&sink));
    EXPECT_EQ(sink.GetBytes(), "A");
}

TEST_F(SimulatedDeviceSinkTest, DoesNotFindASinkThatIsNotRegistered)
{
    TestEventSink sink;
    const KoResult result = mDevice.UnregisterEventSink(&sink);

    ExpectCode(KoResult::NOT_FOUND, result);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "The event sink is not registered.");
    ExpectCode(KoResult::NOT_FOUND, mDevice.UnregisterEventSink(nullptr));
}

TEST_F(SimulatedDeviceSinkTest, CallsSeveralSinksInTheOrderOfRegistration)
{
    std::mutex mutex;
    std::string calls;
    const auto note = [&](const std::string& aCall)
    {
        const std::lock_guard<std::mutex> lock(mutex);
        calls += aCall;
    };
    TestEventSink first([&](const auto& aEvent) { note("1" + aEvent.mBytes); });
    TestEventSink second([&](const auto& aEvent) { note("2" + aEvent.mBytes); });
    mDevice.RegisterEventSink(&first);
    mDevice.RegisterEventSink(&second);
    mLineEnd->Send("A");
    EXPECT_TRUE(second.WaitForBytes("A"));
    mLineEnd->Send("B");
    EXPECT_TRUE(second.WaitForBytes("AB"));
    mDevice.UnregisterEventSink(&first);
    mDevice.UnregisterEventSink(&second);

    EXPECT_EQ(calls, "1A2A1B2B");
}

TEST_F(SimulatedDeviceSinkTest, NumbersItsEventsAndTellsTheirTime)
{
    TestEventSink sink;
    mDevice.RegisterEventSink(&sink);
    mLineEnd->Send(std::string(1000, 'x'));
    EXPECT_TRUE(sink.WaitForBytes(std::string(1000, 'x')));
    mDevice.UnregisterEventSink(&sink);
    const std::vector<TestEventSink::Event> events = sink.GetEvents();

    for (std::size_t i = 1; i < events.size(); ++i)
    {
        EXPECT_EQ(events[i].mBlockId, events[i - 1].mBlockId + 1);
        EXPECT_GE(events[i].mTimestamp, events[i - 1].mTimestamp);
    }
}

TEST_F(SimulatedDeviceSinkTest, GivesASinkNothingAnyMoreOnceItIsUnregistered)
{
    TestEventSink gone;
    TestEventSink stays;
    mDevice.RegisterEventSink(&gone);
    mDevice.RegisterEventSink(&stays);
    mDevice.UnregisterEventSink(&gone);
    mLineEnd->Send("A");

    EXPECT_TRUE(stays.WaitForBytes("A"));
    EXPECT_TRUE(gone.GetEvents().empty());
    mDevice.UnregisterEventSink(&stays);
}

TEST_F(SimulatedDeviceSinkTest, WaitsForARunningCallBeforeASinkIsUnregistered)
{
    std::promise<void> entered;
    std::promise<void> release;
    std::atomic<bool> left{false};
    TestEventSink sink(
        [&](const auto&)
        {
            entered.set_value();
            release.get_future().wait();
            left = true;
        });
    mDevice.RegisterEventSink(&sink);
    mLineEnd->Send("A");
    entered.get_future().wait();
    std::thread unregistering(
        [&]
        {
            ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(&sink));
            EXPECT_TRUE(left);
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    release.set_value();
    unregistering.join();
    EXPECT_EQ(sink.GetEvents().size(), 1U);
}

TEST_F(SimulatedDeviceSinkTest, DoesNotWaitForTheCallOfAnotherSink)
{
    std::promise<void> entered;
    std::promise<void> release;
    TestEventSink busy(
        [&](const auto&)
        {
            entered.set_value();
            release.get_future().wait();
        });
    TestEventSink other;
    mDevice.RegisterEventSink(&busy);
    mDevice.RegisterEventSink(&other);
    mLineEnd->Send("A");
    entered.get_future().wait();

    ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(&other));
    release.set_value();
    mDevice.UnregisterEventSink(&busy);
    EXPECT_TRUE(other.GetEvents().empty());
}

TEST_F(SimulatedDeviceSinkTest, LetsASinkUnregisterItselfFromInsideItsCall)
{
    TestEventSink* self = nullptr;
    TestEventSink leaves([&](const auto&) { ExpectCode(KoResult::OK, mDevice.UnregisterEventSink(self)); });
    self = &leaves;
    TestEventSink stays;
    mDevice.RegisterEventSink(&leaves);
    mDevice.RegisterEventSink(&stays);
    mLineEnd->Send("A");
    EXPECT_TRUE(stays.WaitForBytes("A"));
    mLineEnd->Send("B");
    EXPECT_TRUE(stays.WaitForBytes("AB"));

    EXPECT_EQ(leaves.GetBytes(), "A");
    EXPECT_EQ(mDevice.GetEventSinkCount(), 1U);
    mDevice.UnregisterEventSink(&stays);
}

TEST_F(SimulatedDeviceSinkTest, DoesNotCallASinkThatAnotherHasJustUnregistered)
{
    TestEventSink removed;
    TestEventSink removes([&](const auto&) { mDevice.UnregisterEventSink(&removed); });
    TestEventSink last;
    mDevice.RegisterEventSink(&removes);
    mDevice.RegisterEventSink(&removed);
    mDevice.RegisterEventSink(&last);
    mLineEnd->Send("A");

    EXPECT_TRUE(last.WaitForBytes("A"));
    EXPECT_TRUE(removed.GetEvents().empty());
    mDevice.UnregisterEventSink(&removes);
    mDevice.UnregisterEventSink(&last);
}

TEST_F(SimulatedDeviceSinkTest, GivesASinkThatIsRegisteredFromInsideACallTheNextEvent)
{
    TestEventSink added;
    TestEventSink adds([&](const auto&) { mDevice.RegisterEventSink(&added); });
    mDevice.RegisterEventSink(&adds);
    mLineEnd->Send("A");
    EXPECT_TRUE(WaitUntil([&] { return mDevice.GetEventSinkCount() == 2; }));
    mLineEnd->Send("B");

    EXPECT_TRUE(added.WaitForBytes("B"));
    mDevice.UnregisterEventSink(&adds);
    mDevice.UnregisterEventSink(&added);
}

TEST_F(SimulatedDeviceSinkTest, LetsASinkUseTheDeviceFromInsideItsCall)
{
    std::atomic<std::uint32_t> enabled{0};
    TestEventSink sink(
        [&](const auto&)
        {
            std::uint32_t value = 0;
            mDevice.ReadRegister(REG_INTERRUPT_ENABLE, &value);
            enabled = value;
        });
    mDevice.RegisterEventSink(&sink);
    mLineEnd->Send("A");

    EXPECT_TRUE(WaitUntil([&] { return enabled == INTERRUPT_UART_RX; }));
    mDevice.UnregisterEventSink(&sink);
}

TEST_F(SimulatedDeviceSinkTest, SurvivesSinksThatComeAndGoWhileEventsAreUnderWay)
{
    std::atomic<bool> done{false};
    std::thread sending(
        [&]
        {
            while (!done)
            {
                mLineEnd->Send("x");
            }
        });
    std::atomic<int> running{0};
    for (int i = 0; i < 200; ++i)
    {
        TestEventSink sink([&](const auto&) { ++running; });
        mDevice.RegisterEventSink(&sink);
        mDevice.UnregisterEventSink(&sink);
    }
    TestEventSink last;
    mDevice.RegisterEventSink(&last);
    EXPECT_TRUE(last.WaitForEvents(1));
    mDevice.UnregisterEventSink(&last);
    done = true;
    sending.join();

    EXPECT_EQ(mDevice.GetEventSinkCount(), 0U);
}

TEST(SimulatedDeviceEndTest, CallsNoSinkOnceItIsDestroyed)
{
    TestEventSink sink;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    std::optional<SimulatedDevice> device(std::in_place);
    device->SetLineEnd(Port::Uart0, lineEnd);
    device->RegisterEventSink(&sink);
    device->WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_UART_RX);
    lineEnd->Send(std::string(10000, 'x'));
    device.reset();
    const std::size_t events = sink.GetEvents().size();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

    EXPECT_EQ(sink.GetEvents().size(), events);
}

TEST_F(SimulatedDeviceSinkTest, IsToldNothingWhileTheDeviceIsFrozen)
{
    std::promise<void> entered;
    std::promise<void> release;
    TestEventSink sink(
        [&](const TestEventSink::Event& aEvent)
        {
            if (aEvent.mBytes == "A")
            {
                entered.set_value();
                release.get_future().wait();
            }
        });
    mDevice.RegisterEventSink(&sink);
    mLineEnd->Send("A");
    entered.get_future().wait();
    mLineEnd->Send("B");
    EXPECT_FALSE(mDevice.WaitUntilQuiet(std::chrono::milliseconds(0))); // "B" is on its way from now on
    mDevice.Freeze(true);
    release.set_value();
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(sink.GetBytes(), "A");

    mDevice.Freeze(false);
    EXPECT_TRUE(sink.WaitForBytes("AB"));
    mDevice.UnregisterEventSink(&sink);
}

TEST_F(SimulatedDeviceSinkTest, IsNotCalledForATransmitInterruptThatABlockHasOutdated)
{
    mDevice.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_BULK_TX_EMPTY | INTERRUPT_BULK_TX_PARTIAL);
    std::promise<void> reached;
    std::promise<void> mayReturn;
    std::atomic<bool> isFirst{true};
    TestEventSink sink(
        [&](const TestEventSink::Event&)
        {
            if (isFirst.exchange(false))
            {
                reached.set_value();
                mayReturn.get_future().wait();
            }
        });
    mDevice.RegisterEventSink(&sink);
    // On an instant line both interrupts of a block are there at once.
    const std::string block(200, 'x');
    mDevice.BulkTransmit(reinterpret_cast<const std::uint8_t*>(block.data()), 0, 200);
    reached.get_future().wait();
    mDevice.BulkTransmit(reinterpret_cast<const std::uint8_t*>(block.data()), 0, 200);
    mayReturn.set_value();
    ASSERT_TRUE(mDevice.WaitUntilQuiet(10s));
    mDevice.UnregisterEventSink(&sink);

    std::vector<std::uint32_t> statuses;
    for (const TestEventSink::Event& event : sink.GetEvents())
    {
        statuses.push_back(event.mStatus);
    }
    EXPECT_EQ(statuses, (std::vector<std::uint32_t>{INTERRUPT_BULK_TX_PARTIAL, INTERRUPT_BULK_TX_PARTIAL,
                                                    INTERRUPT_BULK_TX_EMPTY}));
}
