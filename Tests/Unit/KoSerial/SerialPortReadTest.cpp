#include "RecordingSink.h"
#include "TestPort.h"

namespace
{

class SerialPortReadTest : public BareHostTest
{
protected:
    SerialPortReadTest() { mPort.Init(&mDevice, KoDeviceSerialUart1, "camera"); }

    KoResult Read(std::uint32_t aSize, std::uint32_t aTimeoutMs)
    {
        mBytesRead = 99;
        return mPort.Read(mBuffer, aSize, mBytesRead, aTimeoutMs);
    }

    Bytes GetBytes() const { return Bytes(mBuffer, mBuffer + mBytesRead); }

    TestPort mPort;
    std::uint8_t mBuffer[32] = {};
    std::uint32_t mBytesRead = 0;
};

TEST_F(SerialPortReadTest, WithoutTimeoutOnAnEmptyRingTimesOutAtOnceAndEchoesNothing)
{
    const RecordingSink sink;
    ExpectBareFailure(Read(8, 0), KoResult::TIMEOUT);
    EXPECT_EQ(mBytesRead, 0U);
    EXPECT_TRUE(mHost.mWaits.empty());
    EXPECT_TRUE(sink.mCalls.empty());
    EXPECT_TRUE(mHost.GetHeld().empty());
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortReadTest, WaitsOnceForTheWholeTimeoutAndEchoesAnEmptyRead)
{
    const RecordingSink sink;
    const std::uint64_t start = mHost.Now();
    ExpectBareFailure(Read(8, 250), KoResult::TIMEOUT);
    EXPECT_EQ(mBytesRead, 0U);
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{250});
    EXPECT_EQ(mHost.Now(), start + 250);
    EXPECT_EQ(sink.mCalls, Texts{"OnRead camera 1 [] 1250"});
    EXPECT_EQ(mHost.mClockReads, 1U) << "only the echo looks at the clock";
    EXPECT_FALSE(mPort.mReaderWaiting);
    EXPECT_EQ(mPort.mBytesReceived, 0U);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortReadTest, HandsOutBufferedBytesWithoutWaitingToFillTheBuffer)
{
    mPort.Push({1, 2, 3});
    EXPECT_TRUE(Read(8, 1000).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3}));
    EXPECT_TRUE(mHost.mWaits.empty());
    EXPECT_EQ(mPort.CountReady(), 0U);
}

TEST_F(SerialPortReadTest, TakesNoMoreThanItsSizeAndLeavesTheRest)
{
    mPort.Push({1, 2, 3, 4, 5});
    EXPECT_TRUE(Read(2, 0).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2}));
    EXPECT_EQ(mBuffer[2], 0);
    EXPECT_TRUE(Read(3, 0).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{3, 4, 5}));
    EXPECT_EQ(mPort.mBytesReceived, 5U);
}

TEST_F(SerialPortReadTest, OfSizeZeroTakesOneByteWhenOneIsReady)
{
    mPort.Push({0x41, 0x42});
    EXPECT_TRUE(Read(0, 0).IsOK());
    EXPECT_EQ(GetBytes(), Bytes{0x41});
    EXPECT_EQ(mPort.CountReady(), 1U);
    EXPECT_EQ(mPort.mBytesReceived, 1U);
}

TEST_F(SerialPortReadTest, OfSizeZeroTimesOutOnAnEmptyRing)
{
    EXPECT_EQ(Read(0, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(Read(0, 10).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mBytesRead, 0U);
}

TEST_F(SerialPortReadTest, KeepsTheOrderOfBytesAcrossTheEndOfTheRing)
{
    for (std::uint32_t start = 0; start < 6; ++start)
    {
        for (std::uint32_t fill = 1; fill < 6; ++fill)
        {
            for (std::uint32_t size = 1; size <= 6; ++size)
            {
                SCOPED_TRACE(::testing::Message() << "start " << start << " fill " << fill << " size " << size);
                mPort.PrepareRing(6, start);
                Bytes bytes;
                for (std::uint32_t i = 0; i < fill; ++i)
                {
                    bytes.push_back(static_cast<std::uint8_t>(0x10 + i));
                }
                mPort.Push(bytes);
                EXPECT_TRUE(Read(size, 0).IsOK());
                const std::uint32_t expected = size < fill ? size : fill;
                bytes.resize(expected);
                EXPECT_EQ(GetBytes(), bytes);
                EXPECT_EQ(mPort.mRxTail, (start + expected) % 6);
                EXPECT_EQ(mPort.CountReady(), fill - expected);
            }
        }
    }
}

TEST_F(SerialPortReadTest, IsWokenByAByteThatArrivesRightAfterItHasReleasedTheLock)
{
    mHost.mAfterNextRelease = [this] { mPort.Push({0x41}); };
    EXPECT_TRUE(Read(8, 1000).IsOK());
    EXPECT_EQ(GetBytes(), Bytes{0x41});
}

TEST_F(SerialPortReadTest, IsWokenByAByteAndReturnsWithAllThatArePresent)
{
    mHost.At(40,
             [this]
             {
                 EXPECT_TRUE(mPort.mReaderWaiting);
                 mPort.Push({1, 2, 3});
             });
    EXPECT_TRUE(Read(8, 1000).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2, 3}));
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{1000});
    EXPECT_EQ(mHost.Now(), 1040U);
    EXPECT_FALSE(mPort.mReaderWaiting);
    EXPECT_EQ(mPort.mBytesReceived, 3U);
}

