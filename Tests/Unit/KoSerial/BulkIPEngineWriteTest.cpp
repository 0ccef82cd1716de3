#include "BulkTest.h"
#include "RecordingSink.h"

#include <utility>

namespace
{

using Waits = std::vector<std::uint32_t>;

class BulkIPEngineWriteTest : public BulkTest
{
protected:
    /// Writes aSize bytes to a port with that configuration; expects chunks of these sizes.
    void ExpectChunks(std::uint32_t aConfig, std::size_t aSize, const std::vector<std::size_t>& aChunks)
    {
        SCOPED_TRACE(HexText(aConfig) + ' ' + std::to_string(aSize));
        Open(aConfig);
        AnswerChunks();
        mHost.mWaits.clear();
        const Bytes bytes = MakeBytes(aSize);
        EXPECT_TRUE(Write(bytes).IsOK());
        EXPECT_EQ(mWritten, aSize);
        EXPECT_EQ(mDevice.TakeCalls(), MakeCalls(bytes, aChunks));
        EXPECT_EQ(mHost.mWaits.size(), aChunks.size());
        mBulk.ExpectProgress(mWritten, mWritten);
        EXPECT_TRUE(mBulk.Close().IsOK());
    }

    /// Expects that a write that ends in aResult sent aSent of aTotal bytes and told nobody of them.
    void ExpectTimeout(const KoResult& aResult, std::uint32_t aSent, std::uint32_t aTotal)
    {
        ExpectFailure(aResult, KoResult::TIMEOUT, "Write",
                      "Timed out waiting for Tx interrupt after sending " + std::to_string(aSent) + " bytes");
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR).size(), 1U);
        ExpectUnfinished(aSent, aTotal);
    }

    void ExpectUnfinished(std::uint32_t aSent, std::uint32_t aTotal)
    {
        EXPECT_EQ(mWritten, aSent);
        mBulk.ExpectProgress(aSent, aTotal);
        EXPECT_EQ(mBulk.mBytesSent, 0U);
        EXPECT_TRUE(mSink.mCalls.empty());
    }

    RecordingSink mSink;
};

TEST_F(BulkIPEngineWriteTest, WriteFailsWithoutADevice)
{
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "Write", "Device pointer is NULL.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mWritten, 99U);
}

