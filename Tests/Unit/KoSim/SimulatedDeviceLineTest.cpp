#include <KoSim/SimulatedDevice.h>

#include "PtyProgram.h"
#include "Registers.h"
#include "TestEventSink.h"
#include "TestLineEnd.h"

#include <KoSim/PtyLine.h>

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using namespace KoSim;

namespace
{

constexpr std::uint32_t EVERY_INTERRUPT = 0xF;

std::uint32_t ReadData(SimulatedDevice& aDevice)
{
    std::uint32_t value = 0;
    aDevice.ReadRegister(REG_UART0_DATA, &value);
    return value;
}

/// Writes a byte to UART0 and waits until it is out.
void Transmit(SimulatedDevice& aDevice, char aByte)
{
    const std::uint64_t sent = aDevice.GetLineStatistics(Port::Uart0).mSentBytes;
    aDevice.WriteRegister(REG_UART0_DATA, static_cast<std::uint8_t>(aByte));
    EXPECT_TRUE(WaitUntil([&] { return aDevice.GetLineStatistics(Port::Uart0).mSentBytes > sent; }));
}

} // namespace

TEST(SimulatedDeviceLineTest, CarriesBytesToItsFarEnd)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    Transmit(device, 'A');
    Transmit(device, 'B');

    EXPECT_TRUE(lineEnd->WaitForReceived("AB"));
    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mSentBytes, 2U);
}

TEST(SimulatedDeviceLineTest, SendsBytesOnAnOpenLineIntoNothing)
{
    SimulatedDevice device;
    Transmit(device, 'A');

    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mSentBytes, 1U);
}

TEST(SimulatedDeviceLineTest, GivesTheBytesOfTheFarEndThroughTheDataRegister)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    lineEnd->Send("A");

    std::uint32_t value = 0;
    EXPECT_TRUE(WaitUntil([&] { return (value = ReadData(device)) != 0; }));
    EXPECT_EQ(value, UART_DATA_RX_VALID | 'A');
    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mReceivedBytes, 1U);
}

TEST(SimulatedDeviceLineTest, ReportsTheBytesOfTheFarEndInEvents)
{
    const std::string text(1000, 'x');
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    TestEventSink sink;
    device.SetLineEnd(Port::Uart1, lineEnd);
    device.RegisterEventSink(&sink);
    device.WriteRegister(REG_INTERRUPT_ENABLE, EVERY_INTERRUPT);
    lineEnd->Send(text);

    EXPECT_TRUE(sink.WaitForBytes(text));
    for (const TestEventSink::Event& event : sink.GetEvents())
    {
        EXPECT_EQ(event.mEventId, EVENT_SERIAL_INTERRUPT);
        EXPECT_EQ(event.mStatus, INTERRUPT_UART_RX << UART_INTERRUPT_BITS);
        EXPECT_LE(event.mBytes.size(), 128U);
    }
    EXPECT_EQ(device.GetLineStatistics(Port::Uart1).mReceivedBytes, text.size());
    device.UnregisterEventSink(&sink);
}

TEST(SimulatedDeviceLineTest, KeepsBytesThatCameWhileTheReceiveInterruptWasOff)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    TestEventSink sink;
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.RegisterEventSink(&sink);
    lineEnd->Send("early");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_TRUE(sink.GetEvents().empty());
    device.WriteRegister(REG_INTERRUPT_ENABLE, EVERY_INTERRUPT);

    EXPECT_TRUE(sink.WaitForBytes("early"));
    device.UnregisterEventSink(&sink);
}

TEST(SimulatedDeviceLineTest, CountsBytesThatFindNoRoomAsLost)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.Freeze(true);
    const std::size_t room = lineEnd->GetLine().GetRoom();
    lineEnd->Send(std::string(room + 7, 'x'));

    EXPECT_EQ(lineEnd->GetLine().GetRoom(), 0U);
    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mLostBytes, 7U);
}

TEST(SimulatedDeviceLineTest, CountsBytesAsLostWhileItIsUnplugged)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    TestEventSink sink;
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.RegisterEventSink(&sink);
    device.WriteRegister(REG_INTERRUPT_ENABLE, EVERY_INTERRUPT);
    device.Disconnect();
    lineEnd->Send("gone");

    EXPECT_TRUE(WaitUntil([&] { return device.GetLineStatistics(Port::Uart0).mLostBytes == 4; }));
    EXPECT_TRUE(sink.GetEvents().empty());
    device.Connect();
    lineEnd->Send("back");
    EXPECT_TRUE(sink.WaitForBytes("back"));
    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mReceivedBytes, 4U);
    device.UnregisterEventSink(&sink);
}

