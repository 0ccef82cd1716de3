#include "BulkFifoModel.h"

#include "ModelOutputs.h"
#include "RecordingChips.h"
#include "Registers.h"

#include <KoSim/BulkLine.h>

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

constexpr std::uint32_t ALL_INTERRUPTS = 0x1F00;

/// I2C with doubled time: 180 us for each byte.
constexpr Time BYTE_TIME = 180us;
constexpr std::uint32_t RESERVE = 51;
constexpr std::size_t LATER_CHUNK = 251 - RESERVE;

} // namespace

class BulkFifoModelTest : public ::testing::Test
{
protected:
    BulkFifoModelTest() { mFifo.EnableInterrupts(ALL_INTERRUPTS); }

    void Transmit(std::size_t aCount, Time aNow)
    {
        const std::string bytes(aCount, 'x');
        mFifo.Transmit(AsBytes(bytes), bytes.size(), 0, aNow);
    }

    std::vector<std::uint32_t> TakeStatuses()
    {
        std::vector<std::uint32_t> statuses;
        for (const SerialEvent& event : TakeEvents(mOutputs))
        {
            statuses.push_back(event.mStatus);
        }
        return statuses;
    }

    OutputQueue mOutputs;
    BulkFifoModel mFifo{LineTiming::Real, GetBulkConfig({BulkInterface::I2c, 0, true, RESERVE}), EVENT_SERIAL_INTERRUPT,
                        mOutputs};
};

TEST_F(BulkFifoModelTest, SendsOneByteAfterTheOther)
{
    mFifo.Transmit(AsBytes("abc"), 3, 0, 1ms);

    mFifo.Advance(1ms + BYTE_TIME - 1ns);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
    mFifo.Advance(1ms + BYTE_TIME);
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
    mFifo.Advance(1ms + 3 * BYTE_TIME);
    EXPECT_EQ(TakeLineBytes(mOutputs), "bc");
    EXPECT_EQ(mFifo.mStatistics.mSentBytes, 3U);
}

TEST_F(BulkFifoModelTest, ReportsThatALaterChunkFitsExactlyWhenItDoes)
{
    Transmit(256, 0ms);

    mFifo.Advance(BYTE_TIME * (LATER_CHUNK - 1));
    EXPECT_TRUE(TakeStatuses().empty());
    EXPECT_EQ(mFifo.GetDeadline(), Time(BYTE_TIME * LATER_CHUNK));
    mFifo.Advance(BYTE_TIME * LATER_CHUNK);
    EXPECT_EQ(TakeStatuses(), std::vector<std::uint32_t>{INTERRUPT_BULK_TX_PARTIAL});

    Transmit(LATER_CHUNK, BYTE_TIME * LATER_CHUNK);
    EXPECT_EQ(mFifo.mStatistics.mTxOverruns, 0U);
}

TEST_F(BulkFifoModelTest, ReportsAtOnceThatALaterChunkFitsBehindABlockThatLeavesRoomForIt)
{
    Transmit(256 - LATER_CHUNK, 0ms);

    EXPECT_EQ(TakeStatuses(), std::vector<std::uint32_t>{INTERRUPT_BULK_TX_PARTIAL});
}

TEST_F(BulkFifoModelTest, DoesNotReportRoomBehindABlockThatLeavesTooLittle)
{
    Transmit(256 - LATER_CHUNK + 1, 0ms);

    EXPECT_TRUE(TakeStatuses().empty());
}

TEST_F(BulkFifoModelTest, ReportsThatItIsEmptyWhenTheLastByteIsOut)
{
    Transmit(10, 0ms);
    TakeStatuses();

    mFifo.Advance(BYTE_TIME * 10 - 1ns);
    EXPECT_TRUE(TakeStatuses().empty());
    mFifo.Advance(BYTE_TIME * 10);
    EXPECT_EQ(TakeStatuses(), std::vector<std::uint32_t>{INTERRUPT_BULK_TX_EMPTY});
}

