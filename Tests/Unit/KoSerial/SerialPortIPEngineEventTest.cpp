#include "UartTest.h"

#include <cstring>

namespace
{

class SerialPortIPEngineEventTest : public UartTest
{
protected:
    /// Sends one event; returns the bytes that it brought.
    Bytes Receive(std::uint16_t aEventId, const std::vector<std::uint32_t>& aWords)
    {
        mDevice.SendWords(aEventId, aWords);
        return mUart.ReadAll();
    }
};

TEST_F(SerialPortIPEngineEventTest, AnEventBringsTheLowByteOfEachWordAfterTheStatus)
{
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, {0x2, 0xFFFFFF41, 0x00000100, 0x12345642}), (Bytes{0x41, 0x00, 0x42}));
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, {0xFFFFFFFE, 0x43}), Bytes{0x43});
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(SerialPortIPEngineEventTest, EachUartTakesOnlyItsOwnBytes)
{
    Open(KoDeviceSerialUart0);
    TestUart uart1;
    ASSERT_TRUE(uart1.Open(&mDevice, KoDeviceSerialUart1).IsOK());
    mDevice.SendWords(SERIAL_INTERRUPT, {0x2, 0x41});
    mDevice.SendWords(SERIAL_INTERRUPT, {0x8, 0x42});
    mDevice.SendWords(SERIAL_INTERRUPT, {0x5, 0x43});
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x41});
    EXPECT_EQ(uart1.ReadAll(), Bytes{0x42});
    EXPECT_TRUE(uart1.Close().IsOK());
}

TEST_F(SerialPortIPEngineEventTest, EachUartTakesOnlyItsOwnConfirmation)
{
    for (const KoDeviceSerial port : {KoDeviceSerialUart0, KoDeviceSerialUart1})
    {
        Open(port);
        mHost.mLog.clear();
        const std::uint32_t own = port == KoDeviceSerialUart0 ? 0x1 : 0x4;
        mDevice.SendWords(SERIAL_INTERRUPT, {~own});
        EXPECT_EQ(mHost.GetTexts(), Texts{});
        mDevice.SendWords(SERIAL_INTERRUPT, {own});
        EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG), Texts{"Tx confirmation received"});
        mUart.Close();
    }
}

TEST_F(SerialPortIPEngineEventTest, OtherEventsAreIgnored)
{
    Open(KoDeviceSerialUart0);
    for (const std::uint16_t id : std::vector<std::uint16_t>{0, 1, 0x8FFF, 0x9001, 0xFFFF})
    {
        EXPECT_TRUE(Receive(id, {0xF, 0x41}).empty()) << id;
    }
    mUart.NotifyInvalidatedGenParameter(KoString("BulkMode"));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortIPEngineEventTest, AnEventCarriesOneByteForEachWholeWordAfterTheFirst)
{
    Open(KoDeviceSerialUart0);
    const std::uint32_t words[] = {0x3, 0x41, 0x42, 0x43};
    for (std::uint32_t length = 0; length <= sizeof(words); ++length)
    {
        SCOPED_TRACE(length);
        mHost.mLog.clear();
        mDevice.SendEvent(SERIAL_INTERRUPT, length == 0 ? nullptr : words, length);
        const bool confirmed = !mHost.mLog.empty() && mHost.mLog.back().mText == "Tx confirmation received";
        EXPECT_EQ(confirmed, length >= 4);
        Bytes expected{0x41, 0x42, 0x43};
        expected.resize(length < 4 ? 0 : length / 4 - 1);
        EXPECT_EQ(mUart.ReadAll(), expected);
    }
}

TEST_F(SerialPortIPEngineEventTest, APayloadMayLieAtAnyAddress)
{
    Open(KoDeviceSerialUart0);
    const std::uint32_t words[] = {0x2, 0x41, 0x42};
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        for (std::size_t offset = 0; offset < 4; ++offset)
        {
            Bytes memory(offset + sizeof(words));
            std::memcpy(memory.data() + offset, words, sizeof(words));
            mDevice.SendEvent(SERIAL_INTERRUPT, memory.data() + offset, sizeof(words));
            EXPECT_EQ(mUart.ReadAll(), (Bytes{0x41, 0x42}));
        }
    }
}