TEST(SimulatedDeviceLineTest, CountsBytesAsLostWhenNobodyListensToItsEvents)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.WriteRegister(REG_INTERRUPT_ENABLE, EVERY_INTERRUPT);
    lineEnd->Send("gone");

    EXPECT_TRUE(WaitUntil([&] { return device.GetLineStatistics(Port::Uart0).mLostBytes == 4; }));
    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mReceivedBytes, 0U);
}

TEST(SimulatedDeviceLineTest, CountsBytesThatAreWrittenTooEarly)
{
    SimulatedDevice device;
    device.Freeze(true);
    device.WriteRegister(REG_UART0_DATA, 'A');
    device.WriteRegister(REG_UART0_DATA, 'B');

    EXPECT_EQ(device.GetLineStatistics(Port::Uart0).mTxOverruns, 1U);
    EXPECT_EQ(device.GetLineStatistics(Port::Uart1).mTxOverruns, 0U);
}

TEST(SimulatedDeviceLineTest, DetachesTheFarEndThatIsReplaced)
{
    SimulatedDevice device;
    const auto first = std::make_shared<TestLineEnd>();
    const auto second = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, first);
    Transmit(device, 'A');
    EXPECT_TRUE(first->WaitForReceived("A"));
    device.SetLineEnd(Port::Uart0, second);
    EXPECT_EQ(first->GetDetached(), 1);
    Transmit(device, 'B');

    EXPECT_TRUE(second->WaitForReceived("B"));
    EXPECT_EQ(first->GetReceived(), "A");
    EXPECT_EQ(first->GetAttached(), 1);
    EXPECT_EQ(second->GetAttached(), 1);
    EXPECT_EQ(second->GetDetached(), 0);
}

TEST(SimulatedDeviceLineTest, LeavesTheLineOpenForNull)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.SetLineEnd(Port::Uart0, nullptr);
    device.SetLineEnd(Port::Uart0, nullptr);
    Transmit(device, 'A');

    EXPECT_EQ(lineEnd->GetDetached(), 1);
    EXPECT_EQ(lineEnd->GetReceived(), "");
    EXPECT_EQ(lineEnd.use_count(), 1);
}

TEST(SimulatedDeviceLineTest, WaitsForARunningCallBeforeAFarEndIsDetached)
{
    std::promise<void> entered;
    std::promise<void> release;
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>(
        [&](const std::string&)
        {
            entered.set_value();
            release.get_future().wait();
        });
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.WriteRegister(REG_UART0_DATA, 'A');
    entered.get_future().wait();
    std::thread replacing(
        [&]
        {
            device.SetLineEnd(Port::Uart0, nullptr);
            EXPECT_EQ(lineEnd->GetReceived(), "A");
        });

    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_EQ(lineEnd->GetDetached(), 0);
    release.set_value();
    replacing.join();
    EXPECT_EQ(lineEnd->GetDetached(), 1);
}

TEST(SimulatedDeviceLineTest, LetsAFarEndAnswerFromInsideItsCall)
{
    SimulatedDevice device;
    TestEventSink sink;
    std::shared_ptr<TestLineEnd> lineEnd;
    lineEnd = std::make_shared<TestLineEnd>([&](const std::string& aPiece) { lineEnd->Send(aPiece + "!"); });
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.RegisterEventSink(&sink);
    device.WriteRegister(REG_INTERRUPT_ENABLE, INTERRUPT_UART_RX);
    device.WriteRegister(REG_UART0_DATA, 'A');

    EXPECT_TRUE(sink.WaitForBytes("A!"));
    device.UnregisterEventSink(&sink);
    device.SetLineEnd(Port::Uart0, nullptr);
}

TEST(SimulatedDeviceLineTest, LetsAFarEndUnplugTheDevice)
{
    SimulatedDevice device;
    device.SetLineEnd(Port::Uart0, std::make_shared<TestLineEnd>([&](const std::string&) { device.Disconnect(); }));
    device.WriteRegister(REG_UART0_DATA, 'A');

    EXPECT_TRUE(WaitUntil([&] { return !device.IsConnected(); }));
}

TEST(SimulatedDeviceLineTest, DetachesEveryFarEndWhenItIsDestroyed)
{
    const auto first = std::make_shared<TestLineEnd>();
    const auto second = std::make_shared<TestLineEnd>();
    std::optional<SimulatedDevice> device(std::in_place);
    device->SetLineEnd(Port::Uart0, first);
    device->SetLineEnd(Port::Uart1, second);
    device.reset();

    EXPECT_EQ(first->GetDetached(), 1);
    EXPECT_EQ(second->GetDetached(), 1);
    EXPECT_EQ(first.use_count(), 1);
}

