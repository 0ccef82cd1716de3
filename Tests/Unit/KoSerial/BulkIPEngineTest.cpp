#include "BulkTest.h"

#include <array>
#include <memory>

namespace
{

class BulkIPEngineTest : public BulkTest
{
protected:
    /// Leaves Open with the failure of one call; expects the result of the device, no entry, and a port half open.
    void ExpectHalfOpen(const std::string& aFailing, std::size_t aCount)
    {
        SCOPED_TRACE(aFailing + ' ' + std::to_string(aCount));
        mDevice.mRefusal = KoResult(77, KoString("busy"));
        mDevice.FailCall(aFailing, aCount);
        mHost.mLog.clear();
        const KoResult result = mBulk.Open(&mDevice, KoDeviceSerialBulk0);
        EXPECT_EQ(result.GetCode(), 77U);
        EXPECT_STREQ(result.GetDescription().GetAscii(), "busy");
        EXPECT_TRUE(mHost.mLog.empty());
        EXPECT_EQ(mDevice.TakeCalls().back().compare(0, aFailing.size(), aFailing), 0);
        ExpectHeldUntilClose();
    }

    void ExpectHeldUntilClose()
    {
        EXPECT_TRUE(mBulk.IsOpened());
        EXPECT_EQ(mDevice.mSinks.size(), 1U);
        TestBulk second;
        EXPECT_EQ(second.Open(&mDevice, KoDeviceSerialBulk0).GetCode(), KoResult::GENERIC_ERROR);
        EXPECT_TRUE(mBulk.Close().IsOK());
        EXPECT_TRUE(mDevice.mSinks.empty());
        EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        EXPECT_TRUE(mBulk.Close().IsOK());
        mDevice.TakeCalls();
    }
};

TEST_F(BulkIPEngineTest, BeginsClosedWithoutOptionsAndWithItsDefaultTiming)
{
    EXPECT_FALSE(mBulk.IsOpened());
    EXPECT_FALSE(mBulk.mTxOptionBit9 || mBulk.mTxOptionBit10 || mBulk.mTxOptionBit11 || mBulk.mTxOptionBit12);
    EXPECT_EQ(mBulk.mSavedIntEnable, (std::array<bool, 5>{}));
    EXPECT_EQ(mBulk.mFirstChunkSize, 256U);
    EXPECT_EQ(mBulk.mChunkSize, 128U);
    EXPECT_EQ(mBulk.mTimePerByte, 0.03000000003);
}

TEST_F(BulkIPEngineTest, OnlyThePartialEventIsResetByAWait)
{
    EXPECT_EQ(mHost.mEventsMade, (std::vector<bool>{true, true, false}));
    mBulk.mTxFifoEmptyEvent.Set();
    mBulk.mTxFifoPartialEvent.Set();
    EXPECT_EQ(mBulk.mTxFifoEmptyEvent.Wait_ms(0).GetCode(), KoResult::OK);
    EXPECT_EQ(mBulk.mTxFifoPartialEvent.Wait_ms(0).GetCode(), KoResult::OK);
    EXPECT_EQ(mBulk.mTxFifoEmptyEvent.Wait_ms(0).GetCode(), KoResult::OK);
    EXPECT_NE(mBulk.mTxFifoPartialEvent.Wait_ms(0).GetCode(), KoResult::OK);
}

TEST_F(BulkIPEngineTest, OpenChecksLocksSubscribesReadsEnablesAndResetsInThisOrder)
{
    mDevice.mRegisters[BULK_CONFIG] = {0x050010C0};
    mDevice.mRegisters[CLOCK_DIVIDER] = {0x12345678};
    EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    EXPECT_EQ(mDevice.TakeCalls(),
              (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision",
                     "ReadRegister 0xB8FC", "GetDeviceId", "RegisterEventSink", "ReadRegister 0xB898",
                     "ReadRegister 0xB954", "ReadRegister 0xB838", "WriteRegister 0xB838 0x1F00", "ReadRegister 0xB898",
                     "WriteRegister 0xB898 0x50018C0", "WriteRegister 0xB898 0x50010C0"}));
    EXPECT_TRUE(mBulk.IsOpened());
    EXPECT_EQ(mBulk.mDevice, &mDevice);
    EXPECT_EQ(mBulk.mPort, KoDeviceSerialBulk0);
    EXPECT_STREQ(mBulk.mPortName.GetAscii(), mDevice.mIdentity.c_str());
    EXPECT_EQ(mDevice.mSinks, std::vector<IKoDeviceEventSink*>{&mBulk});
    EXPECT_EQ(mBulk.mBulkConfig, 0x050010C0U);
    EXPECT_EQ(mBulk.mBulkClockDivider, 0x12345678U);
    EXPECT_EQ(mBulk.mTimePerByte, 1000.0 / 115200);
    EXPECT_EQ(mBulk.mFirstChunkSize, 256U);
    EXPECT_EQ(mBulk.mChunkSize, 247U);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTest, OpenResetsTheStatistics)
{
    mBulk.mBytesSent = 5;
    mBulk.mBytesReceived = 6;
    Open();
    EXPECT_EQ(mBulk.mBytesSent, 0U);
    EXPECT_EQ(mBulk.mBytesReceived, 0U);
}