TEST_F(SerialPortReadTest, ThatIsWokenTakesNoMoreThanItsSize)
{
    mHost.At(1, [this] { mPort.Push({1, 2, 3}); });
    EXPECT_TRUE(Read(2, 1000).IsOK());
    EXPECT_EQ(GetBytes(), (Bytes{1, 2}));
    EXPECT_EQ(mPort.CountReady(), 1U);
}

TEST_F(SerialPortReadTest, IsNotWokenByASignalFromBefore)
{
    mPort.mRxEvent.Set();
    EXPECT_EQ(Read(8, 30).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.Now(), 1030U);
}

TEST_F(SerialPortReadTest, WhoseTimeRanOutLeavesALaterByteForTheNextOne)
{
    mHost.At(31, [this] { mPort.Push({7}); });
    EXPECT_EQ(Read(8, 30).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(Read(8, 30).GetCode(), KoResult::OK);
    EXPECT_EQ(GetBytes(), Bytes{7});
    EXPECT_EQ(mHost.Now(), 1031U);
}

TEST_F(SerialPortReadTest, SucceedsWithNoByteWhenTheRingIsFlushedBetweenWakeUpAndLock)
{
    const RecordingSink sink;
    mHost.At(5,
             [this]
             {
                 mPort.Push({1, 2, 3});
                 mPort.FlushRxBuffer();
             });
    EXPECT_TRUE(Read(8, 100).IsOK());
    EXPECT_EQ(mBytesRead, 0U);
    EXPECT_EQ(mHost.mWaits.size(), 1U);
    EXPECT_EQ(sink.mCalls, Texts{"OnRead camera 1 [] 1005"});
    EXPECT_EQ(mHost.mLog.back().mText, "Read 0 bytes of data");
}

TEST_F(SerialPortReadTest, TakesTheMutexAgainAfterTheWait)
{
    mHost.mTaken.clear();
    mHost.At(5, [this] { mPort.PushToRxBuffer(1, false); });
    EXPECT_TRUE(Read(8, 100).IsOK());
    const HostRecorder::Locks taken = mHost.mTaken;
    EXPECT_EQ(taken, (HostRecorder::Locks{&mPort.mMutex, &mPort.mMutex, GetSinkListMutex()}));
}

TEST_F(SerialPortReadTest, WhoseTimeRanOutNoLongerWaitsWhenItIsEchoedAndLeavesTheMutexAlone)
{
    RecordingSink sink;
    sink.mOnCall = [this] { EXPECT_FALSE(mPort.mReaderWaiting); };
    mHost.mTaken.clear();
    mHost.At(5, [this] { EXPECT_TRUE(mPort.mReaderWaiting); });
    EXPECT_EQ(Read(8, 10).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(sink.mCalls.size(), 1U);
    const HostRecorder::Locks taken = mHost.mTaken;
    EXPECT_EQ(taken, (HostRecorder::Locks{&mPort.mMutex, GetSinkListMutex()}));
}

TEST_F(SerialPortReadTest, TracesTheNumberOfBytesWhileItHoldsTheMutex)
{
    mPort.Push({1, 2, 3});
    mHost.mLog.clear();
    Read(8, 0);
    ASSERT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mHost.mLog[0].mLocks, 1U);
    EXPECT_EQ(mHost.mLog[0].mText, "Read 3 bytes of data");
    EXPECT_EQ(mHost.mLog[0].mLevel, KuUtilsLib::LOG_DEBUG);
}

TEST_F(SerialPortReadTest, TracesNothingWhenTracingIsOff)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    mPort.Push({1, 2, 3});
    Read(8, 0);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortReadTest, EchoesTheBytesBeforeItCountsThem)
{
    RecordingSink sink;
    sink.mOnCall = [this] { EXPECT_EQ(mPort.mBytesReceived, 0U); };
    mPort.Push({0x41, 0x42});
    Read(8, 0);
    EXPECT_EQ(sink.mCalls, Texts{"OnRead camera 1 [41 42] 1000"});
    EXPECT_EQ(mPort.mBytesReceived, 2U);
    EXPECT_EQ(mPort.mBytesSent, 0U);
}

TEST_F(SerialPortReadTest, EchoesWithTheSinkListLockedAndThePortUnlocked)
{
    const RecordingSink sink;
    mPort.Push({1});
    Read(8, 0);
    Read(8, 10);
    const HostRecorder::Locks onlyTheSinkList{GetSinkListMutex()};
    EXPECT_EQ(sink.mHeld, (std::vector<HostRecorder::Locks>{onlyTheSinkList, onlyTheSinkList}));
}

} // namespace
