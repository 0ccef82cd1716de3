#include "UartFixture.h"

#include <KoSim/Loopback.h>

#include <chrono>
#include <memory>

using namespace KoSim;

namespace
{

/// Unplugs the device when it has confirmed a number of bytes.
class Unplugger : public IKoDeviceEventSink
{
public:
    Unplugger(SimulatedDevice& aDevice, int aConfirmations) : mDevice(aDevice), mConfirmations(aConfirmations) {}

    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void*, std::uint32_t) override
    {
        if (--mConfirmations == 0)
        {
            mDevice.Disconnect();
        }
    }
    void NotifyInvalidatedGenParameter(const KoString&) override {}

private:
    SimulatedDevice& mDevice;
    int mConfirmations;
};

void ExpectFailure(std::uint32_t aCode, const char* aText, const KoResult& aResult)
{
    EXPECT_EQ(aResult.GetCode(), aCode);
    EXPECT_STREQ(aResult.GetDescription().GetAscii(), aText);
}

} // namespace

class UartFailureTest : public ::testing::Test
{
protected:
    const QuietLog mQuiet;
    SimulatedDevice mDevice;
    KoDeviceSerialPort mPort;
};

TEST_F(UartFailureTest, FailsAWriteToADeviceThatNeverConfirms)
{
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.Freeze(true);
    std::uint32_t written = 0;
    const auto start = std::chrono::steady_clock::now();
    const KoResult result = Write(mPort, "ABC", written);

    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::milliseconds(1020));
    ExpectFailure(KoResult::GENERIC_ERROR, "Failed while waiting for the event from the device after writing byte 0.",
                  result);
    EXPECT_EQ(written, 1U);
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    std::uint32_t done = 0;
    std::uint32_t total = 0;
    EXPECT_TRUE(mPort.GetWriteProgress(done, total).IsOK());
    EXPECT_EQ(done, 1U);
    EXPECT_EQ(total, 3U);
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, WritesAgainWhenTheDeviceGoesOnAfterAFailure)
{
    mDevice.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.Freeze(true);
    EXPECT_FALSE(Write(mPort, "A"));
    mDevice.Freeze(false);
    // The late confirmation comes before the byte itself comes back.
    EXPECT_EQ(Read(mPort, 1), "A");

    EXPECT_TRUE(Write(mPort, "BC"));
    EXPECT_EQ(Read(mPort, 2), "BC");
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, PicksUpAByteWithoutEventAfterAFailedWrite)
{
    const auto lineEnd = std::make_shared<TestLineEnd>();
    mDevice.SetLineEnd(Port::Uart0, lineEnd);
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(mDevice.WriteRegister(REG_INTERRUPT_ENABLE, 0).IsOK());
    lineEnd->Send("Z");
    std::uint32_t written = 0;
    const KoResult result = Write(mPort, "A", written);

    ExpectFailure(KoResult::GENERIC_ERROR, "Failed while waiting for the event from the device after writing byte 0.",
                  result);
    EXPECT_EQ(Read(mPort, 1, 0), "Z");
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, FailsTheWriteOfTheByteAfterTheDeviceWasUnplugged)
{
    Unplugger unplugger(mDevice, 3);
    mDevice.RegisterEventSink(&unplugger);
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    std::uint32_t written = 0;
    const KoResult result = Write(mPort, "ABCDEF", written);

    ExpectFailure(KoResult::GENERIC_ERROR, "Failed to write byte 3.", result);
    EXPECT_EQ(written, 3U);
    EXPECT_EQ(mPort.GetBytesSent(), 0U);
    mDevice.UnregisterEventSink(&unplugger);
    mDevice.Connect();
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, FailsTheByteThatWasUnderWayWhenTheDeviceWasUnplugged)
{
    int arrived = 0;
    mDevice.SetLineEnd(Port::Uart0, std::make_shared<TestLineEnd>(
                                        [&]
                                        {
                                            if (++arrived == 3)
                                            {
                                                mDevice.Disconnect();
                                            }
                                        }));
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    std::uint32_t written = 0;
    const KoResult result = Write(mPort, "ABCDEF", written);

    ExpectFailure(KoResult::GENERIC_ERROR, "Failed while waiting for the event from the device after writing byte 2.",
                  result);
    EXPECT_EQ(written, 3U);
    mDevice.Connect();
    EXPECT_TRUE(mPort.Close().IsOK());
    mDevice.SetLineEnd(Port::Uart0, nullptr);
}

TEST_F(UartFailureTest, StaysOpenAndHeldWhileTheDeviceIsUnplugged)
{
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.Disconnect();
    std::uint32_t written = 42;

    ExpectFailure(KoResult::NOT_CONNECTED, "The device is not currently connected.", Write(mPort, "A", written));
    ExpectFailure(KoResult::NOT_CONNECTED, "The device is not currently connected.", mPort.Close());
    EXPECT_TRUE(mPort.IsOpened());
    EXPECT_EQ(mDevice.GetEventSinkCount(), 1U);

    mDevice.Connect();
    KoDeviceSerialPort other;
    ExpectFailure(KoResult::GENERIC_ERROR, "The specified port is already in use.",
                  other.Open(&mDevice, KoDeviceSerialUart0));
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(mDevice.GetEventSinkCount(), 0U);
}

TEST_F(UartFailureTest, WorksAgainAfterTheDeviceIsPluggedInAgain)
{
    mDevice.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.Disconnect();
    EXPECT_FALSE(Write(mPort, "A"));
    mDevice.Connect();
    EXPECT_TRUE(Write(mPort, "B"));
    EXPECT_EQ(Read(mPort, 1), "B");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(Write(mPort, "C"));
    EXPECT_EQ(Read(mPort, 1), "C");
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, KeepsWhatWasReceivedBeforeTheDeviceWasUnplugged)
{
    mDevice.SetLineEnd(Port::Uart0, std::make_shared<Loopback>());
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(Write(mPort, "ABC"));
    EXPECT_TRUE(WaitUntil([&] { return GetBytesReady(mPort) == 3; }));
    mDevice.Disconnect();

    EXPECT_EQ(Read(mPort, 3), "ABC");
    mDevice.Connect();
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, DoesNotOpenAPortOfAnUnpluggedDevice)
{
    mDevice.Disconnect();

    ExpectFailure(KoResult::NOT_CONNECTED, "The device is not currently connected.",
                  mPort.Open(&mDevice, KoDeviceSerialUart0));
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialUart0));
    mDevice.Connect();
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    EXPECT_TRUE(mPort.Close().IsOK());
}

TEST_F(UartFailureTest, CountsOnTheDeviceWhatThePortDidNotGet)
{
    const auto lineEnd = std::make_shared<TestLineEnd>();
    mDevice.SetLineEnd(Port::Uart0, lineEnd);
    ASSERT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    mDevice.Disconnect();
    lineEnd->Send("gone");
    EXPECT_TRUE(WaitUntil([&] { return mDevice.GetLineStatistics(Port::Uart0).mLostBytes == 4; }));
    mDevice.Connect();
    lineEnd->Send("back");

    EXPECT_EQ(Read(mPort, 4), "back");
    EXPECT_TRUE(mPort.Close().IsOK());
}
