#include "FeaturePortTest.h"
#include "RecordingSink.h"

#include <limits>

namespace
{

/// Transfers of the SPI frame.
class IRegisterSerialPortSpiTest : public FeaturePortTest
{
protected:
    IRegisterSerialPortSpiTest() : FeaturePortTest(true) { Open(); }

    KoResult Transfer(const Bytes& aBytes, std::uint32_t aReadLength, bool aSimultaneous = false, bool aControl = false)
    {
        mWritten = 99;
        const auto count = static_cast<std::uint32_t>(aBytes.size());
        return mPort.WriteAndRead(aBytes.data(), count, mWritten, aReadLength, aSimultaneous, aControl);
    }

    void SetRegisterLength(std::int64_t aLength) { mDevice.mGenRegisterLengths[DOWNSTREAM] = aLength; }

    static std::string Hex(const Bytes& aBytes) { return HexText(aBytes.data(), aBytes.size()); }
};

TEST_F(IRegisterSerialPortSpiTest, AFrameTellsTheCountsToWriteAndToRead)
{
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 07 03 02 00 00 41 42 43 00"});
    EXPECT_EQ(mWritten, 3U);
    mDevice.mGigEVision = false;
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 07 00 00 00 03 02 00 00 41 42 43 00"});
}

TEST_F(IRegisterSerialPortSpiTest, ASimultaneousFrameTellsOneCount)
{
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 3, true).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 07 00 00 03 00 41 42 43 00"});
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
}

TEST_F(IRegisterSerialPortSpiTest, TheControlByteIsOneOrZeroInBothModes)
{
    EXPECT_TRUE(Transfer({0x41}, 2, false, true).IsOK());
    EXPECT_TRUE(Transfer({0x41}, 1, true, true).IsOK());
    EXPECT_EQ(TakeFrames(), (Texts{"00 00 00 00 00 00 00 05 01 02 00 01 41 00 00 00",
                                   "00 00 00 00 00 00 00 05 00 00 01 01 41 00 00 00"}));
}

TEST_F(IRegisterSerialPortSpiTest, ATransferOfNothingAsksForBytesWithTheHeaderAlone)
{
    const RecordingSink sink;
    mWritten = 99;
    EXPECT_TRUE(mPort.WriteAndRead(nullptr, 0, mWritten, 4, false, false).IsOK());
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[6] IRegisterSerialPort::Write sending 0 bytes of data",
                                  "GetGenRegisterLength Bulk2DownstreamData", "IsGigEVision",
                                  "SetGenRegisterData Bulk2DownstreamData 00 00 00 00 00 00 00 04 00 04 00 00",
                                  "WaitForIdle 1000"}));
    EXPECT_EQ(mWritten, 0U);
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 4 [] 1000"});
    EXPECT_EQ(mPort.mBytesSent, 0U);
    ExpectNoProgress();
}

TEST_F(IRegisterSerialPortSpiTest, ATransferOfNothingPassesAllItsArgumentsOn)
{
    EXPECT_TRUE(mPort.WriteAndRead(nullptr, 0, mWritten, 0, true, true).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 04 00 00 00 01"});
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
    EXPECT_TRUE(mPort.WriteAndRead(nullptr, 0, mWritten, 4, true, false).IsOK());
    EXPECT_EQ(TakeFrames(), Texts{"00 00 00 00 00 00 00 04 00 00 00 00"});
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"Simultaneous readwrite but read 4 != write 0"});
}

TEST_F(IRegisterSerialPortSpiTest, ATransferOfNothingFailsAsTheDeviceDoes)
{
    const RecordingSink sink;
    mDevice.mRefusal = FailureOfDevice();
    mDevice.FailCall("SetGenRegisterData");
    ExpectFailureOfDevice(mPort.WriteAndRead(nullptr, 0, mWritten, 4, false, false));
    EXPECT_EQ(mWritten, 0U);
    EXPECT_EQ(sink.mCalls, Texts{});
    const Texts story = TakeStory();
    EXPECT_EQ(std::count(story.begin(), story.end(), "WaitForIdle 1000"), 0);
}

TEST_F(IRegisterSerialPortSpiTest, ASimultaneousFrameWithTwoCountsIsSentWithAWarning)
{
    EXPECT_TRUE(Transfer({0x41, 0x42, 0x43}, 2, true).IsOK());
    EXPECT_EQ(TakeStory(),
              (Texts{"IsConnected", "[6] IRegisterSerialPort::Write sending 3 bytes of data",
                     "GetGenRegisterLength Bulk2DownstreamData", "[7] Transmitting 3 bytes (0 bytes sent)",
                     "IsGigEVision", "[4] Simultaneous readwrite but read 2 != write 3",
                     "SetGenRegisterData Bulk2DownstreamData 00 00 00 00 00 00 00 07 00 00 03 00 41 42 43 00",
                     "WaitForIdle 1000"}));
    EXPECT_EQ(mWritten, 3U);
}

