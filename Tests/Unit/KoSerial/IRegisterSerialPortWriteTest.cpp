#include "FeaturePortTest.h"
#include "RecordingSink.h"

#include <limits>

namespace
{

/// Transfers of the bulk and I2C frame.
class IRegisterSerialPortWriteTest : public FeaturePortTest
{
protected:
    IRegisterSerialPortWriteTest()
    {
        Open();
        mDevice.mGigEVision = false;
    }

    void SetRegisterLength(std::int64_t aLength) { mDevice.mGenRegisterLengths[DOWNSTREAM] = aLength; }
};

TEST_F(IRegisterSerialPortWriteTest, WriteFailsWithoutADeviceAndTouchesNothing)
{
    mPort.Close();
    Forget();
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "WriteAndRead", "Device pointer is NULL.");
    EXPECT_EQ(TakeStory(), Texts{"[3 23] Device pointer is NULL."});
    EXPECT_EQ(mWritten, 99U);
    TestFeaturePort never(false);
    ExpectFailure(never.Write(nullptr, 0, mWritten), KoResult::NOT_CONNECTED, "WriteAndRead",
                  "Device pointer is NULL.");
    EXPECT_EQ(mWritten, 99U);
}

TEST_F(IRegisterSerialPortWriteTest, WriteFailsOnADisconnectedDeviceAndTouchesNothing)
{
    EXPECT_TRUE(Write({1, 2}).IsOK());
    mDevice.mConnected = false;
    Forget();
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "WriteAndRead", "The device is not currently connected.");
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[3 23] The device is not currently connected."}));
    EXPECT_EQ(mWritten, 99U);
    mPort.ExpectProgress(2, 2);
}

TEST_F(IRegisterSerialPortWriteTest, WriteAsksForTheRegisterOnceAndPacesItsFrames)
{
    EXPECT_TRUE(Write(CountUp(25)).IsOK());
    EXPECT_EQ(
        TakeStory(),
        (Texts{"IsConnected", "[6] IRegisterSerialPort::Write sending 25 bytes of data",
               "GetGenRegisterLength Bulk2DownstreamData", "[7] Transmitting 24 bytes (0 bytes sent)", "IsGigEVision",
               "SetGenRegisterData Bulk2DownstreamData 00 00 00 00 18 00 00 00 01 02 03 04 05 06 07 08 09 0A 0B "
               "0C 0D 0E 0F 10 11 12 13 14 15 16 17 18",
               "WaitForIdle 1000", "[7] Transmitting 1 bytes (24 bytes sent)", "IsGigEVision",
               "SetGenRegisterData Bulk2DownstreamData 00 00 00 00 01 00 00 00 19 02 03 04", "WaitForIdle 1000"}));
    EXPECT_EQ(mWritten, 25U);
}

TEST_F(IRegisterSerialPortWriteTest, WriteTracesNoFrameWhenTracingIsOffButIsLoggedAtAnyLevel)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_CRITICAL;
    EXPECT_TRUE(Write(CountUp(40)).IsOK());
    EXPECT_EQ(mHost.GetTexts(), Texts{"IRegisterSerialPort::Write sending 40 bytes of data"});
}

TEST_F(IRegisterSerialPortWriteTest, AWriteOf40BytesThrough32BytesTakesFramesOf24And16AndOneEcho)
{
    const RecordingSink sink;
    const Bytes bytes = CountUp(40);
    mHost.mTaken.clear();
    EXPECT_TRUE(Write(bytes).IsOK());
    EXPECT_EQ(mWritten, 40U);
    EXPECT_EQ(TakeFrames(), (Texts{"00 00 00 00 18 00 00 00 " + HexText(bytes.data(), 24),
                                   "00 00 00 00 10 00 00 00 " + HexText(bytes.data() + 24, 16)}));
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 4 [" + HexText(bytes.data(), 40) + "] 1000"});
    EXPECT_EQ(mHost.mTaken.size(), 1U) << "only the list of sinks is locked";
    mPort.ExpectProgress(40, 40);
}

