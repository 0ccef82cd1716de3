#include "BulkFeatureModel.h"

#include "ModelOutputs.h"
#include "RecordingChips.h"

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

const std::string UPSTREAM = "EventBulk3UpstreamDataBuffer";
const std::string UPSTREAM_LENGTH = "EventBulk3UpstreamDataLength";

DeviceProfile MakeProfile(LineTiming aTiming)
{
    DeviceProfile profile;
    profile.mTiming = aTiming;
    profile.mBulkLine = {1000, LineParity::None, 8, 1};
    return profile;
}

} // namespace

/// Bulk port 3 with its event on, a watched upstream block of 4 bytes, and bytes that take 10 ms if any.
class BulkFeatureModelTest : public ::testing::TestWithParam<LineTiming>
{
protected:
    explicit BulkFeatureModelTest(LineTiming aTiming = LineTiming::Instant)
        : mBulk(Port::Bulk3, MakeProfile(aTiming), mFeatures, mOutputs)
    {
        mBulk.AddFeatures({true, 64, 4});
        mFeatures.Watch(UPSTREAM);
        mBulk.EnableEvent(true);
    }

    void WriteFrame(const std::string& aPayload, Time aNow) { WriteControlFrame(0, aPayload, aNow); }

    void Receive(const std::string& aBytes, Time aNow)
    {
        mBulk.Receive(AsBytes(aBytes), aBytes.size(), aNow);
        mBulk.Advance(aNow);
    }

    void SetMode(const std::string& aMode) { mFeatures.mEnumerations["BulkMode"] = {{aMode}, aMode}; }

    void WriteControlFrame(std::uint8_t aControl, const std::string& aPayload, Time aNow)
    {
        std::vector<std::uint8_t> frame = {aControl, 0, 0, 0, 0, 0, 0, static_cast<std::uint8_t>(aPayload.size())};
        frame.insert(frame.end(), aPayload.begin(), aPayload.end());
        frame.resize((frame.size() + 3) / 4 * 4);
        mBulk.WriteDownstream(frame.data(), frame.size(), aNow);
    }

    std::shared_ptr<RecordingI2cSlave> AddI2cSlave()
    {
        SetMode("I2C");
        auto slave = std::make_shared<RecordingI2cSlave>();
        mBulk.SetI2cSlave(0x50, slave);
        return slave;
    }

    std::shared_ptr<RecordingSpiSlave> AddSpiSlave()
    {
        SetMode("SPI");
        auto slave = std::make_shared<RecordingSpiSlave>();
        mBulk.SetSpiSlave(slave);
        return slave;
    }

    std::string ReadUpstream()
    {
        std::string block(static_cast<std::size_t>(mFeatures.mIntegers[UPSTREAM_LENGTH]), '\0');
        mBulk.ReadUpstream(reinterpret_cast<std::uint8_t*>(block.data()), block.size());
        return block;
    }

    std::size_t CountReports() { return mFeatures.TakeInvalidated().size(); }

    FeatureTree mFeatures;
    OutputQueue mOutputs;
    BulkFeatureModel mBulk;
};

class SlowBulkFeatureModelTest : public BulkFeatureModelTest
{
protected:
    SlowBulkFeatureModelTest() : BulkFeatureModelTest(LineTiming::Real) {}
};

TEST_F(BulkFeatureModelTest, HasTheFeaturesOfItsPort)
{
    EXPECT_EQ(mFeatures.mBlocks.count("Bulk3DownstreamData"), 1U);
    EXPECT_EQ(mFeatures.mBlocks[UPSTREAM].mLength, 4);
    EXPECT_EQ(mFeatures.mIntegers[UPSTREAM_LENGTH], 0);
}