TEST_F(SerialPortIPEngineEventTest, ChannelBlockAndTimestampDoNotMatter)
{
    Open(KoDeviceSerialUart0);
    const std::uint32_t words[] = {0x2, 0x41};
    mUart.NotifyEvent(SERIAL_INTERRUPT, 0xFFFF, ~std::uint64_t{0}, ~std::uint64_t{0}, words, sizeof(words));
    EXPECT_EQ(mUart.ReadAll(), Bytes{0x41});
}

TEST_F(SerialPortIPEngineEventTest, EventsAreIgnoredOnAnyOtherPort)
{
    const std::uint32_t words[] = {0xFFFFFFFF, 0x41};
    for (const KoDeviceSerial port : {KoDeviceSerialInvalid, KoDeviceSerialBulk0, KoDeviceSerialBulk7})
    {
        mUart.mPort = port;
        mUart.NotifyEvent(SERIAL_INTERRUPT, 0, 0, 0, words, sizeof(words));
        EXPECT_EQ(mUart.mRxHead, 0U);
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortIPEngineEventTest, ReceivedBytesComeBeforeTheConfirmation)
{
    Open(KoDeviceSerialUart1);
    mDevice.SendWords(SERIAL_INTERRUPT, {0xC, 0x41, 0x0A});
    EXPECT_EQ(mHost.GetTexts(), (Texts{"Received byte [0x41]", "RxBuffer Head: 1 Tail 0", "Received byte [0x0A]",
                                       "RxBuffer Head: 2 Tail 0", "Tx confirmation received"}));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG).size(), mHost.mLog.size());
}

TEST_F(SerialPortIPEngineEventTest, TheMutexIsHeldForAllBytesAndNotForTheConfirmation)
{
    Open(KoDeviceSerialUart0);
    mDevice.SendWords(SERIAL_INTERRUPT, {0x3, 0x41, 0x42});
    EXPECT_EQ(mHost.GetLocks(), (std::vector<std::size_t>{1, 1, 1, 1, 0}));
}

TEST_F(SerialPortIPEngineEventTest, TheMutexIsTakenForReceivedDataOnlyEvenWhenThereIsNone)
{
    Open(KoDeviceSerialUart0);
    mDevice.SendWords(SERIAL_INTERRUPT, {0x1, 0x41});
    EXPECT_TRUE(mHost.mTaken.empty());
    mDevice.SendWords(SERIAL_INTERRUPT, {0x2});
    EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mUart.mMutex});
}

TEST_F(SerialPortIPEngineEventTest, EventsTraceNothingWhenTracingIsOff)
{
    Open(KoDeviceSerialUart0);
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, {0x3, 0x41, 0x42}), (Bytes{0x41, 0x42}));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialPortIPEngineEventTest, TheMutexIsTakenOncePerEvent)
{
    Open(KoDeviceSerialUart0);
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        mHost.mTaken.clear();
        mDevice.SendWords(SERIAL_INTERRUPT, {0x3, 0x41, 0x42, 0x43});
        EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mUart.mMutex});
    }
}

TEST_F(SerialPortIPEngineEventTest, AnEventLeavesTheSameRingWhetherTracedOrNot)
{
    for (std::uint32_t count = 0; count <= 20; ++count)
    {
        std::vector<std::uint32_t> words = {0x2};
        for (std::uint32_t i = 0; i < count; ++i)
        {
            words.push_back(i + 1);
        }
        TestUart traced;
        TestUart silent;
        for (TestUart* const uart : {&traced, &silent})
        {
            mHost.mEnabledLevel = uart == &traced ? KuUtilsLib::LOG_DEBUG : KuUtilsLib::LOG_INFO;
            uart->SetRxBufferSize(7);
            uart->mPort = KoDeviceSerialUart0;
            uart->PushToRxBuffer(0xEE, true);
            uart->NotifyEvent(SERIAL_INTERRUPT, 0, 0, 0, words.data(), (count + 1) * 4);
        }
        EXPECT_EQ(traced.mRxHead, silent.mRxHead);
        EXPECT_EQ(traced.mRxTail, silent.mRxTail);
        EXPECT_EQ(traced.ReadAll(), silent.ReadAll());
    }
}

TEST_F(SerialPortIPEngineEventTest, AnEventWakesAReader)
{
    Open(KoDeviceSerialUart0);
    mHost.At(20, [this] { mDevice.SendWords(SERIAL_INTERRUPT, {0x2, 0x41, 0x42}); });
    std::uint8_t buffer[8] = {};
    std::uint32_t count = 0;
    EXPECT_TRUE(mUart.Read(buffer, 8, count, 500).IsOK());
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(mHost.Now(), 1020U);
}

} // namespace
