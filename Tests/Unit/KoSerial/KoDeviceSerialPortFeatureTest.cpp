#include "FeaturePortTest.h"

#include <KoDeviceSerialPort.h>
#include <KoDeviceSerialPortArrivalSink.h>

#include <deque>
#include <memory>

namespace
{

constexpr std::uint32_t TWO_UARTS_AND_BULK0 = 0x80000032;

const Texts REGISTER_TEST = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision",
                             "ReadRegister 0xB8FC"};

Texts FeatureTest(int aIndex)
{
    const std::string bulk = "Bulk" + std::to_string(aIndex);
    return {"IsConnected", "IsTavricVideoInterface", "IsGenRegisterPresent " + bulk + "DownstreamData",
            "IsGenIntegerPresent Event" + bulk + "UpstreamDataLength",
            "IsGenRegisterPresent Event" + bulk + "UpstreamDataBuffer"};
}

bool BeginsWith(const Texts& aStory, const std::vector<Texts>& aParts)
{
    Texts all;
    for (const Texts& part : aParts)
    {
        all.insert(all.end(), part.begin(), part.end());
    }
    return aStory.size() >= all.size() && std::equal(all.begin(), all.end(), aStory.begin());
}

std::ptrdiff_t Count(const Texts& aStory, const std::string& aCall)
{
    return std::count(aStory.begin(), aStory.end(), aCall);
}

/// The public port on the bulk ports of a device that has the features of all eight and no bulk port in its registers.
class KoDeviceSerialPortFeatureTest : public FeaturePortTest
{
protected:
    KoDeviceSerialPortFeatureTest()
    {
        for (int i = 0; i < 8; ++i)
        {
            AddBulkPort(mDevice, i);
        }
    }

    ~KoDeviceSerialPortFeatureTest() override
    {
        mDevice.mConnected = true;
        mPublic.Close();
    }

    void OpenPublic(KoDeviceSerial aPort)
    {
        ASSERT_TRUE(mPublic.Open(&mDevice, aPort).IsOK());
        Forget();
    }

    std::uint32_t GetRingSize()
    {
        std::uint32_t size = 0;
        EXPECT_TRUE(mPublic.GetRxBufferSize(size).IsOK());
        return size;
    }

    static KoDeviceSerial BulkPort(int aIndex) { return static_cast<KoDeviceSerial>(2 + aIndex); }

    KoDeviceSerialPort mPublic;
    std::uint8_t mBuffer[8] = {};
    std::uint32_t mCount = 0;
};

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk1To7LeavesTheSupportTestToTheFeatureEngine)
{
    for (int i = 1; i < 8; ++i)
    {
        EXPECT_TRUE(mPublic.Open(&mDevice, BulkPort(i)).IsOK());
        EXPECT_TRUE(mPublic.IsOpened());
        const Texts story = TakeStory();
        EXPECT_TRUE(BeginsWith(story, {{"IsConnected"}, FeatureTest(i), {"GetDeviceId"}})) << i;
        EXPECT_EQ(Count(story, "IsTavricVideoInterface"), 1) << i;
        EXPECT_EQ(Count(story, "IsGigEVision"), 0) << i;
        EXPECT_TRUE(mPublic.Close().IsOK());
        EXPECT_FALSE(mPublic.IsOpened());
        Forget();
    }
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk1To7UsesTheFeaturesWhateverTheRegistersOffer)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {TWO_UARTS_AND_BULK0};
    OpenPublic(KoDeviceSerialBulk1);
    EXPECT_TRUE(mPublic.Write(CountUp(4).data(), 4, mCount).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().at(3), "SetGenRegisterData Bulk1DownstreamData 00 00 00 00 00 00 00 04 01 02 03 04");
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk0PrefersTheRegisterEngineAndAsksBoth)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {TWO_UARTS_AND_BULK0};
    EXPECT_TRUE(mPublic.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    EXPECT_TRUE(mPublic.IsOpened());
    const Texts story = TakeStory();
    EXPECT_TRUE(BeginsWith(story, {REGISTER_TEST, FeatureTest(0), {"IsConnected"}, REGISTER_TEST, {"GetDeviceId"}}));
    EXPECT_EQ(Count(story, "RegisterGenInvalidator EventBulk0UpstreamDataBuffer"), 0);
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk0UsesTheFeatureEngineWhenTheRegistersDoNotOfferIt)
{
    EXPECT_TRUE(mPublic.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    const Texts story = TakeStory();
    EXPECT_TRUE(BeginsWith(story, {REGISTER_TEST, FeatureTest(0), {"IsConnected"}, FeatureTest(0), {"GetDeviceId"}}));
    EXPECT_EQ(Count(story, "RegisterGenInvalidator EventBulk0UpstreamDataBuffer"), 1);
    mDevice.TakeCalls();
    EXPECT_TRUE(mPublic.Write(CountUp(4).data(), 4, mCount).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().at(3), "SetGenRegisterData Bulk0DownstreamData 00 00 00 00 00 00 00 04 01 02 03 04");
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk0WithNeitherEngineAsksBothAndKeepsTheOpenOne)
{
    mDevice.mIntegers.erase("EventBulk0UpstreamDataLength");
    OpenPublic(KoDeviceSerialBulk2);
    mPublic.SetRxBufferSize(64);
    Forget();
    ExpectBareFailure(mPublic.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED);
    const Texts story = TakeStory();
    EXPECT_TRUE(BeginsWith(story, {REGISTER_TEST, FeatureTest(0)}));
    EXPECT_EQ(story.size(), 10U) << "nothing else is done or logged";
    EXPECT_TRUE(mPublic.IsOpened());
    EXPECT_EQ(GetRingSize(), 64U);
    EXPECT_TRUE(mPublic.Write(CountUp(4).data(), 4, mCount).IsOK());
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfBulk0OnADisconnectedDeviceFindsNeitherEngine)
{
    mDevice.mConnected = false;
    ExpectBareFailure(mPublic.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED);
    const char* const entry = "[3] The device is not currently connected.";
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", entry, "IsConnected", entry}));
}

TEST_F(KoDeviceSerialPortFeatureTest, IsSupportedAsksForTheFeaturesOfBulk0First)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {TWO_UARTS_AND_BULK0};
    EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialBulk0));
    EXPECT_EQ(TakeStory(), FeatureTest(0));

    mDevice.mIntegers.erase("EventBulk0UpstreamDataLength");
    EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialBulk0));
    const Texts story = TakeStory();
    EXPECT_TRUE(BeginsWith(story, {FeatureTest(0), REGISTER_TEST}));
    EXPECT_EQ(story.size(), 10U);

    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000002};
    EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, KoDeviceSerialBulk0));
}

