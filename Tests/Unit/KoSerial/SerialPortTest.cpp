#include "AllocationCounter.h"
#include "SlotOf.h"
#include "TestPort.h"

#include <DeviceSerialPort.h>
#include <KoDeviceSerial.h>

#include <new>

namespace
{

class SerialPortTest : public BareHostTest
{
protected:
    HostRecorder::Locks OnlyThePortsMutex() const { return {&mPort.mMutex}; }

    TestPort mPort;
};

TEST_F(SerialPortTest, PortIdentifiersKeepTheirNumbers)
{
    static_assert(sizeof(KoDeviceSerial) == 4);
    EXPECT_EQ(KoDeviceSerialUart0, 0);
    EXPECT_EQ(KoDeviceSerialUart1, 1);
    EXPECT_EQ(KoDeviceSerialBulk0, 2);
    EXPECT_EQ(KoDeviceSerialBulk1, 3);
    EXPECT_EQ(KoDeviceSerialBulk2, 4);
    EXPECT_EQ(KoDeviceSerialBulk3, 5);
    EXPECT_EQ(KoDeviceSerialBulk4, 6);
    EXPECT_EQ(KoDeviceSerialBulk5, 7);
    EXPECT_EQ(KoDeviceSerialBulk6, 8);
    EXPECT_EQ(KoDeviceSerialBulk7, 9);
    EXPECT_EQ(static_cast<std::uint32_t>(KoDeviceSerialInvalid), 0xFFFFFFFFU);
}

TEST_F(SerialPortTest, VirtualOperationsKeepTheirPlaces)
{
    using KoSerialLib::SerialPort;
    EXPECT_EQ(SlotOf(&SerialPort::NotifyEvent), 0U);
    EXPECT_EQ(SlotOf(&SerialPort::NotifyInvalidatedGenParameter), 1U);
    EXPECT_EQ(SlotOf(&SerialPort::Close), 4U);
    EXPECT_EQ(SlotOf(&SerialPort::IsOpened), 5U);
    EXPECT_EQ(SlotOf(&SerialPort::Write), 6U);
    EXPECT_EQ(SlotOf(&SerialPort::GetWriteProgress), 7U);
    EXPECT_EQ(SlotOf(&SerialPort::FlushRxBuffer), 8U);
    EXPECT_EQ(SlotOf(&SerialPort::GetRxBytesReady), 9U);
    EXPECT_EQ(SlotOf(&SerialPort::GetRxBufferSize), 10U);
    EXPECT_EQ(SlotOf(&SerialPort::SetRxBufferSize), 11U);
    EXPECT_EQ(SlotOf(&KoSerialLib::DeviceSerialPort::Open), 12U);
}

TEST_F(SerialPortTest, IsClosedAndEmptyAfterConstruction)
{
    EXPECT_EQ(mPort.mDevice, nullptr);
    EXPECT_EQ(mPort.mPort, KoDeviceSerialInvalid);
    EXPECT_STREQ(mPort.mPortName.GetAscii(), "");
    EXPECT_NE(mPort.mRxBuffer, nullptr);
    EXPECT_EQ(mPort.mRxBufferSize, 16384U);
    EXPECT_EQ(mPort.mRxHead, 0U);
    EXPECT_EQ(mPort.mRxTail, 0U);
    EXPECT_FALSE(mPort.mReaderWaiting);
    EXPECT_EQ(mPort.mWriteDone, 0U);
    EXPECT_EQ(mPort.mWriteTotal, 0U);
    EXPECT_EQ(mPort.mBytesSent, 0U);
    EXPECT_EQ(mPort.mBytesReceived, 0U);
    EXPECT_EQ(mPort.CountReady(), 0U);
}

TEST_F(SerialPortTest, OwnsALoggerFromConstructionToDestruction)
{
    const int before = mHost.mHeapLoggers;
    {
        const TestPort port;
        EXPECT_NE(port.mLogger, nullptr);
        EXPECT_EQ(mHost.mHeapLoggers, before + 1);
    }
    EXPECT_EQ(mHost.mHeapLoggers, before);
}

TEST_F(SerialPortTest, InitStoresDevicePortAndNameWithoutALock)
{
    mHost.mTaken.clear();
    mPort.Init(&mDevice, KoDeviceSerialBulk3, "camera 7");
    EXPECT_EQ(mPort.mDevice, &mDevice);
    EXPECT_EQ(mPort.mPort, KoDeviceSerialBulk3);
    EXPECT_STREQ(mPort.mPortName.GetAscii(), "camera 7");
    EXPECT_TRUE(mHost.mTaken.empty());
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(SerialPortTest, CloseForgetsDevicePortNameUnreadBytesAndWriteProgress)
{
    mPort.Init(&mDevice, KoDeviceSerialUart1, "camera");
    mPort.Push({1, 2, 3});
    mPort.ReadAll(1);
    mPort.StartWrite(5);
    mPort.mWriteDone = 2;
    mHost.mTaken.clear();

    EXPECT_TRUE(mPort.Close().IsOK());

    EXPECT_EQ(mHost.mTaken, OnlyThePortsMutex());
    EXPECT_EQ(mPort.mDevice, nullptr);
    EXPECT_EQ(mPort.mPort, KoDeviceSerialInvalid);
    EXPECT_STREQ(mPort.mPortName.GetAscii(), "");
    EXPECT_EQ(mPort.mRxHead, 0U);
    EXPECT_EQ(mPort.mRxTail, 0U);
    EXPECT_EQ(mPort.mWriteDone, 0U);
    EXPECT_EQ(mPort.mWriteTotal, 0U);
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(SerialPortTest, CloseKeepsTheRingItsSizeAndTheStatistics)
{
    mPort.SetRxBufferSize(64);
    mPort.mBytesSent = 11;
    mPort.mBytesReceived = 12;
    const std::uint8_t* const ring = mPort.mRxBuffer.get();
    mPort.Close();
    mPort.Init(&mDevice, KoDeviceSerialUart0, "camera");
    EXPECT_EQ(mPort.mRxBuffer.get(), ring);
    EXPECT_EQ(mPort.mRxBufferSize, 64U);
    EXPECT_EQ(mPort.mBytesSent, 11U);
    EXPECT_EQ(mPort.mBytesReceived, 12U);
}

TEST_F(SerialPortTest, DestructionClosesUnderTheMutexAndLeavesTheDeviceAlone)
{
    {
        TestPort port;
        port.Init(&mDevice, KoDeviceSerialUart0, "camera");
        mHost.mTaken.clear();
    }
    EXPECT_EQ(mHost.mTaken.size(), 1U);
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(SerialPortTest, IgnoresEventsAndInvalidations)
{
    mPort.Init(&mDevice, KoDeviceSerialUart0, "camera");
    const std::uint32_t words[] = {0xF, 0x41};
    mHost.mTaken.clear();
    mPort.NotifyEvent(0x9000, 1, 2, 3, words, sizeof(words));
    mPort.NotifyInvalidatedGenParameter(KoString("BulkMode"));
    EXPECT_TRUE(mHost.mTaken.empty());
    EXPECT_EQ(mPort.CountReady(), 0U);
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_TRUE(mDevice.TakeCalls().empty());
}

TEST_F(SerialPortTest, ResetStatisticsClearsBothCountsWithoutALock)
{
    mPort.mBytesSent = 3;
    mPort.mBytesReceived = 4;
    mHost.mTaken.clear();
    mPort.ResetStatistics();
    EXPECT_EQ(mPort.mBytesSent, 0U);
    EXPECT_EQ(mPort.mBytesReceived, 0U);
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(SerialPortTest, WriteProgressFailsAsLongAsNothingWasWritten)
{
    std::uint32_t written = 7;
    std::uint32_t total = 8;
    mHost.mTaken.clear();
    ExpectFailure(mPort.GetWriteProgress(written, total), KoResult::STATE_ERROR, "GetWriteProgress",
                  "Serial Port write progress queried when no write operation has been started or completed");
    EXPECT_EQ(written, 7U);
    EXPECT_EQ(total, 8U);
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(SerialPortTest, WriteProgressTellsBytesDoneAndRequestedWithoutALock)
{
    mPort.StartWrite(9);
    mPort.mWriteDone = 4;
    mHost.mTaken.clear();
    std::uint32_t written = 0;
    std::uint32_t total = 0;
    EXPECT_TRUE(mPort.GetWriteProgress(written, total).IsOK());
    EXPECT_EQ(written, 4U);
    EXPECT_EQ(total, 9U);
    EXPECT_TRUE(mHost.mTaken.empty());

    mPort.StartWrite(3);
    EXPECT_TRUE(mPort.GetWriteProgress(written, total).IsOK());
    EXPECT_EQ(written, 0U);
    EXPECT_EQ(total, 3U);
}

TEST_F(SerialPortTest, WriteProgressFailsAgainAfterClose)
{
    mPort.StartWrite(9);
    mPort.Close();
    std::uint32_t written = 0;
    std::uint32_t total = 0;
    EXPECT_EQ(mPort.GetWriteProgress(written, total).GetCode(), KoResult::STATE_ERROR);
}

TEST_F(SerialPortTest, AFailureHasNoDescriptionWhenTheLoggerReturnsNoText)
{
    mHost.mResultsCarryText = false;
    std::uint32_t ignored = 0;
    ExpectBareFailure(mPort.GetWriteProgress(ignored, ignored), KoResult::STATE_ERROR);
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(SerialPortTest, AFailureHasTheCodeThatTheLoggerReturns)
{
    mHost.mResultCodeOffset = 1;
    std::uint32_t ignored = 0;
    EXPECT_EQ(mPort.GetWriteProgress(ignored, ignored).GetCode(), KoResult::STATE_ERROR + 1U);
}

TEST_F(SerialPortTest, ADefaultRingHolds16383BytesAndLosesTheFirstOf16384)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    for (std::uint32_t i = 0; i < 16384; ++i)
    {
        mPort.PushToRxBuffer(static_cast<std::uint8_t>(i % 251), true);
    }
    EXPECT_EQ(mPort.CountReady(), 16383U);
    const Bytes bytes = mPort.ReadAll(20000);
    ASSERT_EQ(bytes.size(), 16383U);
    for (std::uint32_t i = 0; i < bytes.size(); ++i)
    {
        ASSERT_EQ(bytes[i], (i + 1) % 251) << i;
    }
    EXPECT_TRUE(mHost.mLog.empty()) << "neither overflow nor bytes are reported when tracing is off";
}

TEST_F(SerialPortTest, AFullRingKeepsTheNewestBytes)
{
    mPort.SetRxBufferSize(4);
    mPort.Push({1, 2, 3, 4, 5, 6, 7, 8, 9});
    EXPECT_EQ(mPort.CountReady(), 3U);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{7, 8, 9}));
}

TEST_F(SerialPortTest, ARingOfSizeOneHoldsNothing)
{
    EXPECT_TRUE(mPort.SetRxBufferSize(1).IsOK());
    mPort.Push({1, 2});
    EXPECT_EQ(mPort.CountReady(), 0U);
}

TEST_F(SerialPortTest, BytesReadyCountsAcrossTheEndOfTheRing)
{
    mPort.PrepareRing(8, 6);
    mPort.Push({1, 2, 3, 4});
    EXPECT_EQ(mPort.mRxHead, 2U);
    EXPECT_EQ(mPort.mRxTail, 6U);
    mHost.mTaken.clear();
    EXPECT_EQ(mPort.CountReady(), 4U);
    EXPECT_EQ(mHost.mTaken, OnlyThePortsMutex());
}

TEST_F(SerialPortTest, PushTakesTheMutexOnlyWhenAskedTo)
{
    mHost.mTaken.clear();
    mPort.PushToRxBuffer(1, false);
    EXPECT_TRUE(mHost.mTaken.empty());
    mPort.PushToRxBuffer(2, true);
    EXPECT_EQ(mHost.mTaken, OnlyThePortsMutex());
    EXPECT_TRUE(mHost.GetHeld().empty());
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2}));
}

TEST_F(SerialPortTest, PushTracesWhileItHoldsTheMutex)
{
    mHost.mLog.clear();
    mPort.PushToRxBuffer(1, true);
    ASSERT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mHost.mLog[0].mLocks, 1U);
}