TEST_F(BulkFifoModelTest, SendsBytesToTheFarEndBeforeItReportsThatTheyAreOut)
{
    Transmit(1, 0ms);
    mOutputs.clear();
    mFifo.Advance(BYTE_TIME);

    ASSERT_EQ(mOutputs.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<LineOutput>(mOutputs[0]));
    EXPECT_TRUE(std::holds_alternative<EventOutput>(mOutputs[1]));
}

TEST_F(BulkFifoModelTest, StampsAnInterruptWithTheTimeOfItsCause)
{
    Transmit(1, 0ms);
    mFifo.Advance(1s);

    EXPECT_EQ(TakeEvents(mOutputs).at(1).mTime, Time(BYTE_TIME));
}

TEST_F(BulkFifoModelTest, SendsNoEventForADisabledInterrupt)
{
    mFifo.EnableInterrupts(INTERRUPT_BULK_TX_EMPTY);
    Transmit(256, 0ms);
    mFifo.Advance(1h);

    EXPECT_EQ(TakeStatuses(), std::vector<std::uint32_t>{INTERRUPT_BULK_TX_EMPTY});
}

TEST_F(BulkFifoModelTest, CountsBytesThatFindNoRoom)
{
    Transmit(200, 0ms);
    Transmit(57, 0ms);

    EXPECT_EQ(mFifo.mStatistics.mTxOverruns, 1U);
}

TEST_F(BulkFifoModelTest, LosesAndCountsWhatItHoldsWhenItIsReset)
{
    Transmit(20, 0ms);
    mOutputs.clear();
    mFifo.WriteConfig(mFifo.ReadConfig() | BULK_CONFIG_RESET);

    mFifo.Advance(1h);
    EXPECT_TRUE(mOutputs.empty());
    EXPECT_EQ(mFifo.mStatistics.mTxOverruns, 20U);
}

TEST_F(BulkFifoModelTest, CountsTheTimeThatTheLineWasBusyAndTheTimeThatItStoodIdle)
{
    Transmit(10, 0ms);
    mFifo.Advance(BYTE_TIME * 10);
    Transmit(10, BYTE_TIME * 15);
    mFifo.Advance(1h);

    EXPECT_EQ(mFifo.mStatistics.mBusyTime, Time(BYTE_TIME * 20));
    EXPECT_EQ(mFifo.mStatistics.mIdleTime, Time(BYTE_TIME * 5));
    EXPECT_EQ(mFifo.mStatistics.mUnderruns, 1U);
}

TEST_F(BulkFifoModelTest, KeepsItsBytesWhileItsFarEndHoldsThemBack)
{
    mFifo.HoldBack(true);
    mFifo.Transmit(AsBytes("abc"), 3, 0, 0ms);
    mFifo.Advance(1s);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
    EXPECT_EQ(mFifo.GetDeadline(), std::nullopt);

    mFifo.HoldBack(false);
    EXPECT_LE(mFifo.GetDeadline(), Time(1s));
    mFifo.Advance(1s);
    EXPECT_EQ(TakeLineBytes(mOutputs), "abc");
}

TEST_F(BulkFifoModelTest, ReportsReceivedBytesPackedBehindTheStatusWord)
{
    mFifo.Receive(AsBytes("hello"), 5, 0ms);
    mFifo.Advance(1h);

    ASSERT_EQ(mOutputs.size(), 1U);
    const auto& event = std::get<EventOutput>(mOutputs[0]);
    const std::vector<std::uint8_t> expected = {0, 1, 0, 0, 'h', 'e', 'l', 'l', 'o'};
    EXPECT_EQ(event.mPayload, expected);
    EXPECT_EQ(event.mEventId, EVENT_SERIAL_INTERRUPT);
    EXPECT_EQ(event.mReceivedBytes, 5U);
}