TEST_F(IRegisterSerialPortWriteTest, TheHeaderIsLittleEndianOnADeviceThatIsNoGigEVisionDevice)
{
    EXPECT_TRUE(Write(Bytes(24, 0xEE)).IsOK());
    TakeFrames();
    EXPECT_TRUE(Write({1, 2, 3, 4, 5}).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 05 00 00 00 01 02 03 04 05 EE EE EE"}) << "the padding keeps old bytes";
}

TEST_F(IRegisterSerialPortWriteTest, TheHeaderIsBigEndianOnAGigEVisionDevice)
{
    mDevice.mGigEVision = true;
    mPort.mTxOptionBit9 = true;
    mPort.mTxOptionBit10 = true;
    EXPECT_TRUE(Write(Bytes(24, 0xEE)).IsOK());
    TakeFrames();
    EXPECT_TRUE(Write({1, 2, 3, 4, 5}).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"C0 00 00 00 00 00 00 05 01 02 03 04 05 EE EE EE"});
}

TEST_F(IRegisterSerialPortWriteTest, EachOptionFlagHasItsBitInTheControlWordOfEveryFrame)
{
    const std::string digits = "0123456789ABCDEF";
    for (std::uint32_t flags = 0; flags < 16; ++flags)
    {
        mPort.mTxOptionBit9 = (flags & 8) != 0;
        mPort.mTxOptionBit10 = (flags & 4) != 0;
        mPort.mTxOptionBit11 = (flags & 2) != 0;
        mPort.mTxOptionBit12 = (flags & 1) != 0;
        for (const bool bigEndian : {true, false})
        {
            mDevice.mGigEVision = bigEndian;
            EXPECT_TRUE(Write(CountUp(28)).IsOK());
            const Texts frames = TakeFrames();
            ASSERT_EQ(frames.size(), 2U);
            const std::string high = digits.substr(flags, 1) + "0";
            for (const std::string& frame : frames)
            {
                EXPECT_EQ(frame.substr(0, 11), bigEndian ? high + " 00 00 00" : "00 00 00 " + high);
            }
        }
    }
}

TEST_F(IRegisterSerialPortWriteTest, TheLengthWordHoldsLengthsBeyondAByteInBothOrders)
{
    SetRegisterLength(1000);
    EXPECT_TRUE(Write(CountUp(0x123)).IsOK());
    EXPECT_EQ(TakeFrames().at(0).substr(0, 29), "00 00 00 00 23 01 00 00 01 02");
    mDevice.mGigEVision = true;
    EXPECT_TRUE(Write(CountUp(0x123)).IsOK());
    EXPECT_EQ(TakeFrames().at(0).substr(0, 29), "00 00 00 00 00 00 01 23 01 02");
}

TEST_F(IRegisterSerialPortWriteTest, TheByteOrderIsThatOfTheDeviceForEachFrame)
{
    mDevice.FailCall("IsGigEVision", 2);
    mDevice.mGigEVision = true;
    EXPECT_TRUE(Write(CountUp(40)).IsOK());
    const Texts frames = TakeFrames();
    EXPECT_EQ(frames.at(0).substr(0, 23), "00 00 00 00 00 00 00 18");
    EXPECT_EQ(frames.at(1).substr(0, 23), "00 00 00 00 10 00 00 00");
}

TEST_F(IRegisterSerialPortWriteTest, AFrameIsPaddedToWholeWordsWithWhatTheBufferHeld)
{
    EXPECT_TRUE(Write(Bytes(24, 0xEE)).IsOK());
    TakeFrames();
    for (std::uint8_t count = 8; count > 0; --count)
    {
        EXPECT_TRUE(Write(Bytes(count, count)).IsOK());
        Bytes frame = {0, 0, 0, 0, count, 0, 0, 0};
        frame.insert(frame.end(), count, count);
        const std::size_t length = count > 4 ? 16 : 12;
        for (std::size_t i = frame.size(); i < length; ++i)
        {
            frame.push_back(static_cast<std::uint8_t>(i - 7));
        }
        EXPECT_EQ(TakeFrames(), Texts{HexText(frame.data(), frame.size())});
    }
}