TEST_F(KoDeviceSerialPortFeatureTest, IsSupportedAsksForTheFeaturesOfBulk1To7Only)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {TWO_UARTS_AND_BULK0};
    for (int i = 1; i < 8; ++i)
    {
        EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&mDevice, BulkPort(i)));
        EXPECT_EQ(TakeStory(), FeatureTest(i));
        mDevice.FailCall("IsGenIntegerPresent");
        EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&mDevice, BulkPort(i)));
        EXPECT_EQ(TakeStory(), FeatureTest(i));
    }
}

TEST_F(KoDeviceSerialPortFeatureTest, ForwardsToTheFeatureEngine)
{
    OpenPublic(KoDeviceSerialBulk3);
    EXPECT_TRUE(mPublic.Write(CountUp(30).data(), 30, mCount).IsOK());
    EXPECT_EQ(mCount, 30U);
    std::uint32_t total = 0;
    EXPECT_TRUE(mPublic.GetWriteProgress(mCount, total).IsOK());
    EXPECT_EQ(mCount, 30U);
    EXPECT_EQ(total, 30U);
    EXPECT_EQ(mPublic.GetBytesSent(), 30U);

    mDevice.mGenRegisters["EventBulk3UpstreamDataBuffer"] = {0x61, 0x62, 0x63};
    mDevice.mIntegers["EventBulk3UpstreamDataLength"] = 3;
    mDevice.Invalidate("EventBulk3UpstreamDataBuffer");
    EXPECT_TRUE(mPublic.GetRxBytesReady(mCount).IsOK());
    EXPECT_EQ(mCount, 3U);
    EXPECT_TRUE(mPublic.Read(mBuffer, 2, mCount, 0).IsOK());
    EXPECT_EQ(Bytes(mBuffer, mBuffer + mCount), (Bytes{0x61, 0x62}));
    EXPECT_EQ(mPublic.GetBytesReceived(), 2U);
    EXPECT_TRUE(mPublic.FlushRxBuffer().IsOK());
    EXPECT_EQ(mPublic.Read(mBuffer, 2, mCount, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_TRUE(mPublic.NotifyReadComplete().IsOK());
    mPublic.ResetStatistics();
    EXPECT_EQ(mPublic.GetBytesSent(), 0U);
}

TEST_F(KoDeviceSerialPortFeatureTest, ReturnsTheFailuresOfTheFeatureEngineUnchanged)
{
    OpenPublic(KoDeviceSerialBulk7);
    mDevice.mRefusal = FailureOfDevice();
    mDevice.FailCall("SetGenRegisterData", 2);
    ExpectFailureOfDevice(mPublic.Write(CountUp(30).data(), 30, mCount));
    EXPECT_EQ(mCount, 24U);
    mDevice.mConnected = false;
    ExpectFailure(mPublic.Close(), KoResult::NOT_CONNECTED, "Close", "The device is not currently connected.");
    EXPECT_TRUE(mPublic.IsOpened());
}

TEST_F(KoDeviceSerialPortFeatureTest, AFailedOpenLeavesAClosedFeatureEngineInPlace)
{
    mPublic.SetRxBufferSize(64);
    mDevice.FailCall("SetGenEnumValue EventNotification On");
    ExpectBareFailure(mPublic.Open(&mDevice, KoDeviceSerialBulk1), KoResult::GENERIC_ERROR);
    EXPECT_FALSE(mPublic.IsOpened());
    EXPECT_EQ(GetRingSize(), 16384U);
    ExpectFailure(mPublic.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    ExpectFailure(mPublic.Write(mBuffer, 1, mCount), KoResult::NOT_CONNECTED, "WriteAndRead",
                  "Device pointer is NULL.");
    OpenPublic(KoDeviceSerialBulk1);
}

TEST_F(KoDeviceSerialPortFeatureTest, OpenOfAnOpenBulkPortFindsItInUseAndNeverClosesTheReplacedEngine)
{
    OpenPublic(KoDeviceSerialBulk4);
    ExpectFailure(mPublic.Open(&mDevice, KoDeviceSerialBulk4), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    EXPECT_FALSE(mPublic.IsOpened());
    const Texts story = TakeStory();
    EXPECT_EQ(Count(story, "UnregisterEventSink"), 0);
    EXPECT_EQ(Count(story, "UnregisterGenInvalidator EventBulk4UpstreamDataBuffer"), 0);
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
    mDevice.mSinks.clear();
}

TEST_F(KoDeviceSerialPortFeatureTest, DestructionClosesAnOpenBulkPortWithAWarning)
{
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialBulk5).IsOK());
    Forget();
    port.reset();
    const Texts story = TakeStory();
    EXPECT_EQ(story.at(0), "[4] SerialPort not closed before deleting. Will close");
    EXPECT_EQ(story.at(1), "IsConnected");
    EXPECT_EQ(Count(story, "UnregisterEventSink"), 1);
    EXPECT_TRUE(mDevice.mSinks.empty());
    OpenPublic(KoDeviceSerialBulk5);
}

TEST_F(KoDeviceSerialPortFeatureTest, ABulkPortOfALostDeviceStaysInUse)
{
    auto port = std::make_unique<KoDeviceSerialPort>();
    ASSERT_TRUE(port->Open(&mDevice, KoDeviceSerialBulk5).IsOK());
    mDevice.mConnected = false;
    port.reset();
    mDevice.mSinks.clear();
    mDevice.mConnected = true;
    ExpectFailure(mPublic.Open(&mDevice, KoDeviceSerialBulk5), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
}

TEST_F(KoDeviceSerialPortFeatureTest, OneObjectGoesFromUartToBulkAndBack)
{
    OpenPublic(KoDeviceSerialUart0);
    EXPECT_TRUE(mPublic.Close().IsOK());
    OpenPublic(KoDeviceSerialBulk0);
    EXPECT_TRUE(mPublic.Close().IsOK());
    mDevice.mRegisters[FUNCTION_CAPS] = {TWO_UARTS_AND_BULK0};
    OpenPublic(KoDeviceSerialBulk0);
    EXPECT_TRUE(mPublic.Close().IsOK());
    OpenPublic(KoDeviceSerialBulk6);
    EXPECT_TRUE(mPublic.Close().IsOK());
    OpenPublic(KoDeviceSerialUart0);
    EXPECT_TRUE(mDevice.mSinks.size() == 1);
}

TEST_F(KoDeviceSerialPortFeatureTest, AllTenPortsOpenSideBySideWithEitherEngineOnBulk0)
{
    for (const std::uint32_t caps : {0x80000002U, TWO_UARTS_AND_BULK0})
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {caps};
        std::deque<KoDeviceSerialPort> ports(10);
        for (int i = 0; i < 10; ++i)
        {
            const auto port = static_cast<KoDeviceSerial>(i);
            EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&mDevice, port)) << i;
            EXPECT_TRUE(ports[static_cast<std::size_t>(i)].Open(&mDevice, port).IsOK()) << i;
        }
        EXPECT_EQ(mDevice.mSinks.size(), 10U);
        for (KoDeviceSerialPort& port : ports)
        {
            EXPECT_TRUE(port.Close().IsOK());
        }
        EXPECT_TRUE(mDevice.mSinks.empty());
    }
}

