#include "UartModel.h"

#include "ModelOutputs.h"
#include "Registers.h"

#include <gtest/gtest.h>

#include <string>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

constexpr std::size_t LINE_CAPACITY = 65536;

std::string MakeText(std::size_t aLength)
{
    std::string text;
    for (std::size_t i = 0; i < aLength; ++i)
    {
        text += static_cast<char>(i * 7);
    }
    return text;
}

} // namespace

/// A UART whose bytes take 10 ms.
class UartModelReceiveTest : public ::testing::Test
{
protected:
    void Receive(const std::string& aText, Time aNow) { mUart.Receive(AsBytes(aText), aText.size(), aNow); }

    /// What has been reported by aNow, as one text.
    std::string ReportedAt(Time aNow)
    {
        mUart.Advance(aNow);
        return JoinBytes(TakeEvents(mOutputs));
    }

    OutputQueue mOutputs;
    UartModel mUart{Port::Uart0, LineTiming::Real, {1000, LineParity::None, 8, 1}, mOutputs};
};

TEST_F(UartModelReceiveTest, ReportsBytesAtThePaceOfTheLine)
{
    mUart.EnableInterrupts(true, true);
    Receive("ABC", 5ms);

    EXPECT_EQ(ReportedAt(15ms - 1ns), "");
    EXPECT_EQ(mUart.GetDeadline(), Time(15ms));
    EXPECT_EQ(ReportedAt(15ms), "A");
    EXPECT_EQ(mUart.GetDeadline(), Time(25ms));
    EXPECT_EQ(ReportedAt(25ms - 1ns), "");
    EXPECT_EQ(ReportedAt(35ms), "BC");
    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
}

TEST_F(UartModelReceiveTest, ReportsWithTheStatusAndTheNumberOfBytes)
{
    mUart.EnableInterrupts(false, true);
    Receive("AB", 0ms);
    mUart.Advance(20ms);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mPort, Port::Uart0);
    EXPECT_EQ(events[0].mEventId, EVENT_SERIAL_INTERRUPT);
    EXPECT_EQ(events[0].mTime, Time(20ms));
    EXPECT_EQ(events[0].mStatus, INTERRUPT_UART_RX);
    EXPECT_EQ(events[0].mBytes, "AB");
    EXPECT_EQ(events[0].mReceivedBytes, 2U);
}

TEST_F(UartModelReceiveTest, ReportsForTheSecondUartTwoBitsHigher)
{
    UartModel uart(Port::Uart1, LineTiming::Instant, LineSettings(), mOutputs);
    const std::uint8_t byte = 0xFF;
    uart.EnableInterrupts(true, true);
    uart.Receive(&byte, 1, 0ms);
    uart.Advance(0ms);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mStatus, 0x8U);
    EXPECT_EQ(events[0].mBytes, "\xFF");
}

TEST_F(UartModelReceiveTest, PutsOneByteIntoEachWordAndNothingElse)
{
    mUart.EnableInterrupts(true, true);
    Receive("\xFF", 0ms);
    mUart.Advance(10ms);

    ASSERT_EQ(mOutputs.size(), 1U);
    const std::vector<std::uint8_t>& payload = std::get<EventOutput>(mOutputs.front()).mPayload;
    ASSERT_EQ(payload.size(), 8U);
    EXPECT_EQ(LoadWord(payload, 1), 0xFFU);
}

TEST_F(UartModelReceiveTest, LetsAByteAfterAPauseTakeItsFullTime)
{
    mUart.EnableInterrupts(true, true);
    Receive("A", 0ms);
    EXPECT_EQ(ReportedAt(10ms), "A");
    Receive("B", 12ms);

    EXPECT_EQ(ReportedAt(22ms - 1ns), "");
    EXPECT_EQ(ReportedAt(22ms), "B");
}

TEST_F(UartModelReceiveTest, QueuesBytesBehindThoseOnTheLine)
{
    mUart.EnableInterrupts(true, true);
    Receive("A", 0ms);
    Receive("B", 4ms);

    EXPECT_EQ(ReportedAt(10ms), "A");
    EXPECT_EQ(ReportedAt(20ms - 1ns), "");
    EXPECT_EQ(ReportedAt(20ms), "B");
}

TEST_F(UartModelReceiveTest, ReportsAtMost128BytesInOneEvent)
{
    const std::string text = MakeText(300);
    mUart.EnableInterrupts(true, true);
    Receive(text, 0ms);
    mUart.Advance(10s);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(events[0].mReceivedBytes, 128U);
    EXPECT_EQ(events[1].mReceivedBytes, 128U);
    EXPECT_EQ(events[2].mReceivedBytes, 44U);
    EXPECT_EQ(JoinBytes(events), text);
}

TEST_F(UartModelReceiveTest, ReportsNothingWhileItsInterruptIsOff)
{
    mUart.EnableInterrupts(true, false);
    Receive("ABC", 0ms);

    EXPECT_EQ(ReportedAt(1h), "");
    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
}