TEST_F(IRegisterSerialPortWriteTest, ARegisterThatIsNoWholeNumberOfWordsIsExceededByThePadding)
{
    SetRegisterLength(30);
    EXPECT_TRUE(Write(CountUp(23)).IsOK());
    EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{32, 12}));
    for (std::int64_t length = 9; length <= 16; ++length)
    {
        SetRegisterLength(length);
        mPort.FreeDownstreamBuffer();
        EXPECT_TRUE(Write(CountUp(static_cast<std::size_t>(length - 8))).IsOK());
        EXPECT_EQ(TakeFrameLengths(), std::vector<std::size_t>{length <= 12 ? 12U : 16U}) << length;
    }
    SetRegisterLength(16383);
    EXPECT_TRUE(Write(CountUp(16376)).IsOK());
    EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{16384, 12}));
}

TEST_F(IRegisterSerialPortWriteTest, ARegisterNotLongerThanTheHeaderIsTooSmall)
{
    const RecordingSink sink;
    for (const std::int64_t length : {std::int64_t{8}, std::int64_t{7}, std::int64_t{0}, std::int64_t{-5}})
    {
        for (const std::size_t count : {5U, 0U})
        {
            SetRegisterLength(length);
            Forget();
            ExpectBareFailure(Write(CountUp(count)), KoResult::BUFFER_TOO_SMALL);
            EXPECT_EQ(TakeStory(),
                      (Texts{"IsConnected",
                             "[6] IRegisterSerialPort::Write sending " + std::to_string(count) + " bytes of data",
                             "GetGenRegisterLength Bulk2DownstreamData",
                             "[3] IRegisterSerialPort::Write length allowed " + std::to_string(length) +
                                 " is less than or equal to 8 header bytes!"}));
            EXPECT_EQ(mWritten, 0U);
        }
    }
    EXPECT_EQ(mPort.mDownstreamBuffer, nullptr);
    EXPECT_EQ(sink.mCalls, Texts{});
}

TEST_F(IRegisterSerialPortWriteTest, ALengthFarBelowZeroIsTooSmallAsWell)
{
    EXPECT_TRUE(Write({1, 2}).IsOK());
    TakeFrames();
    for (const std::int64_t length : {-TWO_TO_32 + 100, std::numeric_limits<std::int64_t>::min()})
    {
        SetRegisterLength(length);
        ExpectBareFailure(Write(CountUp(5)), KoResult::BUFFER_TOO_SMALL);
        EXPECT_EQ(TakeFrames(), Texts{});
        EXPECT_EQ(mWritten, 0U);
        mPort.ExpectProgress(0, 5);
    }
    EXPECT_EQ(mPort.mBytesSent, 2U);
}

TEST_F(IRegisterSerialPortWriteTest, AFrameNeverExceeds16384Bytes)
{
    for (const std::int64_t length : {std::int64_t{16384}, std::int64_t{16385}, std::int64_t{100000}, TWO_TO_32 - 1,
                                      TWO_TO_32, TWO_TO_32 + 32, std::numeric_limits<std::int64_t>::max()})
    {
        mPort.FreeDownstreamBuffer();
        SetRegisterLength(length);
        const Bytes bytes = CountUp(20000);
        mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
        StartCountingAllocations();
        EXPECT_TRUE(Write(bytes).IsOK());
        EXPECT_LT(StopCountingAllocations().mLargest, 100000U) << "the texts of the calls are the longest";
        EXPECT_EQ(mWritten, 20000U);
        EXPECT_EQ(mPort.mDownstreamBufferSize, 16384U);
        EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{16384, 3632})) << length;
    }
}