TEST(SimulatedDeviceLineTest, HandsBlocksToTheBulkTransmitter)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Bulk0, lineEnd);
    const std::uint8_t block[] = {'a', 'b', 'c'};
    EXPECT_TRUE(device.BulkTransmit(block, 0, sizeof(block)).IsOK());
    EXPECT_TRUE(lineEnd->WaitForReceived("abc"));

    device.Disconnect();
    EXPECT_EQ(device.BulkTransmit(block, 0, sizeof(block)).GetCode(), KoResult::NOT_CONNECTED);
}

TEST(SimulatedDeviceLineTest, HasNoBulkTransmitterWhenItsProfileHasNone)
{
    SimulatedDevice device(DeviceProfile::UartOnly());
    const std::uint8_t byte = 'a';
    const KoResult result = device.BulkTransmit(&byte, 0, 1);

    EXPECT_EQ(result.GetCode(), KoResult::NOT_SUPPORTED);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "The simulated device has no bulk transmitter.");
}

TEST(SimulatedDeviceLineTest, WaitsForAFarEndThatHoldsItBack)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    lineEnd->GetLine().HoldBack(true);
    device.WriteRegister(REG_UART0_DATA, 'A');
    EXPECT_FALSE(device.WaitUntilQuiet(std::chrono::milliseconds(20)));
    EXPECT_EQ(ReadData(device), UART_DATA_TX_BUSY);
    EXPECT_EQ(lineEnd->GetReceived(), "");

    lineEnd->GetLine().HoldBack(false);
    EXPECT_TRUE(lineEnd->WaitForReceived("A"));
}

TEST(SimulatedDeviceLineTest, IsReleasedWhenTheFarEndThatHeldItBackIsReplaced)
{
    SimulatedDevice device;
    const auto first = std::make_shared<TestLineEnd>();
    const auto second = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, first);
    first->GetLine().HoldBack(true);
    device.WriteRegister(REG_UART0_DATA, 'A');
    device.SetLineEnd(Port::Uart0, second);

    EXPECT_TRUE(WaitUntil([&] { return device.GetLineStatistics(Port::Uart0).mSentBytes == 1; }));
    EXPECT_EQ(first->GetReceived(), "");
}

TEST(SimulatedDeviceLineTest, RefusesAFarEndThatSitsOnAnotherLine)
{
    const auto lineEnd = std::make_shared<TestLineEnd>();
    const auto other = std::make_shared<TestLineEnd>();
    SimulatedDevice first;
    SimulatedDevice second;
    first.SetLineEnd(Port::Uart0, lineEnd);
    first.SetLineEnd(Port::Uart1, other);
    EXPECT_THROW(first.SetLineEnd(Port::Uart1, lineEnd), std::invalid_argument);
    EXPECT_THROW(second.SetLineEnd(Port::Uart0, lineEnd), std::invalid_argument);
    EXPECT_EQ(lineEnd->GetDetached(), 0);
    EXPECT_EQ(other->GetDetached(), 0);

    first.SetLineEnd(Port::Uart0, nullptr);
    EXPECT_NO_THROW(second.SetLineEnd(Port::Uart0, lineEnd));
}

TEST(SimulatedDeviceLineTest, TakesTheFarEndThatSitsOnTheLineAlready)
{
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    device.SetLineEnd(Port::Uart0, lineEnd);
    EXPECT_EQ(lineEnd->GetDetached(), 1);
    EXPECT_EQ(lineEnd->GetAttached(), 2);

    SimulatedDevice other;
    EXPECT_THROW(other.SetLineEnd(Port::Uart0, lineEnd), std::invalid_argument);
}

TEST(SimulatedDeviceLineTest, LosesNothingToAProgramThatReadsLate)
{
    constexpr int FRAMES = 1200;
    std::vector<std::uint8_t> frame = {0, 0, 0, 0, 0, 0, 0x03, 0xE8};
    frame.resize(frame.size() + 1000, 'x');
    const auto pty = std::make_shared<PtyLine>();
    SimulatedDevice device;
    device.SetLineEnd(Port::Bulk3, pty);
    std::thread host(
        [&]
        {
            for (int i = 0; i < FRAMES; ++i)
            {
                const auto length = static_cast<std::int64_t>(frame.size());
                EXPECT_TRUE(device.SetGenRegisterData("Bulk3DownstreamData", frame.data(), length).IsOK());
                while (!device.WaitForIdle(1000).IsOK())
                {
                }
            }
        });
    PtyProgram program(pty->GetPath());
    EXPECT_TRUE(WaitUntil([&] { return device.GetLineStatistics(Port::Bulk3).mSentBytes > (1 << 20); }));
    EXPECT_EQ(program.Read(FRAMES * 1000), std::string(FRAMES * 1000, 'x'));
    host.join();
    device.SetLineEnd(Port::Bulk3, nullptr);

    EXPECT_EQ(pty->GetLostBytes(), 0U);
    EXPECT_EQ(device.GetLineStatistics(Port::Bulk3).mTxOverruns, 0U);
}