TEST_F(BulkFifoModelTest, ReportsReceivedBytesWithTheLowestReceiveInterruptThatIsEnabled)
{
    mFifo.EnableInterrupts(0x0600);
    mFifo.Receive(AsBytes("x"), 1, 0ms);
    mFifo.Advance(1h);

    EXPECT_EQ(TakeStatuses(), std::vector<std::uint32_t>{0x0200});
}

TEST_F(BulkFifoModelTest, KeepsBytesAtTheFarEndWhileItsReceiveInterruptsAreOff)
{
    mFifo.EnableInterrupts(0);
    mFifo.Receive(AsBytes("xyz"), 3, 0ms);
    mFifo.Advance(1s);
    EXPECT_TRUE(mOutputs.empty());
    EXPECT_EQ(mFifo.GetDeadline(), std::nullopt);

    mFifo.EnableInterrupts(ALL_INTERRUPTS);
    mFifo.Advance(2s);
    mFifo.Advance(3s);
    std::size_t received = 0;
    for (const Output& output : mOutputs)
    {
        received += std::get<EventOutput>(output).mReceivedBytes;
    }
    EXPECT_EQ(received, 3U);
}

TEST_F(BulkFifoModelTest, SplitsALongReceptionOverEventsThatFitAPacket)
{
    BulkFifoModel instant(LineTiming::Instant, 0, EVENT_BULK_INTERRUPT, mOutputs);
    instant.EnableInterrupts(ALL_INTERRUPTS);
    const std::string bytes(1300, 'x');
    instant.Receive(AsBytes(bytes), bytes.size(), 0ms);
    instant.Advance(0ms);

    ASSERT_EQ(mOutputs.size(), 3U);
    EXPECT_EQ(std::get<EventOutput>(mOutputs[0]).mReceivedBytes, 512U);
    EXPECT_EQ(std::get<EventOutput>(mOutputs[2]).mReceivedBytes, 276U);
    EXPECT_EQ(std::get<EventOutput>(mOutputs[0]).mEventId, EVENT_BULK_INTERRUPT);
}

/// A FIFO whose interrupts reach a host, late or not.
class BulkFifoCreditTest : public ::testing::Test
{
protected:
    using Statuses = std::vector<std::uint32_t>;

    static constexpr std::uint32_t PARTIAL = INTERRUPT_BULK_TX_PARTIAL;
    static constexpr std::uint32_t EMPTY = INTERRUPT_BULK_TX_EMPTY;

    void SetLaterChunk(std::uint32_t aSize)
    {
        mFifo.WriteConfig(GetBulkConfig({BulkInterface::Usrt, 7, false, 252 - aSize}));
        mFifo.EnableInterrupts(ALL_INTERRUPTS);
    }

    void Transmit(std::size_t aCount)
    {
        const std::string bytes(aCount, 'x');
        mFifo.Transmit(AsBytes(bytes), bytes.size(), 0, mNow);
    }

    void Drain()
    {
        mNow += 1s;
        mFifo.Advance(mNow);
    }

    /// Delivers what is not outdated.
    Statuses Deliver()
    {
        Statuses statuses;
        for (; !mOutputs.empty(); mOutputs.pop_front())
        {
            const auto* const event = std::get_if<EventOutput>(&mOutputs.front());
            if (event != nullptr && !mFifo.IsOutdated(*event))
            {
                mFifo.StartDelivery(*event);
                statuses.push_back(LoadWord(event->mPayload, 0));
            }
        }
        return statuses;
    }

    /// The host is told twice to go on before it hands over the next chunk.
    void BeLate()
    {
        Transmit(256);
        Drain();
        ASSERT_EQ(Deliver(), (Statuses{PARTIAL, EMPTY}));
    }

    Time mNow{0};
    OutputQueue mOutputs;
    BulkFifoModel mFifo{LineTiming::Real, 0, EVENT_SERIAL_INTERRUPT, mOutputs};
};