TEST_F(BulkIPEngineWriteTest, WriteFailsOnADisconnectedDeviceAndStartsNothing)
{
    Open();
    mDevice.mConnected = false;
    ExpectFailure(Write({1}), KoResult::NOT_CONNECTED, "Write", "The device is not currently connected.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_EQ(mWritten, 99U);
    EXPECT_EQ(mBulk.GetWriteProgress(mWritten, mWritten).GetCode(), KoResult::STATE_ERROR);
}

TEST_F(BulkIPEngineWriteTest, AWriteThatFitsTheFifoIsOneChunkAndOneWait)
{
    Open();
    AnswerChunks();
    const Bytes bytes = MakeBytes(256);
    EXPECT_TRUE(Write(bytes).IsOK());
    EXPECT_EQ(mWritten, 256U);
    EXPECT_EQ(mDevice.TakeCalls(), MakeCalls(bytes, {256}));
    EXPECT_EQ(mHost.mWaits, Waits{300});
    EXPECT_EQ(mHost.Now(), 1003U);
    mBulk.ExpectProgress(256, 256);
}

TEST_F(BulkIPEngineWriteTest, OneByteMoreThanTheFifoHoldsIsAChunkOfItsOwn)
{
    ExpectChunks(UART_115200, 257, {256, 1});
    ExpectChunks(I2C, 254, {254});
    ExpectChunks(I2C, 255, {254, 1});
}

TEST_F(BulkIPEngineWriteTest, LaterChunksFillTheSpaceThatTheReserveLeaves)
{
    ExpectChunks(UART_115200, 1, {1});
    ExpectChunks(UART_115200, 256 + 252, {256, 252});
    ExpectChunks(UART_115200, 1000, {256, 252, 252, 240});
    ExpectChunks(USRT | Reserve(1), 1000, {256, 251, 251, 242});
    ExpectChunks(UART_115200 | Reserve(124), 600, {256, 128, 128, 88});
    ExpectChunks(UART_115200 | Reserve(251), 259, {256, 1, 1, 1});
    ExpectChunks(I2C, 1000, {254, 251, 251, 244});
    ExpectChunks(I2C | Reserve(124), 600, {254, 127, 127, 92});
    ExpectChunks(I2C | Reserve(250), 257, {254, 1, 1, 1});
    ExpectChunks(0x5000, 1000, {256, 252, 252, 240});
}

TEST_F(BulkIPEngineWriteTest, AReserveThatWrapsSendsTheWholeRestAtOnce)
{
    ExpectChunks(UART_115200 | Reserve(253), 3000, {256, 2744});
    ExpectChunks(USRT | Reserve(255), 3000, {256, 2744});
    ExpectChunks(I2C | Reserve(252), 3000, {254, 2746});
    ExpectChunks(I2C | Reserve(255), 3000, {254, 2746});
}

TEST_F(BulkIPEngineWriteTest, AReserveThatLeavesNoRoomEndsInATimeoutAfterTheFirstChunk)
{
    for (const auto& [config, first] :
         {std::pair{UART_115200 | Reserve(252), 256U}, std::pair{I2C | Reserve(251), 254U}})
    {
        Open(config);
        mChunks = 0;
        mOnChunk = [this](std::size_t aIndex)
        {
            if (aIndex == 0)
            {
                InterruptIn(3, TX_PARTIAL);
            }
        };
        mHost.mWaits.clear();
        const Bytes bytes = MakeBytes(300);
        ExpectTimeout(Write(bytes), first, 300);
        EXPECT_EQ(mDevice.TakeCalls(), MakeCalls(bytes, {first, 0}));
        EXPECT_EQ(mHost.mWaits, (Waits{300, 300}));
        EXPECT_TRUE(mBulk.Close().IsOK());
    }
}

TEST_F(BulkIPEngineWriteTest, WriteLogsTheTransferAndTracesEachChunk)
{
    Open();
    AnswerChunks(TX_PARTIAL | TX_EMPTY);
    Write(MakeBytes(300));
    EXPECT_EQ(mHost.GetTexts(),
              (Texts{"Sending 300 bytes of data over bulk port", "Transmitting 256 byte chunk (0 bytes already sent)",
                     "Tx fifo empty interrupt", "Tx fifo partial empty interrupt",
                     "Transmitting 44 byte chunk (256 bytes already sent)", "Tx fifo empty interrupt",
                     "Tx fifo partial empty interrupt"}));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_INFO), Texts{"Sending 300 bytes of data over bulk port"});
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG).size(), 6U);
}

TEST_F(BulkIPEngineWriteTest, WriteTracesNoChunkWhenTracingIsOffButIsLoggedAtAnyLevel)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_CRITICAL;
    Open();
    AnswerChunks();
    EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
    EXPECT_EQ(mHost.GetTexts(), Texts{"Sending 300 bytes of data over bulk port"});
}

TEST_F(BulkIPEngineWriteTest, WriteOfNothingTouchesNeitherDeviceNorEventsAndEchoesZeroBytes)
{
    Open();
    mHost.mEventResets.clear();
    mWritten = 99;
    EXPECT_TRUE(mBulk.Write(nullptr, 0, mWritten).IsOK());
    EXPECT_EQ(mWritten, 0U);
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_EQ(mHost.mWaits, Waits{0});
    EXPECT_TRUE(mHost.mEventResets.empty());
    EXPECT_EQ(mHost.GetTexts(), Texts{"Sending 0 bytes of data over bulk port"});
    EXPECT_EQ(mSink.mCalls, Texts{"OnTransmitted " + mDevice.mIdentity + " 2 [] 1000"});
    EXPECT_EQ(mBulk.GetWriteProgress(mWritten, mWritten).GetCode(), KoResult::STATE_ERROR);
}