TEST_F(BulkIPEngineTest, OpenFailsOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    ExpectFailure(mBulk.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_CONNECTED, "Open",
                  "The device is not currently connected.");
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_FALSE(mBulk.IsOpened());
}

TEST_F(BulkIPEngineTest, OpenFailsOnAPortThatTheDeviceDoesNotOffer)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000002};
    ExpectFailure(mBulk.Open(&mDevice, KoDeviceSerialBulk0), KoResult::NOT_SUPPORTED, "Open",
                  "The specified port is not supported by this device.");
    EXPECT_EQ(mDevice.TakeCalls().back(), "ReadRegister 0xB8FC");
    mDevice.mRegisters[FUNCTION_CAPS] = {0x80000010};
    ExpectFailure(mBulk.Open(&mDevice, KoDeviceSerialBulk1), KoResult::NOT_SUPPORTED, "Open",
                  "The specified port is not supported by this device.");
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_CRITICAL), Texts{"Port 3 is invalid"});
    EXPECT_FALSE(mBulk.IsOpened());
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
}

TEST_F(BulkIPEngineTest, OpenFailsOnAPortThatAnotherEngineHolds)
{
    Open();
    TestBulk second;
    ExpectFailure(second.Open(&mDevice, KoDeviceSerialBulk0), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
    EXPECT_EQ(mDevice.TakeCalls().back(), "GetDeviceId");
    EXPECT_FALSE(second.IsOpened());
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
}

TEST_F(BulkIPEngineTest, OpenIgnoresARefusedSubscriptionAndAMissingIdentity)
{
    mDevice.FailEvery("RegisterEventSink");
    mDevice.FailEvery("GetDeviceId");
    EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    EXPECT_STREQ(mBulk.mPortName.GetAscii(), "");
    EXPECT_TRUE(mBulk.Close().IsOK());
}

TEST_F(BulkIPEngineTest, OpenThatCannotReadTheConfigurationLeavesThePortHalfOpen)
{
    ExpectHalfOpen("ReadRegister 0xB898", 1);
    ExpectHalfOpen("ReadRegister 0xB954", 1);
}

TEST_F(BulkIPEngineTest, OpenThatCannotResetTheFifosLeavesThePortHalfOpen)
{
    ExpectHalfOpen("ReadRegister 0xB898", 2);
    ExpectHalfOpen("WriteRegister 0xB898", 1);
    ExpectHalfOpen("WriteRegister 0xB898", 2);
}

TEST_F(BulkIPEngineTest, OpenThatCannotReadTheInterruptBitsLeavesThePortHalfOpen)
{
    mBulk.mBytesSent = 5;
    mDevice.mRegisters[INTENABLE] = {0xFFFFFFFF};
    mDevice.mRefusal = KoResult(77, KoString("busy"));
    mDevice.FailCall("ReadRegister 0xB838");
    ExpectFailure(mBulk.Open(&mDevice, KoDeviceSerialBulk0), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed to write value 0 to Intenable register.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mDevice.TakeCalls().back(), "ReadRegister 0xB838");
    EXPECT_EQ(mBulk.mBytesSent, 0U);
    ExpectHeldUntilClose();
}

TEST_F(BulkIPEngineTest, OpenThatCannotWriteTheInterruptBitsLeavesThePortHalfOpen)
{
    mDevice.mRegisters[INTENABLE] = {0xA05};
    mDevice.mRefusal = KoResult(77, KoString("busy"));
    mDevice.FailCall("WriteRegister 0xB838");
    ExpectFailure(mBulk.Open(&mDevice, KoDeviceSerialBulk0), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed to write value 1f05 to Intenable register.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
    EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 0x1F05");
    ExpectHeldUntilClose();
}

TEST_F(BulkIPEngineTest, OpenThatFailsKeepsTheStatisticsUntilTheConfigurationIsKnown)
{
    for (const char* const failing : {"ReadRegister 0xB898", "ReadRegister 0xB954"})
    {
        mBulk.mBytesSent = 5;
        mDevice.FailCall(failing);
        EXPECT_FALSE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        EXPECT_EQ(mBulk.mBytesSent, 5U);
        EXPECT_EQ(mBulk.mFirstChunkSize, 256U);
        EXPECT_EQ(mBulk.mChunkSize, 128U);
        EXPECT_EQ(mBulk.mTimePerByte, 0.03000000003);
        EXPECT_TRUE(mBulk.Close().IsOK());
    }
}

TEST_F(BulkIPEngineTest, CloseRestoresReleasesAndUnsubscribesInThisOrder)
{
    mDevice.mRegisters[INTENABLE] = {0x0, 0x1F0F};
    Open();
    mDevice.SendWords(SERIAL_INTERRUPT, {RX, 0x41});
    EXPECT_TRUE(mBulk.Close().IsOK());
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "ReadRegister 0xB838", "WriteRegister 0xB838 0xF",
                                          "GetDeviceId", "UnregisterEventSink"}));
    EXPECT_FALSE(mBulk.IsOpened());
    EXPECT_EQ(mBulk.mPort, KoDeviceSerialInvalid);
    EXPECT_TRUE(mBulk.ReadAll().empty());
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
}

