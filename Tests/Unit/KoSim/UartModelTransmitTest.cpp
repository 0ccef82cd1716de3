#include "UartModel.h"

#include "ModelOutputs.h"
#include "Registers.h"

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

/// A UART whose bytes take 10 ms.
class UartModelTransmitTest : public ::testing::Test
{
protected:
    OutputQueue mOutputs;
    UartModel mUart{Port::Uart0, LineTiming::Real, {1000, LineParity::None, 8, 1}, mOutputs};
};

TEST_F(UartModelTransmitTest, HasNothingToDoAtFirst)
{
    mUart.Advance(1h);

    EXPECT_TRUE(mOutputs.empty());
    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
    EXPECT_EQ(mUart.ReadData(), 0U);
}

TEST_F(UartModelTransmitTest, TakesTheTimeOfTheBitsUntilAByteIsOut)
{
    mUart.WriteData('A', 5ms);
    mUart.Advance(15ms - 1ns);
    EXPECT_TRUE(mOutputs.empty());
    EXPECT_EQ(mUart.GetDeadline(), Time(15ms));

    mUart.Advance(15ms);
    EXPECT_EQ(TakeLineBytes(mOutputs), "A");
    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
}

TEST_F(UartModelTransmitTest, IsBusyUntilTheByteIsOut)
{
    mUart.WriteData('A', 0ms);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_TX_BUSY);

    mUart.Advance(10ms);
    EXPECT_EQ(mUart.ReadData(), 0U);
}

TEST_F(UartModelTransmitTest, SendsTheLowestEightBitsOfWhatIsWritten)
{
    mUart.WriteData(0xFFFFFF41, 0ms);
    mUart.Advance(10ms);

    EXPECT_EQ(TakeLineBytes(mOutputs), "A");
}

TEST_F(UartModelTransmitTest, LosesAndCountsAByteThatIsWrittenWhileItIsBusy)
{
    mUart.WriteData('A', 0ms);
    mUart.WriteData('B', 5ms);
    mUart.WriteData('C', 9ms);
    mUart.Advance(1s);

    EXPECT_EQ(TakeLineBytes(mOutputs), "A");
    EXPECT_EQ(mUart.mStatistics.mTxOverruns, 2U);
    EXPECT_EQ(mUart.mStatistics.mSentBytes, 1U);
}

TEST_F(UartModelTransmitTest, SendsTheNextByteAfterTheFirst)
{
    mUart.WriteData('A', 0ms);
    mUart.Advance(10ms);
    mUart.WriteData('B', 12ms);
    mUart.Advance(22ms);

    EXPECT_EQ(TakeLineBytes(mOutputs), "AB");
    EXPECT_EQ(mUart.mStatistics.mTxOverruns, 0U);
    EXPECT_EQ(mUart.mStatistics.mSentBytes, 2U);
}

TEST_F(UartModelTransmitTest, ConfirmsNothingWhileItsInterruptIsOff)
{
    mUart.EnableInterrupts(false, true);
    mUart.WriteData('A', 0ms);
    mUart.Advance(10ms);

    EXPECT_TRUE(TakeEvents(mOutputs).empty());
    EXPECT_EQ(mUart.mStatistics.mSentBytes, 1U);
}

TEST_F(UartModelTransmitTest, ConfirmsAByteOnceWhenItIsOut)
{
    mUart.EnableInterrupts(true, false);
    mUart.WriteData('A', 0ms);
    mUart.Advance(10ms);
    mUart.Advance(1s);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mPort, Port::Uart0);
    EXPECT_EQ(events[0].mEventId, EVENT_SERIAL_INTERRUPT);
    EXPECT_EQ(events[0].mTime, Time(10ms));
    EXPECT_EQ(events[0].mStatus, INTERRUPT_UART_TX);
    EXPECT_EQ(events[0].mBytes, "");
    EXPECT_EQ(events[0].mReceivedBytes, 0U);
}

TEST_F(UartModelTransmitTest, HandsAByteToTheFarEndBeforeItConfirmsIt)
{
    mUart.EnableInterrupts(true, true);
    mUart.WriteData('A', 0ms);
    mUart.Advance(10ms);

    ASSERT_EQ(mOutputs.size(), 2U);
    EXPECT_TRUE(std::holds_alternative<LineOutput>(mOutputs[0]));
    EXPECT_TRUE(std::holds_alternative<EventOutput>(mOutputs[1]));
}

TEST_F(UartModelTransmitTest, ConfirmsBeforeItReportsAByteThatArrivesAtTheSameTime)
{
    const std::uint8_t byte = 'Z';
    mUart.EnableInterrupts(true, true);
    mUart.WriteData('A', 0ms);
    mUart.Receive(&byte, 1, 0ms);
    mUart.Advance(10ms);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 2U);
    EXPECT_EQ(events[0].mStatus, INTERRUPT_UART_TX);
    EXPECT_EQ(events[1].mStatus, INTERRUPT_UART_RX);
}

TEST_F(UartModelTransmitTest, ConfirmsForTheSecondUartTwoBitsHigher)
{
    UartModel uart(Port::Uart1, LineTiming::Real, {1000, LineParity::None, 8, 1}, mOutputs);
    uart.EnableInterrupts(true, true);
    uart.WriteData('A', 0ms);
    uart.Advance(10ms);
    const std::vector<SerialEvent> events = TakeEvents(mOutputs);

    ASSERT_EQ(events.size(), 1U);
    EXPECT_EQ(events[0].mPort, Port::Uart1);
    EXPECT_EQ(events[0].mStatus, 0x4U);
}

TEST_F(UartModelTransmitTest, NeedsNoTimeOnAnInstantLine)
{
    UartModel uart(Port::Uart0, LineTiming::Instant, LineSettings(), mOutputs);
    uart.WriteData('A', 3ms);
    EXPECT_EQ(uart.GetDeadline(), Time(3ms));
    uart.Advance(3ms);

    EXPECT_EQ(TakeLineBytes(mOutputs), "A");
}

TEST_F(UartModelTransmitTest, KeepsAByteWhileItsFarEndHoldsItBack)
{
    mUart.EnableInterrupts(true, false);
    mUart.HoldBack(true);
    mUart.WriteData('A', 0ms);
    mUart.Advance(1s);
    EXPECT_TRUE(mOutputs.empty());
    EXPECT_EQ(mUart.GetDeadline(), std::nullopt);
    EXPECT_EQ(mUart.ReadData(), UART_DATA_TX_BUSY);

    mUart.HoldBack(false);
    EXPECT_LE(mUart.GetDeadline(), Time(1s));
    mUart.Advance(1s);
    EXPECT_EQ(TakeLineBytes(mOutputs), "A");
    EXPECT_EQ(mUart.ReadData(), 0U);
}
