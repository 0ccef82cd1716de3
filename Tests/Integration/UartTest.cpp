#include "UartFixture.h"

#include <KoSim/Loopback.h>

#include <memory>
#include <thread>

using namespace KoSim;

/// UART0 ends in a loopback.
class UartTest : public ::testing::Test
{
protected:
    UartTest()
    {
        mDevice.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
        EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    }
    ~UartTest() override { EXPECT_TRUE(mPort.Close().IsOK()); }

    SimulatedDevice mDevice;
    KoDeviceSerialPort mPort;
};

TEST_F(UartTest, GetsBack64KiBThatItWrites)
{
    const std::string text = MakeText(65536);
    ASSERT_TRUE(mPort.SetRxBufferSize(65537).IsOK());
    std::string received;
    std::thread reader([&] { received = Read(mPort, text.size()); });
    const bool written = Write(mPort, text);
    reader.join();

    EXPECT_TRUE(written);
    EXPECT_EQ(received, text);
    EXPECT_EQ(mPort.GetBytesSent(), text.size());
    EXPECT_EQ(mPort.GetBytesReceived(), text.size());
    const LineStatistics line = mDevice.GetLineStatistics(Port::Uart0);
    EXPECT_EQ(line.mSentBytes, text.size());
    EXPECT_EQ(line.mReceivedBytes, text.size());
    EXPECT_EQ(line.mLostBytes, 0U);
    EXPECT_EQ(line.mTxOverruns, 0U);
}

TEST_F(UartTest, TouchesNoRegisterThatTheDeviceDoesNotHave)
{
    EXPECT_TRUE(Write(mPort, "ABC"));
    EXPECT_EQ(Read(mPort, 3), "ABC");

    EXPECT_EQ(mDevice.GetUnknownAccessCount(), 0U);
}

TEST_F(UartTest, SendsNothingForAWriteOfNoBytes)
{
    std::uint32_t written = 42;
    const KoResult result = mPort.Write(nullptr, 0, written);

    EXPECT_TRUE(result.IsOK());
    EXPECT_EQ(written, 0U);
    EXPECT_EQ(mDevice.GetLineStatistics(Port::Uart0).mSentBytes, 0U);
}

