// What an application learns of arriving bytes beside the bytes: how many the ring has lost, how full it has been, and
// that they are there.

#include "TestPort.h"

#include <KoDeviceSerialPortArrivalSink.h>

namespace
{

class ArrivalCounter : public KoDeviceSerialPortArrivalSink
{
public:
    void OnArrival() override
    {
        ++mCount;
        mHeld = HostRecorder::Current().GetHeld();
    }

    int mCount = 0;
    HostRecorder::Locks mHeld;
};

class SerialPortArrivalTest : public BareHostTest
{
protected:
    SerialPortArrivalTest() { mHost.mEnabledLevel = KuUtilsLib::LOG_INFO; }

    void PushBatch(std::uint32_t aCount)
    {
        const Bytes bytes(aCount);
        mPort.mMutex.Wait();
        mPort.PushBatchToRxBuffer(bytes.data(), aCount, 1);
        mPort.mMutex.Release();
    }

    KoResult Read(std::uint32_t aTimeoutMs)
    {
        std::uint8_t buffer[32];
        return mPort.Read(buffer, sizeof(buffer), mBytesRead, aTimeoutMs);
    }

    TestPort mPort;
    std::uint32_t mBytesRead = 99;
};

} // namespace

TEST_F(SerialPortArrivalTest, CountsTheBytesThatAFullRingLoses)
{
    for (const bool asBatch : {true, false})
    {
        for (std::uint32_t size = 1; size <= 5; ++size)
        {
            for (std::uint32_t count = 0; count <= 12; ++count)
            {
                SCOPED_TRACE(::testing::Message() << "ring " << size << " count " << count);
                mPort.ResetStatistics();
                mPort.PrepareRing(size, size - 1);
                PushBatch(size / 2);
                asBatch ? PushBatch(count) : mPort.Push(Bytes(count));
                EXPECT_EQ(mPort.mBytesDropped + mPort.CountReady(), size / 2 + count);
            }
        }
    }
}

TEST_F(SerialPortArrivalTest, DoesNotCountBytesThatAreFlushed)
{
    PushBatch(5);
    mPort.FlushRxBuffer();
    mPort.SetRxBufferSize(3);
    EXPECT_EQ(mPort.mBytesDropped, 0U);
}

TEST_F(SerialPortArrivalTest, RemembersTheMostBytesThatWereReady)
{
    PushBatch(4);
    EXPECT_EQ(mPort.GetMostBytesReady(), 4U);
    PushBatch(3);
    EXPECT_TRUE(Read(0).IsOK());
    EXPECT_EQ(mPort.GetMostBytesReady(), 7U);
    mPort.Push({1, 2});
    EXPECT_EQ(mPort.GetMostBytesReady(), 7U);
    mPort.SetRxBufferSize(10);
    PushBatch(30);
    EXPECT_EQ(mPort.GetMostBytesReady(), 9U);
}

TEST_F(SerialPortArrivalTest, StartsTheCountsAnewWithTheStatisticsAndKeepsThemWhenItCloses)
{
    mPort.SetRxBufferSize(3);
    PushBatch(5);
    mPort.Close();
    EXPECT_EQ(mPort.mBytesDropped, 3U);
    EXPECT_EQ(mPort.GetMostBytesReady(), 2U);
    mPort.ResetStatistics();
    EXPECT_EQ(mPort.mBytesDropped, 0U);
    EXPECT_EQ(mPort.GetMostBytesReady(), 0U);
}

TEST_F(SerialPortArrivalTest, CancelEndsAReadThatWaits)
{
    mHost.At(40, [this] { mPort.CancelRead(); });
    EXPECT_TRUE(Read(1000).IsOK());
    EXPECT_EQ(mBytesRead, 0U);
    EXPECT_EQ(mHost.Now(), 1040U);
    EXPECT_FALSE(mPort.mReaderWaiting);
}

TEST_F(SerialPortArrivalTest, CancelLooksForAReaderWithTheMutexHeld)
{
    mHost.mAfterNextRelease = [this] { mPort.CancelRead(); };
    EXPECT_TRUE(Read(1000).IsOK()) << "the reader has announced itself before it released the mutex";
    mHost.mTaken.clear();
    mPort.CancelRead();
    const HostRecorder::Locks taken = mHost.mTaken;
    EXPECT_EQ(taken, HostRecorder::Locks{&mPort.mMutex});
}

TEST_F(SerialPortArrivalTest, CancelDoesNotOutlastTheCall)
{
    mPort.CancelRead();
    EXPECT_EQ(Read(30).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.Now(), 1030U);
}

TEST_F(SerialPortArrivalTest, TellsItsSinkOfEachBatchWithTheMutexHeld)
{
    ArrivalCounter sink;
    mPort.SetArrivalSink(&sink);
    PushBatch(5);
    EXPECT_EQ(sink.mCount, 1);
    EXPECT_EQ(sink.mHeld, HostRecorder::Locks{&mPort.mMutex});
    mPort.PushToRxBuffer(1, true);
    EXPECT_EQ(sink.mCount, 2);
    PushBatch(0);
    EXPECT_EQ(sink.mCount, 2);
}

TEST_F(SerialPortArrivalTest, TellsASinkNothingAfterAnotherOrNoneHasTakenItsPlace)
{
    ArrivalCounter first;
    ArrivalCounter second;
    mPort.SetArrivalSink(&first);
    mPort.SetArrivalSink(&second);
    PushBatch(1);
    mHost.mTaken.clear();
    mPort.SetArrivalSink(nullptr);
    const HostRecorder::Locks taken = mHost.mTaken;
    PushBatch(1);
    EXPECT_EQ(first.mCount, 0);
    EXPECT_EQ(second.mCount, 1);
    EXPECT_EQ(taken, HostRecorder::Locks{&mPort.mMutex}) << "so that it waits for a call that runs";
}