TEST_F(UartModelReceiveTest, HoldsTheFirstByteInTheDataRegisterWhileItsInterruptIsOff)
{
    Receive("AB", 0ms);
    mUart.Advance(10ms - 1ns);
    EXPECT_EQ(mUart.ReadData(), 0U);

    mUart.Advance(10ms);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_RX_VALID | 'A');
    EXPECT_EQ(mUart.ReadData(), 0U);
    EXPECT_EQ(mUart.mStatistics.mReceivedBytes, 1U);
}

TEST_F(UartModelReceiveTest, HoldsAByteBesideTheBusyBit)
{
    Receive("A", 0ms);
    mUart.Advance(10ms);
    mUart.WriteData('x', 10ms);

    EXPECT_EQ(mUart.ReadData(), UART_DATA_TX_BUSY | UART_DATA_RX_VALID | 'A');
}

TEST_F(UartModelReceiveTest, GivesEveryByteThroughTheDataRegisterAtThePaceOfTheLine)
{
    Receive("ABC", 0ms);
    mUart.Advance(1s);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_RX_VALID | 'A');

    // The far end waited for the register to be read; the next byte starts only now.
    mUart.Advance(2s);
    EXPECT_EQ(mUart.GetDeadline(), Time(2s + 10ms));
    EXPECT_EQ(mUart.ReadData(), 0U);
    mUart.Advance(2s + 10ms);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_RX_VALID | 'B');

    mUart.Advance(3s);
    mUart.Advance(3s + 10ms);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_RX_VALID | 'C');
}

TEST_F(UartModelReceiveTest, LosesNothingWhileItsInterruptIsOff)
{
    const std::string text = MakeText(1000);
    Receive(text, 0ms);
    mUart.Advance(1h);
    mUart.EnableInterrupts(true, true);
    std::string reported = ReportedAt(1h);
    reported += ReportedAt(2h);

    EXPECT_EQ(reported, text);
    EXPECT_EQ(mUart.mStatistics.mLostBytes, 0U);
}

TEST_F(UartModelReceiveTest, ReportsTheHeldByteAtOnceAndTheRestAtThePaceOfTheLine)
{
    Receive("ABC", 0ms);
    mUart.Advance(1s);
    mUart.EnableInterrupts(true, true);
    EXPECT_LE(mUart.GetDeadline(), Time(1s));

    EXPECT_EQ(ReportedAt(1s), "A");
    EXPECT_EQ(ReportedAt(1s + 10ms - 1ns), "");
    EXPECT_EQ(ReportedAt(1s + 10ms), "B");
    EXPECT_EQ(ReportedAt(1s + 20ms), "C");
}

TEST_F(UartModelReceiveTest, StopsReportingWhenItsInterruptIsSwitchedOff)
{
    mUart.EnableInterrupts(true, true);
    Receive("ABC", 0ms);
    EXPECT_EQ(ReportedAt(10ms), "A");
    mUart.EnableInterrupts(true, false);

    EXPECT_EQ(ReportedAt(1s), "");
    EXPECT_EQ(mUart.ReadData(), UART_DATA_RX_VALID | 'B');
}

TEST_F(UartModelReceiveTest, TakesWhatTheLineHasRoomForAndCountsTheRest)
{
    const std::string text = MakeText(LINE_CAPACITY - 10);
    Receive(text, 0ms);
    EXPECT_EQ(mUart.GetRoom(), 10U);
    Receive("0123456789ABCDEF", 0ms);
    Receive("more", 0ms);

    EXPECT_EQ(mUart.GetRoom(), 0U);
    EXPECT_EQ(mUart.mStatistics.mLostBytes, 10U);
    mUart.EnableInterrupts(true, true);
    EXPECT_EQ(ReportedAt(24h), text + "0123456789");
    EXPECT_EQ(mUart.GetRoom(), LINE_CAPACITY);
}

TEST_F(UartModelReceiveTest, TakesNoBytesForNone)
{
    mUart.EnableInterrupts(true, true);
    mUart.Receive(nullptr, 0, 0ms);

    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
    EXPECT_EQ(ReportedAt(1s), "");
}

TEST_F(UartModelReceiveTest, IsDueWhenTheFirstOfTransmissionAndReceptionIs)
{
    mUart.EnableInterrupts(true, true);
    mUart.WriteData('x', 4ms);
    Receive("A", 2ms);
    EXPECT_EQ(mUart.GetDeadline(), Time(12ms));

    mUart.Advance(12ms);
    EXPECT_EQ(mUart.GetDeadline(), Time(14ms));
}

TEST_F(UartModelReceiveTest, ReportsEverythingAtOnceOnAnInstantLine)
{
    const std::string text = MakeText(128);
    UartModel uart(Port::Uart0, LineTiming::Instant, LineSettings(), mOutputs);
    uart.EnableInterrupts(true, true);
    uart.Receive(AsBytes(text), text.size(), 3ms);
    uart.Advance(3ms);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mBytes, text);
}

TEST_F(UartModelReceiveTest, ReportsWhileItsFarEndHoldsItBack)
{
    mUart.EnableInterrupts(true, true);
    mUart.HoldBack(true);
    Receive("A", 0ms);

    EXPECT_EQ(mUart.GetDeadline(), Time(10ms));
    EXPECT_EQ(ReportedAt(10ms), "A");
}