TEST_F(BulkFeatureModelTest, SendsThePayloadOfAFrame)
{
    WriteFrame("hello", 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(TakeLineBytes(mOutputs), "hello");
    EXPECT_EQ(mBulk.mStatistics.mSentBytes, 5U);
}

TEST_F(SlowBulkFeatureModelTest, SendsAtThePaceOfTheLine)
{
    WriteFrame("abc", 5ms);
    mBulk.Advance(15ms);
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
    EXPECT_TRUE(mBulk.IsSending());
    EXPECT_EQ(mBulk.GetDeadline(), Time(25ms));

    mBulk.Advance(35ms);
    EXPECT_EQ(TakeLineBytes(mOutputs), "bc");
    EXPECT_FALSE(mBulk.IsSending());
}

TEST_F(BulkFeatureModelTest, CountsAndDropsAMalformedFrame)
{
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 9, 'a', 0, 0, 0};
    mBulk.WriteDownstream(frame, sizeof(frame), 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(mBulk.mStatistics.mMalformedFrames, 1U);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
}

TEST_F(BulkFeatureModelTest, MakesATransferOfEachFrameWhenItsModeIsSpi)
{
    const auto slave = AddSpiSlave();
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 5, 1, 2, 0, 0, 'a', 0, 0, 0};
    mBulk.WriteDownstream(frame, sizeof(frame), 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(slave->mLog, "[610000]");
    EXPECT_EQ(ReadUpstream(), "\2\3");
    EXPECT_EQ(mBulk.mStatistics.mMalformedFrames, 0U);
    EXPECT_EQ(mBulk.mStatistics.mSentBytes, 1U);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
}

TEST_F(BulkFeatureModelTest, TakesABytePerByteInASimultaneousTransfer)
{
    const auto slave = AddSpiSlave();
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 2, 0, 'a', 'b', 0, 0};
    mBulk.WriteDownstream(frame, sizeof(frame), 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(slave->mLog, "[6162]");
    EXPECT_EQ(ReadUpstream(), "\1\2");
}

TEST_F(BulkFeatureModelTest, ReadsFromAnSpiChipWithAFrameThatHasNoPayload)
{
    AddSpiSlave();
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 4, 0, 3, 0, 0};
    mBulk.WriteDownstream(frame, sizeof(frame), 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(ReadUpstream(), "\1\2\3");
}

TEST_F(BulkFeatureModelTest, CarriesOutI2cTransfersWhenItsModeIsI2c)
{
    const auto slave = AddI2cSlave();
    WriteControlFrame(0x30, "\xA0\x07", 0ms);
    WriteControlFrame(0x70, {'\xA1', 2, 0}, 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(slave->mLog, "S 07 Sr ? ? P ");
    EXPECT_EQ(ReadUpstream(), "\1\2");
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
}

TEST_F(BulkFeatureModelTest, SendsToTheLineWhatIsNoI2cTransfer)
{
    const auto slave = AddI2cSlave();
    WriteControlFrame(0x40, "\xA0\x07", 0ms);
    mBulk.Advance(0ms);
    SetMode("UART");
    WriteControlFrame(0x70, "\xA0\x08", 0ms);
    mBulk.Advance(0ms);

    EXPECT_EQ(slave->mLog, "");
    EXPECT_EQ(TakeLineBytes(mOutputs), "\xA0\x07\xA0\x08");
}

TEST_F(SlowBulkFeatureModelTest, CarriesOutAnI2cTransferWhenItsLastBitIsOut)
{
    const auto slave = AddI2cSlave();
    WriteControlFrame(0x70, {'\xA1', 2, 0}, 0ms);
    mBulk.Advance(270us - 1ns);
    EXPECT_EQ(slave->mLog, "");
    mBulk.Advance(270us);
    EXPECT_EQ(slave->mLog, "Sr ? ? P ");
    EXPECT_EQ(ReadUpstream(), "");
    mBulk.Advance(270us + 90us);
    EXPECT_EQ(ReadUpstream(), "\1");
}

TEST_F(SlowBulkFeatureModelTest, RunsI2cFourTimesAsFastInFastMode)
{
    const auto slave = AddI2cSlave();
    WriteControlFrame(0xF0, "\xA0\x07", 0ms);
    mBulk.Advance(45us - 1ns);
    EXPECT_EQ(slave->mLog, "");
    mBulk.Advance(45us);
    EXPECT_EQ(slave->mLog, "S 07 P ");
}

TEST_F(SlowBulkFeatureModelTest, SendsAByteToAnSpiChipInAMicrosecond)
{
    const auto slave = AddSpiSlave();
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 6, 2, 0, 0, 0, 'a', 'b', 0, 0};
    mBulk.WriteDownstream(frame, sizeof(frame), 0ms);
    mBulk.Advance(2us - 1ns);
    EXPECT_EQ(slave->mLog, "");
    mBulk.Advance(2us);
    EXPECT_EQ(slave->mLog, "[6162]");
}

TEST_F(SlowBulkFeatureModelTest, GoesOnWithTheLineAtItsPaceBehindATransfer)
{
    AddI2cSlave();
    WriteControlFrame(0x70, "\xA0", 0ms);
    mBulk.Advance(90us);
    SetMode("UART");
    WriteFrame("a", 90us);
    mBulk.Advance(10ms);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
    mBulk.Advance(10ms + 90us);
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
}

TEST_F(BulkFeatureModelTest, ReportsABlockOfReceivedBytesOnce)
{
    Receive("abc", 0ms);

    EXPECT_EQ(mFeatures.TakeInvalidated(), std::vector<std::string>{UPSTREAM});
    EXPECT_EQ(mFeatures.mIntegers[UPSTREAM_LENGTH], 3);
    mBulk.Advance(1s);
    EXPECT_EQ(CountReports(), 0U);
}

TEST_F(BulkFeatureModelTest, QueuesWhatArrivesWhileABlockHasNotBeenRead)
{
    Receive("abc", 0ms);
    Receive("defghi", 0ms);
    EXPECT_EQ(CountReports(), 1U);
    EXPECT_EQ(ReadUpstream(), "abc");
    EXPECT_EQ(mFeatures.mIntegers[UPSTREAM_LENGTH], 0);

    mBulk.Advance(0ms);
    EXPECT_EQ(CountReports(), 1U);
    EXPECT_EQ(ReadUpstream(), "defg");
    mBulk.Advance(0ms);
    EXPECT_EQ(ReadUpstream(), "hi");
    EXPECT_EQ(mBulk.mStatistics.mReceivedBytes, 9U);
}

TEST_F(BulkFeatureModelTest, DeliversNothingWhileItsEventIsOff)
{
    mBulk.EnableEvent(false);
    Receive("abc", 0ms);
    mBulk.Advance(1s);
    EXPECT_EQ(CountReports(), 0U);
    EXPECT_EQ(mFeatures.mIntegers[UPSTREAM_LENGTH], 0);

    mBulk.EnableEvent(true);
    mBulk.Advance(2s);
    EXPECT_EQ(CountReports(), 1U);
    EXPECT_EQ(ReadUpstream(), "abc");
}

TEST_F(BulkFeatureModelTest, ReportsABlockAgainWhenItsEventIsSwitchedOnAgain)
{
    Receive("abc", 0ms);
    mBulk.EnableEvent(false);
    EXPECT_EQ(CountReports(), 1U);

    mBulk.EnableEvent(true);
    EXPECT_EQ(CountReports(), 1U);
    EXPECT_EQ(ReadUpstream(), "abc");
}

TEST_F(BulkFeatureModelTest, CountsTheBytesOfABlockThatTheHostDoesNotRead)
{
    Receive("abcd", 0ms);
    std::uint8_t byte = 0;
    mBulk.ReadUpstream(&byte, 1);

    EXPECT_EQ(byte, 'a');
    EXPECT_EQ(mBulk.mStatistics.mReceivedBytes, 1U);
    EXPECT_EQ(mBulk.mStatistics.mLostBytes, 3U);
}

TEST_F(BulkFeatureModelTest, ReadsZerosBehindTheBlock)
{
    Receive("a", 0ms);
    std::vector<std::uint8_t> block(4, 0xFF);
    mBulk.ReadUpstream(block.data(), block.size());

    EXPECT_EQ(block, (std::vector<std::uint8_t>{'a', 0, 0, 0}));
}

TEST_F(BulkFeatureModelTest, PausesWhileMuchIsOnItsWayToTheFarEndAndBack)
{
    for (int i = 0; i < 1000; ++i)
    {
        WriteFrame(std::string(50, 'x'), 0ms);
        mBulk.Advance(0ms);
    }
    EXPECT_EQ(mBulk.mStatistics.mSentBytes, 32768U);
    EXPECT_TRUE(mBulk.IsSending());
    EXPECT_EQ(mBulk.GetDeadline(), std::nullopt);

    mBulk.CountDelivered(32768);
    mBulk.Advance(0ms);
    EXPECT_EQ(mBulk.mStatistics.mSentBytes, 50000U);
    EXPECT_EQ(mBulk.mStatistics.mTxOverruns, 0U);
}

TEST_F(BulkFeatureModelTest, CountsWhatTheTransmitterCannotHold)
{
    mBulk.Receive(AsBytes(std::string(40000, 'x')), 40000, 0ms);
    for (int i = 0; i < 2000; ++i)
    {
        WriteFrame(std::string(50, 'x'), 0ms);
    }
    EXPECT_EQ(mBulk.mStatistics.mTxOverruns, 100000U - 65536U);
}

TEST_F(BulkFeatureModelTest, DoesNotBringBackAFeatureThatWasTakenAway)
{
    mFeatures.Remove(UPSTREAM);
    mFeatures.Remove(UPSTREAM_LENGTH);
    Receive("abc", 0ms);
    std::uint8_t byte = 0;
    mBulk.ReadUpstream(&byte, 1);

    EXPECT_FALSE(mFeatures.Has(UPSTREAM));
    EXPECT_FALSE(mFeatures.Has(UPSTREAM_LENGTH));
}

TEST_F(BulkFeatureModelTest, WaitsWhileItsFarEndHoldsItBack)
{
    mBulk.HoldBack(true);
    WriteFrame("abc", 0ms);
    mBulk.Advance(1s);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
    EXPECT_TRUE(mBulk.IsSending());
    EXPECT_EQ(mBulk.GetDeadline(), std::nullopt);

    mBulk.HoldBack(false);
    EXPECT_LE(mBulk.GetDeadline(), Time(1s));
    mBulk.Advance(1s);
    EXPECT_EQ(TakeLineBytes(mOutputs), "abc");
}

TEST_F(BulkFeatureModelTest, ReceivesWhileItsFarEndHoldsItBack)
{
    mBulk.HoldBack(true);
    Receive("abc", 0ms);

    EXPECT_EQ(ReadUpstream(), "abc");
}

TEST_F(BulkFeatureModelTest, WaitsForARegisterThatHasRoomForABlock)
{
    mFeatures.mBlocks[UPSTREAM].mLength = 0;
    Receive("abc", 0ms);
    EXPECT_EQ(CountReports(), 0U);
    EXPECT_EQ(mBulk.GetDeadline(), std::nullopt);

    mFeatures.mBlocks[UPSTREAM].mLength = 2;
    EXPECT_LE(mBulk.GetDeadline(), Time(0));
    mBulk.Advance(0ms);
    EXPECT_EQ(ReadUpstream(), "ab");
}