TEST_F(SerialPortTest, PushTracesTheNewHeadAndTheTailBeforeAnOverflowMovesIt)
{
    mPort.SetRxBufferSize(3);
    mPort.Push({1, 2, 3, 4});
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_DEBUG), (Texts{"RxBuffer Head: 1 Tail 0", "RxBuffer Head: 2 Tail 0",
                                                            "RxBuffer Head: 0 Tail 0", "RxBuffer Head: 1 Tail 1"}));
    EXPECT_EQ(mHost.mLog.size(), 4U);
}

TEST_F(SerialPortTest, PushSignalsOnlyAReaderThatWaits)
{
    mPort.PushToRxBuffer(1, true);
    EXPECT_NE(mPort.mRxEvent.Wait_ms(0).GetCode(), KoResult::OK);
    mPort.mReaderWaiting = true;
    mPort.PushToRxBuffer(2, true);
    EXPECT_EQ(mPort.mRxEvent.Wait_ms(0).GetCode(), KoResult::OK);
}

TEST_F(SerialPortTest, FlushForgetsTheUnreadBytesUnderTheMutex)
{
    mPort.Push({1, 2, 3});
    mPort.ReadAll(1);
    mHost.mTaken.clear();
    EXPECT_TRUE(mPort.FlushRxBuffer().IsOK());
    EXPECT_EQ(mHost.mTaken, OnlyThePortsMutex());
    EXPECT_EQ(mPort.mRxHead, 0U);
    EXPECT_EQ(mPort.mRxTail, 0U);
    EXPECT_EQ(mPort.CountReady(), 0U);
}

