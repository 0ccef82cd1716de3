#include "UartFixture.h"

#include <KoSim/Loopback.h>
#include <KuUtilsLib/LogSink.h>

#include <atomic>
#include <memory>
#include <optional>
#include <thread>
#include <vector>

using namespace KoSim;

namespace
{

void ExpectInUse(const KoResult& aResult)
{
    EXPECT_EQ(aResult.GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_STREQ(aResult.GetDescription().GetAscii(), "The specified port is already in use.");
}

/// Keeps the messages of log entries, and their levels.
class MessageSink : public KuUtilsLib::ILogSink
{
public:
    MessageSink() { KuUtilsLib::Logger::SetSink(this); }
    ~MessageSink() override { KuUtilsLib::Logger::SetSink(nullptr); }
    void Write(const KuUtilsLib::LogRecord& aRecord) override
    {
        mMessages.push_back(std::to_string(aRecord.mLevel) + " " + aRecord.mMessage);
    }

    std::vector<std::string> mMessages;
};

} // namespace

TEST(UartSharingTest, LetsOneObjectHoldAPortOfADevice)
{
    const QuietLog quiet;
    SimulatedDevice device;
    KoDeviceSerialPort first;
    KoDeviceSerialPort second;
    ASSERT_TRUE(first.Open(&device, KoDeviceSerialUart0).IsOK());

    ExpectInUse(second.Open(&device, KoDeviceSerialUart0));
    EXPECT_FALSE(second.IsOpened());
    EXPECT_TRUE(first.IsOpened());
    EXPECT_EQ(device.GetEventSinkCount(), 1U);
    EXPECT_TRUE(first.Close().IsOK());
    EXPECT_TRUE(second.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(second.Close().IsOK());
}

TEST(UartSharingTest, LeavesTheHolderUndisturbedWhenAnotherIsRefused)
{
    const QuietLog quiet;
    SimulatedDevice device;
    device.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    KoDeviceSerialPort first;
    ASSERT_TRUE(first.Open(&device, KoDeviceSerialUart0).IsOK());
    {
        KoDeviceSerialPort second;
        ExpectInUse(second.Open(&device, KoDeviceSerialUart0));
    }

    EXPECT_TRUE(Write(first, "A"));
    EXPECT_EQ(Read(first, 1), "A");
    EXPECT_TRUE(first.Close().IsOK());
}

TEST(UartSharingTest, LetsTwoObjectsHoldTheSamePortOfTwoDevicesThatNobodyHasNamed)
{
    SimulatedDevice left;
    SimulatedDevice right;
    KoDeviceSerialPort first;
    KoDeviceSerialPort second;

    EXPECT_TRUE(first.Open(&left, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(second.Open(&right, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(first.Close().IsOK());
    EXPECT_TRUE(second.Close().IsOK());
}

TEST(UartSharingTest, LetsTwoObjectsHoldTheSamePortOfTwoDevices)
{
    SimulatedDevice left(WithId("left"));
    SimulatedDevice right(WithId("right"));
    KoDeviceSerialPort first;
    KoDeviceSerialPort second;

    EXPECT_TRUE(first.Open(&left, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(second.Open(&right, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(first.Close().IsOK());
    EXPECT_TRUE(second.Close().IsOK());
}

TEST(UartSharingTest, LetsTwoObjectsHoldTheTwoPortsOfADevice)
{
    SimulatedDevice device;
    KoDeviceSerialPort first;
    KoDeviceSerialPort second;

    EXPECT_TRUE(first.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(second.Open(&device, KoDeviceSerialUart1).IsOK());
    EXPECT_EQ(device.GetEventSinkCount(), 2U);
    EXPECT_TRUE(first.Close().IsOK());
    EXPECT_TRUE(second.Close().IsOK());
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
}

TEST(UartSharingTest, TellsDevicesApartByTheirIdentity)
{
    const QuietLog quiet;
    SimulatedDevice first(WithId("same"));
    SimulatedDevice second(WithId("same"));
    KoDeviceSerialPort port;
    KoDeviceSerialPort other;
    ASSERT_TRUE(port.Open(&first, KoDeviceSerialUart0).IsOK());

    ExpectInUse(other.Open(&second, KoDeviceSerialUart0));
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartSharingTest, GivesAPortToOneOfSeveralThreads)
{
    constexpr int THREADS = 4;
    constexpr int ROUNDS = 100;
    const QuietLog quiet;
    SimulatedDevice device;
    std::atomic<int> holders{0};
    std::atomic<int> opened{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < THREADS; ++i)
    {
        threads.emplace_back(
            [&]
            {
                for (int round = 0; round < ROUNDS; ++round)
                {
                    KoDeviceSerialPort port;
                    if (!port.Open(&device, KoDeviceSerialUart0).IsOK())
                    {
                        continue;
                    }
                    EXPECT_EQ(++holders, 1);
                    ++opened;
                    --holders;
                    EXPECT_TRUE(port.Close().IsOK());
                }
            });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_GE(opened, 1);
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
    KoDeviceSerialPort last;
    EXPECT_TRUE(last.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(last.Close().IsOK());
}

TEST(UartSharingTest, ClosesAnOpenPortThatIsDestroyed)
{
    MessageSink log;
    SimulatedDevice device;
    std::optional<KoDeviceSerialPort> port(std::in_place);
    ASSERT_TRUE(port->Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_EQ(device.GetEventSinkCount(), 1U);
    port.reset();

    EXPECT_EQ(log.mMessages, std::vector<std::string>{"4 SerialPort not closed before deleting. Will close"});
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
    EXPECT_EQ(ReadRegister(device, REG_INTERRUPT_ENABLE), 0U);
    KoDeviceSerialPort next;
    EXPECT_TRUE(next.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(next.Close().IsOK());
}

TEST(UartSharingTest, SaysNothingWhenAClosedPortIsDestroyed)
{
    MessageSink log;
    SimulatedDevice device;
    std::optional<KoDeviceSerialPort> port(std::in_place);
    ASSERT_TRUE(port->Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(port->Close().IsOK());
    port.reset();

    EXPECT_TRUE(log.mMessages.empty());
}

TEST(UartSharingTest, DestroysAnOpenPortWhileBytesComeIn)
{
    const QuietLog quiet;
    SimulatedDevice device;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    device.SetLineEnd(Port::Uart0, lineEnd);
    std::atomic<bool> done{false};
    std::thread sending(
        [&]
        {
            while (!done)
            {
                lineEnd->Send("x");
            }
        });
    for (int i = 0; i < 50; ++i)
    {
        KoDeviceSerialPort port;
        ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
        EXPECT_EQ(Read(port, 1), "x");
    }
    done = true;
    sending.join();

    EXPECT_EQ(device.GetEventSinkCount(), 0U);
}