TEST_F(BulkIPEngineWriteTest, WriteOfNothingFailsWhenTheWaitHasNothingToSay)
{
    Open();
    mHost.mResultsCarryCodeString = false;
    mBulk.mTxFifoEmptyEvent.Set();
    ExpectFailure(Write({}), KoResult::TIMEOUT, "Write", "Timed out waiting for Tx interrupt after sending 0 bytes");
    EXPECT_EQ(mHost.mWaits, Waits{0});
    EXPECT_TRUE(mSink.mCalls.empty());
}

TEST_F(BulkIPEngineWriteTest, WriteEchoesTheBytesBeforeItCountsThem)
{
    Open();
    AnswerChunks();
    mSink.mOnCall = [this] { EXPECT_EQ(mBulk.mBytesSent, 0U); };
    const Bytes bytes = MakeBytes(300);
    Write(bytes);
    EXPECT_EQ(mSink.mCalls,
              Texts{"OnTransmitted " + mDevice.mIdentity + " 2 [" + HexText(bytes.data(), 300) + "] 1006"});
    EXPECT_EQ(mSink.mHeld, std::vector<HostRecorder::Locks>{{GetSinkListMutex()}});
    EXPECT_EQ(mBulk.mBytesSent, 300U);
    mSink.mOnCall = nullptr;
    Write({0x43});
    EXPECT_EQ(mBulk.mBytesSent, 301U);
    EXPECT_EQ(mBulk.mBytesReceived, 0U);
}

TEST_F(BulkIPEngineWriteTest, WriteProgressAdvancesWithEachChunkThatTheDeviceTook)
{
    Open(UART_115200 | Reserve(124));
    const std::vector<std::uint32_t> sent = {0, 256, 384, 500};
    mOnChunk = [&](std::size_t aIndex)
    {
        mBulk.ExpectProgress(sent[aIndex], 500);
        EXPECT_EQ(mWritten, sent[aIndex]);
        mHost.At(1,
                 [&, aIndex]
                 {
                     mBulk.ExpectProgress(sent[aIndex + 1], 500);
                     EXPECT_EQ(mWritten, sent[aIndex + 1]);
                     mDevice.SendWords(SERIAL_INTERRUPT, {TX_EMPTY});
                 });
    };
    EXPECT_TRUE(Write(MakeBytes(500)).IsOK());
    EXPECT_EQ(mChunks, 3U);
    mOnChunk = nullptr;
}

TEST_F(BulkIPEngineWriteTest, ANewWriteStartsItsProgressAnew)
{
    Open();
    AnswerChunks();
    Write(MakeBytes(300));
    mOnChunk = [this](std::size_t) { mBulk.ExpectProgress(0, 5); };
    EXPECT_TRUE(Write(MakeBytes(5)).IsOK());
    mBulk.ExpectProgress(5, 5);
}

TEST_F(BulkIPEngineWriteTest, BothEventsAreResetBeforeEachChunk)
{
    Open();
    mHost.mEventResets.clear();
    mOnChunk = [this](std::size_t aIndex)
    {
        HostRecorder::Events expected;
        for (std::size_t i = 0; i <= aIndex; ++i)
        {
            expected.insert(expected.end(), {&mBulk.mTxFifoPartialEvent, &mBulk.mTxFifoEmptyEvent});
        }
        EXPECT_EQ(mHost.mEventResets, expected);
        InterruptIn(3, TX_EMPTY);
    };
    EXPECT_TRUE(Write(MakeBytes(700)).IsOK());
    EXPECT_EQ(mChunks, 3U);
    EXPECT_EQ(mHost.mEventResets.size(), 6U);
}