TEST_F(IRegisterSerialPortWriteTest, AFrameIsLimitedByTheRegisterAsItIsNow)
{
    SetRegisterLength(64);
    EXPECT_TRUE(Write(CountUp(60)).IsOK());
    EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{64, 12}));
    const std::uint8_t* const buffer = mPort.mDownstreamBuffer.get();

    SetRegisterLength(20);
    EXPECT_TRUE(Write(CountUp(25)).IsOK());
    EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{20, 20, 12}));
    EXPECT_EQ(mPort.mDownstreamBuffer.get(), buffer);
    EXPECT_EQ(mPort.mDownstreamBufferSize, 64U);

    SetRegisterLength(68);
    EXPECT_TRUE(Write(CountUp(60)).IsOK());
    EXPECT_EQ(TakeFrameLengths(), std::vector<std::size_t>{68});
    EXPECT_EQ(mPort.mDownstreamBufferSize, 68U);
}

TEST_F(IRegisterSerialPortWriteTest, AnUnreadableRegisterLengthIsTheFailureOfTheDevice)
{
    const RecordingSink sink;
    mDevice.mRefusal = FailureOfDevice();
    mDevice.FailCall("GetGenRegisterLength");
    ExpectFailureOfDevice(Write({1, 2}));
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[6] IRegisterSerialPort::Write sending 2 bytes of data",
                                  "GetGenRegisterLength Bulk2DownstreamData",
                                  "[3] IRegisterSerialPort::Write Downstream get register failed"}));
    EXPECT_EQ(mWritten, 0U);
    mPort.ExpectProgress(0, 2);
    EXPECT_EQ(sink.mCalls, Texts{});
    EXPECT_EQ(mPort.mDownstreamBuffer, nullptr);
}

TEST_F(IRegisterSerialPortWriteTest, AFailedFrameKeepsTheEarlierOnesAndEchoesNothing)
{
    const RecordingSink sink;
    mDevice.mRefusal = FailureOfDevice();
    for (std::uint32_t failing = 1; failing <= 3; ++failing)
    {
        Forget();
        mDevice.FailCall("SetGenRegisterData", failing);
        ExpectFailureOfDevice(Write(CountUp(60)));
        EXPECT_EQ(mWritten, 24 * (failing - 1));
        mPort.ExpectProgress(24 * (failing - 1), 60);
        const Texts story = TakeStory();
        EXPECT_EQ(std::count(story.begin(), story.end(), "WaitForIdle 1000"), failing - 1);
        EXPECT_EQ(story.back().substr(0, 19), "SetGenRegisterData ");
        EXPECT_EQ(TakeFrames().size(), failing);
    }
    EXPECT_EQ(sink.mCalls, Texts{});
    EXPECT_EQ(mPort.mBytesSent, 0U);
}

TEST_F(IRegisterSerialPortWriteTest, ADeviceThatDoesNotBecomeIdleIsNoFailure)
{
    mDevice.FailEvery("WaitForIdle");
    EXPECT_TRUE(Write(CountUp(40)).IsOK());
    EXPECT_EQ(mWritten, 40U);
    EXPECT_EQ(TakeFrames().size(), 2U);
}

TEST_F(IRegisterSerialPortWriteTest, AWriteOfNothingChecksTheRegisterEchoesAndSucceeds)
{
    EXPECT_TRUE(Write({1, 2, 3}).IsOK());
    const RecordingSink sink;
    Forget();
    mWritten = 99;
    EXPECT_TRUE(mPort.Write(nullptr, 0, mWritten).IsOK());
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[6] IRegisterSerialPort::Write sending 0 bytes of data",
                                  "GetGenRegisterLength Bulk2DownstreamData"}));
    EXPECT_EQ(mWritten, 0U);
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 4 [] 1000"});
    EXPECT_EQ(mPort.mBytesSent, 3U);
    ExpectNoProgress();

    mDevice.mRefusal = FailureOfDevice();
    mDevice.FailCall("GetGenRegisterLength");
    ExpectFailureOfDevice(mPort.Write(nullptr, 0, mWritten));
}