TEST_F(IRegisterSerialPortSpiTest, TheCountsKeepTheirLowByteOnly)
{
    SetRegisterLength(1000);
    EXPECT_TRUE(Transfer(CountUp(300), 0x1FE).IsOK());
    EXPECT_EQ(TakeFrames().at(0).substr(0, 41), "00 00 00 00 00 00 01 30 2C FE 00 00 01 02");
    EXPECT_TRUE(Transfer(CountUp(300), 44, true).IsOK());
    EXPECT_EQ(TakeFrames().at(0).substr(0, 41), "00 00 00 00 00 00 01 30 00 00 2C 00 01 02");
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"Simultaneous readwrite but read 44 != write 300"});
    mDevice.mGigEVision = false;
    EXPECT_TRUE(Transfer(CountUp(300), 0x100).IsOK());
    EXPECT_EQ(TakeFrames().at(0).substr(0, 41), "00 00 00 00 30 01 00 00 2C 00 00 00 01 02");
}

TEST_F(IRegisterSerialPortSpiTest, ThePaddingIsCleared)
{
    for (std::uint8_t count = 1; count <= 8; ++count)
    {
        EXPECT_TRUE(Transfer(Bytes(20, 0xEE), 0).IsOK());
        TakeFrames();
        EXPECT_TRUE(Transfer(Bytes(count, 0xDD), 0).IsOK());
        Bytes frame = {0, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(count + 4), count, 0, 0, 0};
        frame.insert(frame.end(), count, 0xDD);
        frame.resize(count <= 4 ? 16 : 20);
        EXPECT_EQ(TakeFrames(), Texts{Hex(frame)});
    }
}

TEST_F(IRegisterSerialPortSpiTest, EveryFrameOfALongTransferCarriesTheSameArguments)
{
    const RecordingSink sink;
    const Bytes bytes = CountUp(45);
    EXPECT_TRUE(Transfer(bytes, 20, false, true).IsOK());
    EXPECT_EQ(TakeFrames(), (Texts{"00 00 00 00 00 00 00 18 14 14 00 01 " + HexText(&bytes[0], 20),
                                   "00 00 00 00 00 00 00 18 14 14 00 01 " + HexText(&bytes[20], 20),
                                   "00 00 00 00 00 00 00 09 05 14 00 01 " + HexText(&bytes[40], 5) + " 00 00 00"}));
    EXPECT_EQ(sink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 4 [" + Hex(bytes) + "] 1000"});
    EXPECT_EQ(mWritten, 45U);
    EXPECT_EQ(mPort.mBytesSent, 45U);
    mPort.ExpectProgress(45, 45);

    EXPECT_TRUE(Transfer(CountUp(25), 20, true).IsOK());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_WARNING), Texts{"Simultaneous readwrite but read 20 != write 5"});
}

TEST_F(IRegisterSerialPortSpiTest, WriteReadsNothing)
{
    EXPECT_TRUE(Write({0x41, 0x42}).IsOK());
    EXPECT_TRUE(mPort.Write(nullptr, 0, mWritten).IsOK());
    EXPECT_EQ(TakeFrames(),
              (Texts{"00 00 00 00 00 00 00 06 02 00 00 00 41 42 00 00", "00 00 00 00 00 00 00 04 00 00 00 00"}));
}

TEST_F(IRegisterSerialPortSpiTest, TheOptionFlagsMeanNothing)
{
    mPort.mTxOptionBit9 = true;
    mPort.mTxOptionBit10 = true;
    mPort.mTxOptionBit11 = true;
    mPort.mTxOptionBit12 = true;
    EXPECT_TRUE(Transfer({}, 1).IsOK());
    mDevice.mGigEVision = false;
    EXPECT_TRUE(Transfer({}, 1).IsOK());
    EXPECT_EQ(TakeFrames(), (Texts{"00 00 00 00 00 00 00 04 00 01 00 00", "00 00 00 00 04 00 00 00 00 01 00 00"}));
}