TEST_F(BulkFifoCreditTest, ABlockOutdatesTheInterruptsBeforeItAndCausesItsOwn)
{
    SetLaterChunk(128);
    Transmit(256);
    Drain();
    Transmit(128);
    EXPECT_EQ(Deliver(), Statuses{PARTIAL});
    Drain();
    EXPECT_EQ(Deliver(), Statuses{EMPTY});
}

TEST_F(BulkFifoCreditTest, ABlockThatIsLostWholeOutdatesNothing)
{
    SetLaterChunk(128);
    Transmit(128);
    Transmit(128);
    Transmit(1);
    Drain();
    EXPECT_EQ(mFifo.mStatistics.mTxOverruns, 1U);
    EXPECT_EQ(Deliver(), (Statuses{PARTIAL, EMPTY}));
}

TEST_F(BulkFifoCreditTest, AResetOutdatesInterruptsAndEndsCredit)
{
    SetLaterChunk(128);
    BeLate();
    Transmit(128);
    Drain();
    mFifo.WriteConfig(mFifo.ReadConfig() | BULK_CONFIG_RESET);
    EXPECT_EQ(Deliver(), Statuses{});
    EXPECT_EQ(mFifo.GetCredit(), 0U);
}

TEST_F(BulkFifoCreditTest, ABlockDoesNotOutdateReceivedBytes)
{
    SetLaterChunk(128);
    mFifo.Receive(AsBytes("a"), 1, mNow);
    Drain();
    Transmit(1);
    mOutputs.resize(1);
    EXPECT_EQ(Deliver(), Statuses{0x100});
    EXPECT_EQ(mFifo.GetCredit(), 0U);
}

TEST_F(BulkFifoCreditTest, AHostThatMayHaveACreditIsOnlyToldWhenTheFifoIsEmptyIfThreeChunksDoNotFit)
{
    SetLaterChunk(128);
    BeLate();
    for (int i = 0; i < 3; ++i)
    {
        Transmit(128);
        EXPECT_EQ(mFifo.GetCredit(), 1U);
        Drain();
        EXPECT_EQ(Deliver(), Statuses{EMPTY});
    }
}

TEST_F(BulkFifoCreditTest, AHostThatMayHaveACreditIsToldWhenThereIsRoomForThatChunkToo)
{
    SetLaterChunk(85);
    BeLate();
    Transmit(85);
    EXPECT_EQ(mFifo.GetPartialRoom(), 170U);
    EXPECT_EQ(Deliver(), Statuses{PARTIAL});
    Drain();
    EXPECT_EQ(Deliver(), Statuses{EMPTY});
    Transmit(85);
    EXPECT_EQ(mFifo.GetPartialRoom(), 255U);
    EXPECT_EQ(Deliver(), Statuses{});
}

TEST_F(BulkFifoCreditTest, AHostUsesItsCreditWithABlockUnasked)
{
    SetLaterChunk(128);
    BeLate();
    Transmit(128);
    Transmit(128);
    EXPECT_EQ(mFifo.GetCredit(), 0U);
    Drain();
    EXPECT_EQ(Deliver(), (Statuses{PARTIAL, EMPTY}));
}

TEST_F(BulkFifoCreditTest, AHostThatBeginsAWriteHasNoCredit)
{
    SetLaterChunk(128);
    BeLate();
    Transmit(129);
    EXPECT_EQ(mFifo.GetCredit(), 0U);
    Drain();
    EXPECT_EQ(Deliver(), (Statuses{PARTIAL, EMPTY}));
}

TEST_F(BulkFifoCreditTest, AHostWithChunksOfMoreThanHalfTheFifoIsToldWhenOneFits)
{
    SetLaterChunk(129);
    BeLate();
    Transmit(129);
    EXPECT_EQ(mFifo.GetCredit(), 1U);
    EXPECT_EQ(mFifo.GetPartialRoom(), 129U);
}