TEST_F(IRegisterSerialPortWriteTest, WriteEchoesThePointerOfTheCallerBeforeItCountsTheBytes)
{
    struct PointerSink : RecordingSink
    {
        void OnTransmitted(const KoString& /*aPortName*/, KoDeviceSerial /*aPort*/, const std::uint8_t* aData,
                           std::uint32_t aLength, std::uint64_t /*aTimestamp*/) override
        {
            mData = aData;
            mLength = aLength;
            mOnCall();
        }

        const std::uint8_t* mData = nullptr;
        std::uint32_t mLength = 0;
    } sink;
    sink.mOnCall = [this] { EXPECT_EQ(mPort.mBytesSent, 0U); };
    const Bytes bytes = CountUp(60);
    EXPECT_TRUE(Write(bytes).IsOK());
    EXPECT_EQ(sink.mData, bytes.data());
    EXPECT_EQ(sink.mLength, 60U);
    EXPECT_EQ(mPort.mBytesSent, 60U);
    sink.mOnCall = [] {};
    EXPECT_TRUE(Write(CountUp(5)).IsOK());
    EXPECT_EQ(mPort.mBytesSent, 65U);
}

TEST_F(IRegisterSerialPortWriteTest, TheProgressGrowsFrameByFrame)
{
    std::vector<std::uint32_t> written;
    mDevice.mOnCall = [&](const std::string& aCall)
    {
        if (aCall == "IsGigEVision" || aCall == "WaitForIdle 1000")
        {
            mPort.ExpectProgress(mWritten, 60);
            written.push_back(mWritten);
        }
    };
    EXPECT_TRUE(Write(CountUp(60)).IsOK());
    EXPECT_EQ(written, (std::vector<std::uint32_t>{0, 0, 24, 24, 48, 48}));
    mPort.ExpectProgress(60, 60);
}

TEST_F(IRegisterSerialPortWriteTest, TheArgumentsForSPIMeanNothingInABulkFrame)
{
    EXPECT_TRUE(mPort.WriteAndRead(CountUp(4).data(), 4, mWritten, 9, true, true).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 04 00 00 00 01 02 03 04"});
    EXPECT_TRUE(mPort.WriteAndRead(nullptr, 0, mWritten, 9, true, true).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{});
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
}

TEST_F(IRegisterSerialPortWriteTest, ABulkFrameWithoutPayloadIsItsHeader)
{
    EXPECT_TRUE(Write({1}).IsOK());
    TakeFrames();
    EXPECT_TRUE(mPort.TransmitBulkOrI2C(nullptr, 0).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 00"});
}

TEST_F(IRegisterSerialPortWriteTest, WriteAllocatesNothingOnceTheBufferHasGrown)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    QuietDevice device;
    TestFeaturePort port(false);
    ASSERT_TRUE(port.Open(&device, BULK2).IsOK());
    const Bytes bytes = CountUp(200);
    EXPECT_TRUE(port.Write(bytes.data(), 200, mWritten).IsOK());
    EXPECT_EQ(StopCountingAllocations().mLargest, 32U);
    EXPECT_EQ(device.mFrames, 9);
    mHost.mTaken.reserve(mHost.mTaken.size() + 1);
    EXPECT_TRUE(port.Write(bytes.data(), 200, mWritten).IsOK());
    EXPECT_EQ(StopCountingAllocations().mCount, 0U);
    EXPECT_EQ(device.mFrames, 18);
    EXPECT_TRUE(port.Close().IsOK());
}

} // namespace