TEST_F(UartTest, TimesOutWhenNothingComes)
{
    std::uint8_t byte = 0;
    std::uint32_t count = 42;

    EXPECT_EQ(mPort.Read(&byte, 1, count, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(mPort.Read(&byte, 1, count, 20).GetCode(), KoResult::TIMEOUT);
}

TEST_F(UartTest, ReturnsFromAReadWithWhatThereIs)
{
    EXPECT_TRUE(Write(mPort, "ABC"));
    EXPECT_TRUE(WaitUntil([&] { return GetBytesReady(mPort) == 3; }));
    std::uint8_t buffer[100] = {};
    std::uint32_t count = 0;

    EXPECT_TRUE(mPort.Read(buffer, sizeof(buffer), count, LONG_TIME_MS).IsOK());
    EXPECT_EQ(std::string(buffer, buffer + count), "ABC");
}

TEST_F(UartTest, KeepsTheNewestBytesOfAFullRing)
{
    ASSERT_TRUE(mPort.SetRxBufferSize(5).IsOK());
    EXPECT_TRUE(Write(mPort, "ABCDEFG"));
    EXPECT_TRUE(WaitUntil([&] { return mDevice.GetLineStatistics(Port::Uart0).mReceivedBytes == 7; }));
    // The last byte is counted before the port gets it; the confirmation of one more comes after it.
    EXPECT_TRUE(Write(mPort, "H"));

    std::string received = Read(mPort, 4);
    while (received.back() != 'H')
    {
        received += Read(mPort, 1);
    }
    EXPECT_EQ(received.substr(received.size() - 4), "EFGH");
}

TEST_F(UartTest, CountsEveryByteThatAFullRingLosesWhileItIsRead)
{
    constexpr std::size_t SENT = 16384;
    const auto lineEnd = std::make_shared<TestLineEnd>();
    mDevice.SetLineEnd(Port::Uart0, lineEnd);
    ASSERT_TRUE(mPort.SetRxBufferSize(20).IsOK());
    lineEnd->Send(MakeText(SENT));
    EXPECT_TRUE(WaitUntil(
        [&]
        {
            Read(mPort, SENT, 1);
            return mPort.GetBytesReceived() + mPort.GetBytesDropped() >= SENT;
        }));

    EXPECT_EQ(mDevice.GetLineStatistics(Port::Uart0).mReceivedBytes, SENT);
    EXPECT_GT(mPort.GetBytesDropped(), 0U);
    EXPECT_EQ(mPort.GetBytesReceived() + mPort.GetBytesDropped(), SENT);
    EXPECT_EQ(mPort.GetMostBytesReady(), 19U);
}

TEST_F(UartTest, ForgetsWhatItReceivedWhenItIsFlushed)
{
    EXPECT_TRUE(Write(mPort, "ABC"));
    EXPECT_TRUE(WaitUntil([&] { return GetBytesReady(mPort) == 3; }));
    EXPECT_TRUE(mPort.FlushRxBuffer().IsOK());
    EXPECT_EQ(GetBytesReady(mPort), 0U);
    EXPECT_TRUE(Write(mPort, "D"));

    EXPECT_EQ(Read(mPort, 1), "D");
}

TEST_F(UartTest, CanBeOpenedAgainAfterClose)
{
    EXPECT_TRUE(Write(mPort, "AB"));
    EXPECT_EQ(Read(mPort, 1), "A");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(mPort.GetBytesSent(), 2U);
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());

    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    EXPECT_EQ(GetBytesReady(mPort), 0U);
    EXPECT_TRUE(Write(mPort, "C"));
    EXPECT_EQ(Read(mPort, 1), "C");
}

TEST_F(UartTest, CanMoveToTheOtherUartAfterClose)
{
    mDevice.SetLineEnd(Port::Uart1, std::make_shared<Loopback>());
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    EXPECT_TRUE(Write(mPort, "A"));

    EXPECT_EQ(Read(mPort, 1), "A");
    EXPECT_EQ(mDevice.GetLineStatistics(Port::Uart1).mSentBytes, 1U);
    EXPECT_EQ(mDevice.GetLineStatistics(Port::Uart0).mSentBytes, 0U);
}

TEST(UartTimingTest, LetsAWriteTakeTheTimeOfTheLine)
{
    DeviceProfile profile;
    profile.mTiming = LineTiming::Real;
    profile.mLines[1] = {9600, LineParity::Even, 8, 2};
    SimulatedDevice device(profile);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialUart1).IsOK());
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(Write(port, "0123456789"));

    // 10 bytes of 12 bits each
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(12500));
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartSupportTest, OffersTheUartsThatTheDeviceHas)
{
    DeviceProfile profile;
    profile.mUartCount = 1;
    SimulatedDevice device(profile);
    const QuietLog quiet;
    KoDeviceSerialPort port;

    EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&device, KoDeviceSerialUart0));
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&device, KoDeviceSerialUart1));
    EXPECT_EQ(port.Open(&device, KoDeviceSerialUart1).GetCode(), KoResult::NOT_SUPPORTED);
    EXPECT_FALSE(port.IsOpened());
    EXPECT_TRUE(port.Open(&device, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(UartSupportTest, OffersNoUartOfADeviceBehindAnotherInterface)
{
    DeviceProfile elsewhere;
    elsewhere.mTavricVideoInterface = false;
    DeviceProfile otherTransport;
    otherTransport.mGigEVision = false;
    SimulatedDevice first(elsewhere);
    SimulatedDevice second(otherTransport);

    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&first, KoDeviceSerialUart0));
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&second, KoDeviceSerialUart0));
}