TEST_F(SerialPortTest, FlushAndCloseForgetAByteThatCameWhileTheyWaitedForTheMutex)
{
    mHost.mBeforeNextLock = [this] { mPort.PushToRxBuffer(1, false); };
    EXPECT_TRUE(mPort.FlushRxBuffer().IsOK());
    EXPECT_EQ(mPort.CountReady(), 0U);

    mPort.Init(&mDevice, KoDeviceSerialUart0, "camera");
    mHost.mBeforeNextLock = [this]
    {
        EXPECT_EQ(mPort.mDevice, &mDevice);
        EXPECT_STREQ(mPort.mPortName.GetAscii(), "camera");
        mPort.PushToRxBuffer(1, false);
        mPort.StartWrite(5);
    };
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_EQ(mPort.CountReady(), 0U);
    EXPECT_EQ(mPort.mWriteTotal, 0U);
}

TEST_F(SerialPortTest, SetRxBufferSizeEmptiesTheRing)
{
    mPort.Push({1, 2, 3});
    mPort.ReadAll(1);
    mHost.mTaken.clear();
    EXPECT_TRUE(mPort.SetRxBufferSize(10).IsOK());
    EXPECT_EQ(mHost.mTaken, OnlyThePortsMutex());
    EXPECT_EQ(mPort.mRxHead, 0U);
    EXPECT_EQ(mPort.mRxTail, 0U);
    EXPECT_EQ(mPort.CountReady(), 0U);
    mPort.Push({1, 2, 3, 4, 5, 6, 7, 8, 9, 10});
    EXPECT_EQ(mPort.ReadAll(), (Bytes{2, 3, 4, 5, 6, 7, 8, 9, 10}));
}

