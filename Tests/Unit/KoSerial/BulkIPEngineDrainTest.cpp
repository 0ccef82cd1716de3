#include "BulkTest.h"
#include "RecordingSink.h"

#include <utility>

namespace
{

using Waits = std::vector<std::uint32_t>;

/// The end of a write, chunks that the device refuses, and what travels with a chunk.
class BulkIPEngineDrainTest : public BulkTest
{
protected:
    void SetOptions(std::uint32_t aBits)
    {
        mBulk.mTxOptionBit9 = (aBits & 0x200) != 0;
        mBulk.mTxOptionBit10 = (aBits & 0x400) != 0;
        mBulk.mTxOptionBit11 = (aBits & 0x800) != 0;
        mBulk.mTxOptionBit12 = (aBits & 0x1000) != 0;
    }

    RecordingSink mSink;
};

TEST_F(BulkIPEngineDrainTest, TheLastChunkIsWaitedForUntilTheFifoIsEmpty)
{
    Open();
    mOnChunk = [this](std::size_t)
    {
        InterruptIn(2, TX_PARTIAL);
        InterruptIn(9, TX_EMPTY);
    };
    EXPECT_TRUE(Write(MakeBytes(100)).IsOK());
    EXPECT_EQ(mHost.Now(), 1009U);
    EXPECT_EQ(mHost.mWaits, Waits{300});
}

TEST_F(BulkIPEngineDrainTest, AFifoThatDoesNotDrainInTimeDoesNotFailTheWrite)
{
    Open();
    AnswerChunks(TX_PARTIAL);
    const Bytes bytes = MakeBytes(257);
    EXPECT_TRUE(Write(bytes).IsOK());
    EXPECT_EQ(mWritten, 257U);
    EXPECT_EQ(mHost.Now(), 1303U);
    EXPECT_EQ(mHost.mWaits, (Waits{300, 300}));
    EXPECT_EQ(mBulk.mBytesSent, 257U);
    EXPECT_EQ(mSink.mCalls,
              Texts{"OnTransmitted " + mDevice.mIdentity + " 2 [" + HexText(bytes.data(), 257) + "] 1303"});
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_ERROR).empty());
}

TEST_F(BulkIPEngineDrainTest, AWaitWithNothingToSayFailsTheWriteEvenWhenTheFifoDrained)
{
    Open();
    AnswerChunks();
    mHost.mResultsCarryCodeString = false;
    const Bytes bytes = MakeBytes(257);
    ExpectFailure(Write(bytes), KoResult::TIMEOUT, "Write",
                  "Timed out waiting for Tx interrupt after sending 257 bytes");
    EXPECT_EQ(mHost.Now(), 1006U);
    EXPECT_EQ(mDevice.TakeCalls(), MakeCalls(bytes, {256, 1})) << "between chunks the code of the wait counts";
    EXPECT_EQ(mWritten, 257U);
    mBulk.ExpectProgress(257, 257);
    EXPECT_EQ(mBulk.mBytesSent, 0U);
    EXPECT_TRUE(mSink.mCalls.empty());
}

TEST_F(BulkIPEngineDrainTest, BetweenChunksAWaitThatRanOutFailsWhateverItHasToSay)
{
    for (const bool says : {false, true})
    {
        Open();
        mHost.mResultsCarryCodeString = says;
        EXPECT_EQ(Write(MakeBytes(257)).GetCode(), KoResult::TIMEOUT);
        EXPECT_EQ(mWritten, 256U);
        mBulk.Close();
    }
}

TEST_F(BulkIPEngineDrainTest, EachWaitLastsAsLongAsItsChunkMayTake)
{
    Open(UART_9600 | DOUBLE_TIME | Reserve(10));
    AnswerChunks(TX_PARTIAL);
    EXPECT_TRUE(Write(MakeBytes(256 + 242 + 241)).IsOK());
    EXPECT_EQ(mHost.mWaits, (Waits{306, 300, 300}));
    EXPECT_EQ(mHost.Now(), 1306U);
    mHost.mWaits.clear();
    EXPECT_TRUE(Write(MakeBytes(256)).IsOK());
    EXPECT_EQ(mHost.mWaits, Waits{306});
}

TEST_F(BulkIPEngineDrainTest, TheOptionFlagsChangeTheWaits)
{
    Open(I2C);
    AnswerChunks();
    for (const auto& [bits, expected] :
         {std::pair{0x0E00U, 300U}, std::pair{0x1000U, 600U}, std::pair{0x1C00U, 600U}, std::pair{0x1200U, 150U}})
    {
        SetOptions(bits);
        mHost.mWaits.clear();
        EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
        EXPECT_EQ(mHost.mWaits, (Waits{expected, expected}));
    }
}

TEST_F(BulkIPEngineDrainTest, AChunkThatTheDeviceRefusesEndsTheWriteWithTheResultOfTheDevice)
{
    const std::vector<std::uint32_t> sent = {0, 256, 508};
    for (std::size_t failing = 0; failing < sent.size(); ++failing)
    {
        Open();
        AnswerChunks();
        mHost.mWaits.clear();
        mDevice.mRefusal = KoResult(77, KoString("busy"));
        mDevice.FailCall("BulkTransmit", failing + 1);
        const KoResult result = Write(MakeBytes(600));
        EXPECT_EQ(result.GetCode(), 77U);
        EXPECT_STREQ(result.GetDescription().GetAscii(), "busy");
        EXPECT_EQ(mWritten, sent[failing]);
        mBulk.ExpectProgress(sent[failing], 600);
        EXPECT_EQ(mHost.mWaits, Waits(failing, 300));
        EXPECT_EQ(mDevice.TakeCalls().size(), failing + 2);
        EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_ERROR).empty());
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_INFO).size(), 1U);
        EXPECT_TRUE(mSink.mCalls.empty());
        EXPECT_EQ(mBulk.mBytesSent, 0U);
        mBulk.Close();
    }
}

TEST_F(BulkIPEngineDrainTest, EachOptionFlagSetsTheBitOfItsNameInTheCommandWord)
{
    Open();
    AnswerChunks();
    const Bytes bytes = MakeBytes(257);
    for (std::uint32_t bits = 0; bits <= 0x1E00; bits += 0x200)
    {
        SetOptions(bits);
        EXPECT_TRUE(Write(bytes).IsOK());
        const std::string command = "BulkTransmit " + HexText(0x80000000 | bits) + ' ';
        EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", command + HexText(bytes.data(), 256),
                                              command + HexText(bytes.data() + 256, 1)}));
    }
}

TEST_F(BulkIPEngineDrainTest, TransmitHandsOverOneChunkAndNothingElse)
{
    Open();
    const Bytes bytes = MakeBytes(1000);
    EXPECT_TRUE(mBulk.Transmit(bytes.data(), 1000).IsOK());
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"BulkTransmit 0x80000000 " + HexText(bytes.data(), 1000)});
    mDevice.mRefusal = KoResult(77, KoString("busy"));
    mDevice.FailCall("BulkTransmit");
    const KoResult result = mBulk.Transmit(bytes.data(), 1);
    EXPECT_EQ(result.GetCode(), 77U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "busy");
    EXPECT_TRUE(mHost.mWaits.empty());
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mSink.mCalls.empty());
    EXPECT_EQ(mBulk.mBytesSent, 0U);
    EXPECT_EQ(mBulk.GetWriteProgress(mWritten, mWritten).GetCode(), KoResult::STATE_ERROR);
}

} // namespace