TEST_F(BulkIPEngineWriteTest, BothEventsAreResetBeforeAChunkIsTraced)
{
    Open();
    AnswerChunks();
    mHost.mEventResets.clear();
    EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
    EXPECT_EQ(GetResetsBefore("Transmitting 256 byte chunk (0 bytes already sent)"), 2U);
    EXPECT_EQ(GetResetsBefore("Transmitting 44 byte chunk (256 bytes already sent)"), 4U);
}

TEST_F(BulkIPEngineWriteTest, InterruptsFromBeforeDoNotAnswerAChunk)
{
    Open();
    mDevice.SendWords(SERIAL_INTERRUPT, {TX_EMPTY | TX_PARTIAL});
    EXPECT_EQ(Write(MakeBytes(257)).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mHost.Now(), 1300U);

    // The empty interrupt of the first chunk does not answer the second, which is never answered.
    mOnChunk = [this](std::size_t aIndex)
    {
        if (aIndex == 0)
        {
            InterruptIn(10, TX_EMPTY);
        }
    };
    EXPECT_TRUE(Write(MakeBytes(257)).IsOK());
    EXPECT_EQ(mHost.Now(), 1610U);
}

TEST_F(BulkIPEngineWriteTest, AnInterruptDuringTheHandOverIsNotLost)
{
    Open();
    mOnChunk = [this](std::size_t) { mDevice.SendWords(SERIAL_INTERRUPT, {TX_EMPTY}); };
    EXPECT_TRUE(Write(MakeBytes(700)).IsOK());
    EXPECT_EQ(mHost.Now(), 1000U);
    EXPECT_EQ(mHost.mWaits, (Waits{300, 300, 300}));
}

TEST_F(BulkIPEngineWriteTest, EitherInterruptLetsTheNextChunkGo)
{
    for (const std::uint32_t status : {TX_PARTIAL, TX_EMPTY, TX_PARTIAL | TX_EMPTY})
    {
        Open();
        mChunks = 0;
        mOnChunk = [this, status](std::size_t aIndex) { InterruptIn(7, aIndex == 0 ? status : TX_EMPTY); };
        const std::uint64_t start = mHost.Now();
        EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
        EXPECT_EQ(mHost.Now(), start + 14);
        mBulk.Close();
    }
}

TEST_F(BulkIPEngineWriteTest, AReceiveInterruptLetsNothingGo)
{
    Open();
    AnswerChunks(0xFFFFE7FF);
    EXPECT_EQ(Write(MakeBytes(300)).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mWritten, 256U);
}

TEST_F(BulkIPEngineWriteTest, WriteFailsWhenNoInterruptComesAfterTheFirstChunk)
{
    Open();
    const Bytes bytes = MakeBytes(257);
    ExpectTimeout(Write(bytes), 256, 257);
    EXPECT_EQ(mHost.mWaits, Waits{300});
    EXPECT_EQ(mHost.Now(), 1300U);
    EXPECT_EQ(mDevice.TakeCalls(), MakeCalls(bytes, {256}));
}

TEST_F(BulkIPEngineWriteTest, ADeviceThatStopsAnsweringEndsTheWriteAndThePortCanBeOpenedAgain)
{
    Open();
    mOnChunk = [this](std::size_t aIndex)
    {
        if (aIndex < 2)
        {
            InterruptIn(5, TX_PARTIAL);
        }
    };
    ExpectTimeout(Write(MakeBytes(5000)), 760, 5000);
    EXPECT_EQ(mHost.Now(), 1310U);
    EXPECT_TRUE(mBulk.Close().IsOK());
    Open();
    AnswerChunks();
    EXPECT_TRUE(Write(MakeBytes(5000)).IsOK());
}

TEST_F(BulkIPEngineWriteTest, AnInterruptInTheLastMillisecondIsInTimeAndOneAfterItIsNot)
{
    Open();
    AnswerChunks(TX_PARTIAL, 300);
    EXPECT_TRUE(Write(MakeBytes(257)).IsOK());
    AnswerChunks(TX_PARTIAL, 301);
    EXPECT_EQ(Write(MakeBytes(257)).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(mWritten, 256U);
}

} // namespace