TEST_F(BulkIPEngineTest, CloseFailsWithoutADevice)
{
    ExpectFailure(mBulk.Close(), KoResult::NOT_CONNECTED, "Close", "Device pointer is NULL.");
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(BulkIPEngineTest, CloseUndoesNothingOnADisconnectedDevice)
{
    Open();
    mDevice.mConnected = false;
    ExpectFailure(mBulk.Close(), KoResult::NOT_CONNECTED, "Close", "The device is not currently connected.");
    EXPECT_EQ(mDevice.TakeCalls(), Texts{"IsConnected"});
    mDevice.mConnected = true;
    ExpectHeldUntilClose();
}

TEST_F(BulkIPEngineTest, CloseIgnoresInterruptBitsAndSubscriptionsThatCannotBeUndone)
{
    for (const char* const failing : {"ReadRegister 0xB838", "WriteRegister 0xB838", "UnregisterEventSink"})
    {
        Open();
        mDevice.FailCall(failing);
        EXPECT_TRUE(mBulk.Close().IsOK()) << failing;
        EXPECT_FALSE(mBulk.IsOpened());
        EXPECT_EQ(mDevice.TakeCalls().back(), "UnregisterEventSink");
    }
}

TEST_F(BulkIPEngineTest, CloseKeepsTheStatistics)
{
    Open();
    mBulk.mBytesSent = 5;
    mBulk.mBytesReceived = 6;
    mBulk.Close();
    EXPECT_EQ(mBulk.mBytesSent, 5U);
    EXPECT_EQ(mBulk.mBytesReceived, 6U);
}

TEST_F(BulkIPEngineTest, DestructionOfAnOpenEngineUndoesNothing)
{
    auto engine = std::make_unique<TestBulk>();
    ASSERT_TRUE(engine->Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    mDevice.TakeCalls();
    engine.reset();
    EXPECT_TRUE(mDevice.TakeCalls().empty());
    EXPECT_EQ(mBulk.Open(&mDevice, KoDeviceSerialBulk0).GetCode(), KoResult::GENERIC_ERROR);
    EXPECT_TRUE(mHost.GetTexts(KuUtilsLib::LOG_WARNING).empty());
}

TEST_F(BulkIPEngineTest, ResetPulsesBit11AndKeepsTheOtherBits)
{
    Open();
    for (const std::uint32_t before : {0x0U, 0x800U, 0xFFFFFFFFU, 0x12345678U})
    {
        mDevice.mRegisters[BULK_CONFIG] = {before};
        EXPECT_TRUE(mBulk.Reset().IsOK());
        EXPECT_EQ(mDevice.TakeCalls(), (Texts{"ReadRegister 0xB898", "WriteRegister 0xB898 " + HexText(before | 0x800),
                                              "WriteRegister 0xB898 " + HexText(before & ~0x800U)}));
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineTest, ResetEndsAtTheFirstCallThatFailsWithItsResult)
{
    Open();
    mDevice.mRefusal = KoResult(77, KoString("busy"));
    const Texts allCalls = {"ReadRegister 0xB898", "WriteRegister 0xB898 0x18C0", "WriteRegister 0xB898 0x10C0"};
    for (std::size_t i = 0; i < allCalls.size(); ++i)
    {
        mDevice.FailCall(allCalls[i]);
        const KoResult result = mBulk.Reset();
        EXPECT_EQ(result.GetCode(), 77U);
        EXPECT_STREQ(result.GetDescription().GetAscii(), "busy");
        EXPECT_EQ(mDevice.TakeCalls(), Texts(allCalls.begin(), allCalls.begin() + static_cast<std::ptrdiff_t>(i) + 1));
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

} // namespace
