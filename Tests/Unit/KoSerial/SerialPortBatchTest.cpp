#include "TestPort.h"

namespace
{

/// Feeds the same bytes to two ports, as a batch and one by one; expects that they cannot be told apart afterwards.
void CompareBatchWithBytes(std::uint32_t aRingSize, std::uint32_t aStart, std::uint32_t aFill, std::uint32_t aCount,
                           std::uint32_t aStride)
{
    SCOPED_TRACE(::testing::Message() << "ring " << aRingSize << " start " << aStart << " fill " << aFill << " count "
                                      << aCount << " stride " << aStride);
    HostRecorder& host = HostRecorder::Current();
    TestPort batch;
    TestPort single;
    for (TestPort* const port : {&batch, &single})
    {
        port->PrepareRing(aRingSize, aStart);
        port->Push(Bytes(aFill, 0xEE));
    }
    // Nothing lies after the last word, so that a read beyond the batch shows.
    Bytes bytes(aCount * aStride);
    for (std::size_t i = 0; i < bytes.size(); ++i)
    {
        bytes[i] = static_cast<std::uint8_t>(i + 1);
    }
    host.mLog.clear();
    batch.mMutex.Wait();
    batch.PushBatchToRxBuffer(bytes.data(), aCount, aStride);
    batch.mMutex.Release();
    const Texts batchTexts = host.GetTexts();
    host.mLog.clear();
    for (std::uint32_t i = 0; i < aCount; ++i)
    {
        single.PushToRxBuffer(bytes[i * aStride], true);
    }
    EXPECT_EQ(batchTexts, host.GetTexts());
    EXPECT_EQ(batch.mBytesDropped, single.mBytesDropped);
    EXPECT_EQ(batch.GetMostBytesReady(), single.GetMostBytesReady());
    EXPECT_EQ(batch.mRxHead, single.mRxHead);
    EXPECT_EQ(batch.mRxTail, single.mRxTail);
    EXPECT_EQ(batch.GetRingContent(), single.GetRingContent());
    EXPECT_EQ(batch.ReadAll(), single.ReadAll());
}

class SerialPortBatchTest : public BareHostTest
{
protected:
    TestPort mPort;
};

TEST_F(SerialPortBatchTest, HasTheEffectOfItsBytesOneByOneAlsoWhereWholeBlocksOfWordsAreCopied)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    for (const std::uint32_t start : {0U, 1U, 17U, 60U, 89U})
    {
        for (std::uint32_t count = 0; count <= 140 && !HasFailure(); ++count)
        {
            CompareBatchWithBytes(90, start, 5, count, 4);
        }
    }
}

TEST_F(SerialPortBatchTest, HasTheEffectOfItsBytesOneByOne)
{
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        for (const std::uint32_t size : {1U, 2U, 3U, 5U, 8U})
        {
            for (std::uint32_t start = 0; start < size; ++start)
            {
                for (std::uint32_t fill = 0; fill < size; ++fill)
                {
                    for (std::uint32_t count = 0; count <= 3 * size + 1 && !HasFailure(); ++count)
                    {
                        CompareBatchWithBytes(size, start, fill, count, 1);
                        CompareBatchWithBytes(size, start, fill, count, 4);
                    }
                }
            }
        }
    }
}

TEST_F(SerialPortBatchTest, WakesAWaitingReaderUnlessItIsEmpty)
{
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        mPort.mRxEvent.Reset();
        const std::uint8_t bytes[] = {1, 2};
        mPort.PushBatchToRxBuffer(bytes, 2, 1);
        EXPECT_NE(mPort.mRxEvent.Wait_ms(0).GetCode(), KoResult::OK);
        mPort.mReaderWaiting = true;
        mPort.PushBatchToRxBuffer(bytes, 0, 1);
        EXPECT_NE(mPort.mRxEvent.Wait_ms(0).GetCode(), KoResult::OK);
        mPort.PushBatchToRxBuffer(bytes, 2, 1);
        EXPECT_EQ(mPort.mRxEvent.Wait_ms(0).GetCode(), KoResult::OK);
        mPort.mReaderWaiting = false;
    }
}

} // namespace