TEST_F(IRegisterSerialPortSpiTest, ARegisterNotLongerThanTheHeaderIsTooSmall)
{
    for (const std::int64_t length : {std::int64_t{12}, std::int64_t{9}, std::int64_t{0}, std::int64_t{-5}})
    {
        for (const std::size_t count : {5U, 0U})
        {
            SetRegisterLength(length);
            Forget();
            ExpectBareFailure(Transfer(CountUp(count), 4), KoResult::BUFFER_TOO_SMALL);
            EXPECT_EQ(TakeStory().back(), "[3] IRegisterSerialPort::Write length allowed " + std::to_string(length) +
                                              " is less than or equal to 12 header bytes!");
            EXPECT_EQ(mWritten, 0U);
        }
    }
    SetRegisterLength(std::numeric_limits<std::int64_t>::min());
    ExpectBareFailure(Transfer({1}, 4), KoResult::BUFFER_TOO_SMALL);
    EXPECT_EQ(mPort.mDownstreamBuffer, nullptr);
}

TEST_F(IRegisterSerialPortSpiTest, ARegisterThatIsNoWholeNumberOfWordsIsExceededByThePadding)
{
    for (std::int64_t length = 13; length <= 20; ++length)
    {
        SetRegisterLength(length);
        mPort.FreeDownstreamBuffer();
        EXPECT_TRUE(Transfer(CountUp(static_cast<std::size_t>(length - 12)), 0).IsOK());
        EXPECT_EQ(TakeFrameLengths(), std::vector<std::size_t>{length <= 16 ? 16U : 20U}) << length;
    }
}

TEST_F(IRegisterSerialPortSpiTest, AFrameNeverExceeds16384Bytes)
{
    for (const std::int64_t length :
         {std::int64_t{100000}, (std::int64_t{1} << 32) + 20, std::numeric_limits<std::int64_t>::max()})
    {
        SetRegisterLength(length);
        mPort.FreeDownstreamBuffer();
        EXPECT_TRUE(Transfer(CountUp(16373), 0).IsOK());
        EXPECT_EQ(TakeFrameLengths(), (std::vector<std::size_t>{16384, 16}));
        EXPECT_EQ(mPort.mDownstreamBufferSize, 16384U);
    }
}

TEST_F(IRegisterSerialPortSpiTest, AFailedFrameKeepsTheEarlierOnesAndEchoesNothing)
{
    const RecordingSink sink;
    mDevice.mRefusal = FailureOfDevice();
    mDevice.FailCall("SetGenRegisterData", 2);
    ExpectFailureOfDevice(Transfer(CountUp(45), 0));
    EXPECT_EQ(mWritten, 20U);
    mPort.ExpectProgress(20, 45);
    const Texts story = TakeStory();
    EXPECT_EQ(std::count(story.begin(), story.end(), "WaitForIdle 1000"), 1);
    EXPECT_EQ(sink.mCalls, Texts{});
    EXPECT_EQ(mPort.mBytesSent, 0U);
}

TEST_F(IRegisterSerialPortSpiTest, ADeviceThatDoesNotBecomeIdleIsNoFailure)
{
    mDevice.FailEvery("WaitForIdle");
    EXPECT_TRUE(Transfer(CountUp(40), 0).IsOK());
    EXPECT_TRUE(Transfer({}, 1).IsOK());
    EXPECT_EQ(TakeFrames().size(), 3U);
}

TEST_F(IRegisterSerialPortSpiTest, ATransferFailsWithoutADeviceAndOnADisconnectedOne)
{
    mDevice.mConnected = false;
    ExpectFailure(Transfer({}, 1), KoResult::NOT_CONNECTED, "WriteAndRead", "The device is not currently connected.");
    EXPECT_EQ(mWritten, 99U);
    mDevice.mConnected = true;
    mPort.Close();
    ExpectFailure(Transfer({}, 1), KoResult::NOT_CONNECTED, "WriteAndRead", "Device pointer is NULL.");
    EXPECT_EQ(mWritten, 99U);
}

TEST_F(IRegisterSerialPortSpiTest, ATransferAllocatesNothingOnceTheBufferHasGrown)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    QuietDevice device;
    TestFeaturePort port(true);
    ASSERT_TRUE(port.Open(&device, BULK2).IsOK());
    const Bytes bytes = CountUp(200);
    EXPECT_TRUE(port.WriteAndRead(bytes.data(), 200, mWritten, 4, false, true).IsOK());
    EXPECT_EQ(StopCountingAllocations().mLargest, 32U);
    mHost.mTaken.reserve(mHost.mTaken.size() + 1);
    EXPECT_TRUE(port.WriteAndRead(bytes.data(), 200, mWritten, 4, false, true).IsOK());
    EXPECT_EQ(StopCountingAllocations().mCount, 0U);
    EXPECT_EQ(device.mFrames, 20);
    EXPECT_TRUE(port.Close().IsOK());
}

} // namespace