TEST_F(SerialPortTest, ANewRingSizeIsReportedBeforeTheRingIsLocked)
{
    std::uint32_t size = 0;
    mHost.mBeforeNextLock = [&] { EXPECT_TRUE(mPort.GetRxBufferSize(size).IsOK()); };
    mPort.SetRxBufferSize(77);
    EXPECT_EQ(size, 77U);
    mHost.mTaken.clear();
    mPort.GetRxBufferSize(size);
    EXPECT_EQ(size, 77U);
    EXPECT_TRUE(mHost.mTaken.empty());
}

TEST_F(SerialPortTest, BytesThatArriveWhileTheRingShrinksStayInsideIt)
{
    mPort.PrepareRing(16, 12);
    mHost.mBeforeNextLock = [&]
    {
        mPort.Push({1, 2, 3, 4, 5, 6});
        EXPECT_EQ(mPort.CountReady(), 6U);
        EXPECT_EQ(mPort.ReadAll(4), (Bytes{1, 2, 3, 4}));
    };
    EXPECT_TRUE(mPort.SetRxBufferSize(4).IsOK());
    EXPECT_EQ(mPort.CountReady(), 0U);
    mPort.Push({7, 8, 9});
    EXPECT_EQ(mPort.ReadAll(), (Bytes{7, 8, 9}));
}

TEST_F(SerialPortTest, BytesThatArriveWhileTheRingGrowsStayInsideIt)
{
    mPort.PrepareRing(4, 3);
    mHost.mBeforeNextLock = [&]
    {
        mPort.Push({1, 2, 3, 4, 5});
        EXPECT_EQ(mPort.ReadAll(), (Bytes{3, 4, 5}));
    };
    EXPECT_TRUE(mPort.SetRxBufferSize(4096).IsOK());
    EXPECT_EQ(mPort.CountReady(), 0U);
}

TEST_F(SerialPortTest, TheRingStaysAsItIsWhenThereIsNoMemoryForAnother)
{
    mPort.Push({1, 2, 3});
    FailAllocationsFrom(1 << 20);
    EXPECT_THROW(mPort.SetRxBufferSize(1 << 20), std::bad_alloc);
    EXPECT_TRUE(StopFailingAllocations());
    std::uint32_t size = 0;
    EXPECT_TRUE(mPort.GetRxBufferSize(size).IsOK());
    EXPECT_EQ(size, 16384U);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2, 3}));
}

TEST_F(SerialPortTest, ARingOfSizeZeroIsRefusedAndTheRingStaysAsItIs)
{
    mPort.SetRxBufferSize(16);
    mPort.Push({1, 2, 3});
    EXPECT_EQ(mPort.SetRxBufferSize(0).GetCode(), KoResult::INVALID_PARAMETER);
    std::uint32_t size = 0;
    mPort.GetRxBufferSize(size);
    EXPECT_EQ(size, 16U);
    EXPECT_EQ(mPort.ReadAll(), (Bytes{1, 2, 3}));
}

} // namespace
