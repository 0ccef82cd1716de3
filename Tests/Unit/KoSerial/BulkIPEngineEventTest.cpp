#include "BulkTest.h"

#include <cstring>

namespace
{

class BulkIPEngineEventTest : public BulkTest
{
protected:
    /// Sends one event with these bytes after the status word; returns the bytes that it brought.
    Bytes Receive(std::uint16_t aEventId, std::uint32_t aStatus, const Bytes& aBytes)
    {
        const Bytes data = MakeData(aStatus, aBytes);
        mDevice.SendEvent(aEventId, data.data(), static_cast<std::uint32_t>(data.size()));
        return mBulk.ReadAll();
    }

    static Bytes MakeData(std::uint32_t aStatus, const Bytes& aBytes)
    {
        Bytes data(4);
        std::memcpy(data.data(), &aStatus, 4);
        data.insert(data.end(), aBytes.begin(), aBytes.end());
        return data;
    }

    /// Opens the port and forgets the events that this set.
    void Listen()
    {
        Open();
        mHost.mEventSets.clear();
    }
};

TEST_F(BulkIPEngineEventTest, AnEventBringsEveryByteAfterTheStatus)
{
    Listen();
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, RX, {0x41, 0x00, 0xFF, 0x42, 0x43}), (Bytes{0x41, 0x00, 0xFF, 0x42, 0x43}));
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_TRUE(mHost.mEventSets.empty());
}

TEST_F(BulkIPEngineEventTest, AnyOfThreeStatusBitsMeansReceivedBytes)
{
    Listen();
    for (std::uint32_t bit = 0; bit < 32; ++bit)
    {
        const bool receives = bit >= 8 && bit <= 10;
        EXPECT_EQ(Receive(SERIAL_INTERRUPT, 1U << bit, {0x41}), receives ? Bytes{0x41} : Bytes{}) << bit;
    }
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, 0x700, {0x41}), Bytes{0x41});
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, 0xFFFFF8FF, {0x41}), Bytes{});
}

TEST_F(BulkIPEngineEventTest, BothEventIdsAreAcceptedAlike)
{
    Listen();
    for (const std::uint16_t id : {SERIAL_INTERRUPT, BULK_INTERRUPT})
    {
        mHost.mLog.clear();
        mHost.mEventSets.clear();
        EXPECT_EQ(Receive(id, RX | TX_EMPTY | TX_PARTIAL, {0x41, 0x42}), (Bytes{0x41, 0x42}));
        EXPECT_EQ(mHost.mEventSets.size(), 3U);
        EXPECT_EQ(mHost.GetTexts().front(), "Rx Interrupt of length 2");
    }
}

TEST_F(BulkIPEngineEventTest, OtherEventsAreIgnored)
{
    Listen();
    for (const std::uint16_t id : std::vector<std::uint16_t>{0, 1, 0x7000, 0x7001, 0x8FFF, 0x9002, 0x9003, 0xFFFF})
    {
        EXPECT_TRUE(Receive(id, 0xFFFFFFFF, {0x41}).empty()) << id;
    }
    mBulk.NotifyInvalidatedGenParameter(KoString("BulkMode"));
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mHost.mEventSets.empty());
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(BulkIPEngineEventTest, AnEventShorterThanItsStatusIsIgnored)
{
    Listen();
    const Bytes data = MakeData(0xFFFFFFFF, {});
    mDevice.SendEvent(SERIAL_INTERRUPT, nullptr, 0);
    for (std::uint32_t length = 1; length < 4; ++length)
    {
        mDevice.SendEvent(SERIAL_INTERRUPT, data.data(), length);
    }
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mHost.mEventSets.empty());
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(BulkIPEngineEventTest, AnEventOfNothingButItsStatusBringsNoByte)
{
    Listen();
    EXPECT_TRUE(Receive(SERIAL_INTERRUPT, RX, {}).empty());
    EXPECT_EQ(mHost.GetTexts(), Texts{"Rx Interrupt of length 0"});
    EXPECT_EQ(mBulk.mRxHead, 0U);
}

TEST_F(BulkIPEngineEventTest, ReceivedBytesComeBeforeTheTransmitInterrupts)
{
    Listen();
    const Bytes data = MakeData(RX | TX_EMPTY | TX_PARTIAL, {0x41, 0x0A});
    mDevice.SendEvent(SERIAL_INTERRUPT, data.data(), 6);
    EXPECT_EQ(mHost.GetTexts(), (Texts{"Rx Interrupt of length 2", "RxBuffer Head: 1 Tail 0", "RxBuffer Head: 2 Tail 0",
                                       "Tx fifo empty interrupt", "Tx fifo partial empty interrupt"}));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG).size(), mHost.mLog.size());
}

TEST_F(BulkIPEngineEventTest, TheEmptyInterruptSetsThePartialEventToo)
{
    Listen();
    mDevice.SendWords(SERIAL_INTERRUPT, {RX | TX_EMPTY});
    EXPECT_EQ(mHost.mEventSets, (HostRecorder::Events{&mBulk.mTxFifoPartialEvent, &mBulk.mTxFifoEmptyEvent}));
    EXPECT_EQ(mHost.GetTexts(), (Texts{"Rx Interrupt of length 0", "Tx fifo empty interrupt"}));
}