/// An I2C port at once: a byte takes 90 us.
class BulkFifoI2cTest : public ::testing::Test
{
protected:
    BulkFifoI2cTest()
    {
        mFifo.EnableInterrupts(ALL_INTERRUPTS);
        mFifo.SetI2cSlave(0x50, mSlave);
    }

    void Transmit(const std::string& aBytes, std::uint32_t aCommand, Time aNow)
    {
        mFifo.Transmit(AsBytes(aBytes), aBytes.size(), aCommand, aNow);
    }

    OutputQueue mOutputs;
    BulkFifoModel mFifo{LineTiming::Real, GetBulkConfig({BulkInterface::I2c, 0, false, RESERVE}),
                        EVENT_SERIAL_INTERRUPT, mOutputs};
    const std::shared_ptr<RecordingI2cSlave> mSlave = std::make_shared<RecordingI2cSlave>();
};

TEST_F(BulkFifoI2cTest, CarriesOutATransferWhenItsLastBitIsOut)
{
    Transmit("\xA0\x07", 0x80001C00, 0ms);

    mFifo.Advance(180us - 1ns);
    EXPECT_EQ(mSlave->mLog, "");
    mFifo.Advance(180us);
    EXPECT_EQ(mSlave->mLog, "S 07 P ");
    EXPECT_EQ(mFifo.mStatistics.mSentBytes, 2U);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
}

TEST_F(BulkFifoI2cTest, RunsFourTimesAsFastInFastMode)
{
    Transmit("\xA0\x07", 0x80001E00, 0ms);

    mFifo.Advance(45us - 1ns);
    EXPECT_EQ(mSlave->mLog, "");
    mFifo.Advance(45us);
    EXPECT_EQ(mSlave->mLog, "S 07 P ");
}

TEST_F(BulkFifoI2cTest, ReportsWhatASlaveAnswers)
{
    Transmit({'\xA1', 2, 0}, 0x80001800, 0ms);
    mFifo.Advance(270us);
    mFifo.Advance(270us + 180us);

    EXPECT_EQ(mSlave->mLog, "Sr ? ? ");
    EXPECT_EQ(mOutputs.size(), 3U);
    EXPECT_EQ(std::get<EventOutput>(mOutputs.back()).mPayload, (std::vector<std::uint8_t>{0, 1, 0, 0, 1, 2}));
}

TEST_F(BulkFifoI2cTest, MakesATransferOfEachBlock)
{
    Transmit("\xA0\x01", 0x80001800, 0ms);
    Transmit("\xA0\x02", 0x80001C00, 0ms);
    mFifo.Advance(1ms);

    EXPECT_EQ(mSlave->mLog, "S 01 S 02 P ");
}

TEST_F(BulkFifoI2cTest, SendsToTheLineWhatIsNoTransfer)
{
    Transmit("\xA0\x01", 0x80000000, 0ms);
    mFifo.Advance(1ms);

    EXPECT_EQ(mSlave->mLog, "");
    EXPECT_EQ(TakeLineBytes(mOutputs), "\xA0\x01");
}

TEST_F(BulkFifoI2cTest, SendsEverythingToTheLineUnlessItIsWiredAsI2c)
{
    mFifo.SetUp(BulkInterface::Usrt, LineSettings());
    Transmit("\xA0\x01", 0x80001C00, 0ms);
    mFifo.Advance(1ms);

    EXPECT_EQ(mSlave->mLog, "");
    EXPECT_EQ(TakeLineBytes(mOutputs), "\xA0\x01");
    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mReserve, RESERVE);
}

TEST_F(BulkFifoI2cTest, ForgetsAHalfSentTransferWhenItIsReset)
{
    Transmit("\xA0\x01", 0x80001C00, 0ms);
    mFifo.Advance(90us);
    mFifo.WriteConfig(mFifo.ReadConfig() | BULK_CONFIG_RESET);
    Transmit("\xA0\x02", 0x80001C00, 1ms);
    mFifo.Advance(2ms);

    EXPECT_EQ(mSlave->mLog, "S 02 P ");
}