TEST_F(KoDeviceSerialPortFeatureTest, TellsOfArrivalsAndOfBytesThatTheRingHasLost)
{
    struct : KoDeviceSerialPortArrivalSink
    {
        void OnArrival() override { ++mCount; }
        int mCount = 0;
    } sink;
    OpenPublic(BULK2);
    mPublic.SetArrivalSink(&sink);
    EXPECT_TRUE(mPublic.SetRxBufferSize(4).IsOK());
    mDevice.mGenRegisters[UPSTREAM_BUFFER] = {1, 2, 3, 4, 5};
    mDevice.mIntegers[UPSTREAM_LENGTH] = 5;
    mDevice.Invalidate(UPSTREAM_BUFFER);
    EXPECT_GT(sink.mCount, 0);
    EXPECT_EQ(mPublic.GetBytesDropped(), 2U);
    EXPECT_EQ(mPublic.GetMostBytesReady(), 3U);
}

TEST_F(KoDeviceSerialPortFeatureTest, CancelsAReadThatWaits)
{
    OpenPublic(BULK2);
    mHost.At(40, [this] { mPublic.CancelRead(); });
    std::uint8_t byte = 0;
    std::uint32_t count = 99;
    EXPECT_TRUE(mPublic.Read(&byte, 1, count, 1000).IsOK());
    EXPECT_EQ(count, 0U);
}

} // namespace