TEST_F(BulkIPEngineEventTest, ThePartialInterruptSetsThePartialEventOnly)
{
    Listen();
    mDevice.SendWords(SERIAL_INTERRUPT, {TX_PARTIAL});
    EXPECT_EQ(mHost.mEventSets, HostRecorder::Events{&mBulk.mTxFifoPartialEvent});
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG), Texts{"Tx fifo partial empty interrupt"});
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(BulkIPEngineEventTest, APayloadMayLieAtAnyAddress)
{
    Listen();
    const Bytes data = MakeData(RX, {0x41, 0x42, 0x43});
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        for (std::size_t offset = 0; offset < 4; ++offset)
        {
            Bytes memory(offset + data.size());
            std::memcpy(memory.data() + offset, data.data(), data.size());
            mDevice.SendEvent(BULK_INTERRUPT, memory.data() + offset, static_cast<std::uint32_t>(data.size()));
            EXPECT_EQ(mBulk.ReadAll(), (Bytes{0x41, 0x42, 0x43}));
        }
    }
}

TEST_F(BulkIPEngineEventTest, PortChannelBlockAndTimestampDoNotMatter)
{
    const Bytes data = MakeData(RX | TX_PARTIAL, {0x41});
    for (const KoDeviceSerial port : {KoDeviceSerialInvalid, KoDeviceSerialUart0, KoDeviceSerialBulk0})
    {
        mBulk.mPort = port;
        mHost.mEventSets.clear();
        mBulk.NotifyEvent(SERIAL_INTERRUPT, 0xFFFF, ~std::uint64_t{0}, ~std::uint64_t{0}, data.data(), 5);
        EXPECT_EQ(mBulk.ReadAll(), Bytes{0x41});
        EXPECT_EQ(mHost.mEventSets.size(), 1U);
    }
}

TEST_F(BulkIPEngineEventTest, EventsTraceNothingWhenTracingIsOff)
{
    Listen();
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    EXPECT_EQ(Receive(SERIAL_INTERRUPT, RX | TX_EMPTY | TX_PARTIAL, {0x41, 0x42}), (Bytes{0x41, 0x42}));
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_EQ(mHost.mEventSets.size(), 3U);
}

TEST_F(BulkIPEngineEventTest, TheMutexIsTakenOncePerEventBeforeAnythingIsTraced)
{
    Listen();
    const Bytes data = MakeData(RX | TX_EMPTY, {1, 2, 3, 4, 5});
    for (const auto level : {KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG})
    {
        mHost.mEnabledLevel = level;
        mHost.mLog.clear();
        mHost.mTaken.clear();
        mHost.mBeforeNextLock = [this] { EXPECT_TRUE(mHost.mLog.empty()); };
        mDevice.SendEvent(SERIAL_INTERRUPT, data.data(), 9);
        EXPECT_EQ(mHost.mTaken, HostRecorder::Locks{&mBulk.mMutex});
        EXPECT_TRUE(mHost.GetHeld().empty());
    }
}

TEST_F(BulkIPEngineEventTest, TheMutexIsHeldForTheWholeBatchAndNoLonger)
{
    Listen();
    const Bytes data = MakeData(RX | TX_EMPTY | TX_PARTIAL, {1, 2});
    mHost.mLog.clear();
    mDevice.SendEvent(SERIAL_INTERRUPT, data.data(), 6);
    std::vector<std::size_t> locks;
    for (const LogEntry& entry : mHost.mLog)
    {
        locks.push_back(entry.mLocks);
    }
    EXPECT_EQ(locks, (std::vector<std::size_t>{1, 1, 1, 0, 0}));
}

TEST_F(BulkIPEngineEventTest, AnEventLeavesTheSameRingWhetherTracedOrNot)
{
    for (std::size_t count = 0; count <= 20; ++count)
    {
        const Bytes data = MakeData(RX, MakeBytes(count));
        TestBulk traced;
        TestBulk silent;
        for (TestBulk* const bulk : {&traced, &silent})
        {
            mHost.mEnabledLevel = bulk == &traced ? KuUtilsLib::LOG_DEBUG : KuUtilsLib::LOG_INFO;
            bulk->SetRxBufferSize(7);
            bulk->PushToRxBuffer(0xEE, true);
            bulk->NotifyEvent(SERIAL_INTERRUPT, 0, 0, 0, data.data(), static_cast<std::uint32_t>(data.size()));
        }
        EXPECT_EQ(traced.mRxHead, silent.mRxHead);
        EXPECT_EQ(traced.mRxTail, silent.mRxTail);
        EXPECT_EQ(traced.ReadAll(), silent.ReadAll());
    }
}

TEST_F(BulkIPEngineEventTest, AnEventWakesAReader)
{
    Listen();
    const Bytes data = MakeData(RX, {0x41, 0x42});
    mHost.At(20, [&] { mDevice.SendEvent(BULK_INTERRUPT, data.data(), 6); });
    std::uint8_t buffer[8] = {};
    std::uint32_t count = 0;
    EXPECT_TRUE(mBulk.Read(buffer, 8, count, 500).IsOK());
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(mHost.Now(), 1020U);
    EXPECT_EQ(mBulk.mBytesReceived, 2U);
}

TEST_F(BulkIPEngineEventTest, BytesThatArriveDuringAWriteAreKept)
{
    Listen();
    const Bytes data = MakeData(RX | TX_EMPTY, {0x41, 0x42});
    mOnChunk = [&](std::size_t) { mDevice.SendEvent(SERIAL_INTERRUPT, data.data(), 6); };
    EXPECT_TRUE(Write(MakeBytes(300)).IsOK());
    EXPECT_EQ(mBulk.ReadAll(), (Bytes{0x41, 0x42, 0x41, 0x42}));
}

} // namespace