/// A UART of 9600 bit/s.
class BulkFifoUartTest : public ::testing::Test
{
protected:
    BulkFifoUartTest() { mFifo.EnableInterrupts(ALL_INTERRUPTS); }

    /// As everyone does who opens the port.
    void Open() { mFifo.WriteConfig(mFifo.ReadConfig()); }

    /// How long a byte is on its way that is sent now.
    Time GetSendingTime()
    {
        mFifo.Transmit(AsBytes("a"), 1, 0, mNow);
        const Time time = *mFifo.GetDeadline() - mNow;
        mNow += 1s;
        mFifo.Advance(mNow);
        return time;
    }

    Time mNow{0};
    OutputQueue mOutputs;
    BulkFifoModel mFifo{LineTiming::Real, GetBulkConfig({BulkInterface::Uart, 0, false, RESERVE}),
                        EVENT_SERIAL_INTERRUPT, mOutputs};
};

TEST_F(BulkFifoUartTest, ShowsInItsRegisterHowItIsSetUp)
{
    mFifo.SetUp(BulkInterface::Uart, {57600, LineParity::None, 8, 1});

    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mRateIndex, 5U);
    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mReserve, RESERVE);
    mFifo.SetUp(BulkInterface::Uart, {921600, LineParity::None, 8, 1});
    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mRateIndex, 5U);
    mFifo.SetUp(BulkInterface::Usrt, {9600, LineParity::None, 8, 1});
    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mRateIndex, 5U);
    EXPECT_EQ(GetBulkLine(mFifo.ReadConfig()).mInterface, BulkInterface::Usrt);
}

TEST_F(BulkFifoUartTest, RunsAsItIsSetUpFromTheNextOpeningOn)
{
    mFifo.SetUp(BulkInterface::Uart, {57600, LineParity::Even, 8, 2});
    EXPECT_EQ(GetSendingTime(), Time(10s) / 9600);
    Open();
    EXPECT_EQ(GetSendingTime(), Time(12s) / 57600);
}

TEST_F(BulkFifoUartTest, RunsAtRatesThatItsRegisterDoesNotKnow)
{
    mFifo.SetUp(BulkInterface::Uart, {921600, LineParity::None, 8, 1});
    Open();
    mFifo.Transmit(AsBytes("a"), 1, 0, 0ms);
    mFifo.Advance(Time(10s) / 921600 - 1ns);
    EXPECT_EQ(TakeLineBytes(mOutputs), "");
    mFifo.Advance(Time(10s) / 921600);
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
}

TEST_F(BulkFifoUartTest, TakesItsRateFromTheRegisterOtherwise)
{
    mFifo.WriteConfig(GetBulkConfig({BulkInterface::Uart, 1, false, RESERVE}));
    EXPECT_EQ(GetSendingTime(), Time(10s) / 14400);
}

TEST_F(BulkFifoUartTest, SendsGarbageToAFarEndThatIsSetUpOtherwise)
{
    mFifo.SetFarEndSettings(LineSettings{19200, LineParity::None, 8, 1});
    GetSendingTime();
    EXPECT_NE(TakeLineBytes(mOutputs), "a");
    EXPECT_EQ(mFifo.mStatistics.mFramingErrors, 1U);
    mFifo.SetUp(BulkInterface::Uart, {19200, LineParity::None, 8, 1});
    Open();
    GetSendingTime();
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
    EXPECT_EQ(mFifo.mStatistics.mFramingErrors, 1U);
}

TEST_F(BulkFifoUartTest, DoesNotCareHowAFarEndIsSetUpUnlessItIsAUart)
{
    mFifo.SetFarEndSettings(LineSettings{19200, LineParity::None, 8, 1});
    mFifo.SetUp(BulkInterface::Usrt, LineSettings());
    Open();
    GetSendingTime();
    EXPECT_EQ(TakeLineBytes(mOutputs), "a");
}
