#include "BulkTest.h"

#include <array>

namespace
{

class BulkIPEngineInterruptsTest : public BulkTest
{
};

TEST_F(BulkIPEngineInterruptsTest, OpenEnablesTheFiveBulkInterruptsAndLeavesTheOthersAsTheyAre)
{
    for (const std::uint32_t before : {0x0U, 0x1F00U, 0xFU, 0xFFFFE0FFU, 0xFFFFFFFFU, 0x0A05U})
    {
        mDevice.mRegisters[INTENABLE] = {before};
        ASSERT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        const Texts calls = mDevice.TakeCalls();
        EXPECT_EQ(calls[calls.size() - 4], "WriteRegister 0xB838 " + HexText(before | 0x1F00));
        mBulk.Close();
        mDevice.TakeCalls();
    }
}

TEST_F(BulkIPEngineInterruptsTest, CloseRestoresEachBitThatOpenFound)
{
    for (std::uint32_t saved = 0; saved < 32; ++saved)
    {
        for (const std::uint32_t atClose : {0x0U, 0xFU, 0x1F00U, 0xFFFFFFFFU})
        {
            mDevice.mRegisters[INTENABLE] = {0xF | saved << 8, atClose};
            Open();
            mBulk.Close();
            EXPECT_EQ(mDevice.TakeCalls()[2], "WriteRegister 0xB838 " + HexText((atClose & ~0x1F00U) | saved << 8));
        }
    }
}

TEST_F(BulkIPEngineInterruptsTest, CloseAfterAnOpenThatNeverSawTheBitsDisablesThem)
{
    mDevice.mRegisters[INTENABLE] = {0xFFFFFFFF};
    mDevice.FailCall("ReadRegister 0xB898");
    EXPECT_FALSE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    mDevice.TakeCalls();
    EXPECT_TRUE(mBulk.Close().IsOK());
    EXPECT_EQ(mDevice.TakeCalls()[2], "WriteRegister 0xB838 0xFFFFE0FF");
}

TEST_F(BulkIPEngineInterruptsTest, CloseAfterAnOpenThatCouldNotEnableTheBitsRestoresThoseItFound)
{
    mDevice.mRegisters[INTENABLE] = {0xA00, 0x0};
    mDevice.FailCall("WriteRegister 0xB838");
    EXPECT_FALSE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    mDevice.TakeCalls();
    EXPECT_TRUE(mBulk.Close().IsOK());
    EXPECT_EQ(mDevice.TakeCalls()[2], "WriteRegister 0xB838 0xA00");
}

TEST_F(BulkIPEngineInterruptsTest, BitsThatCannotBeReadAreReportedAsAFailedWriteOfZero)
{
    Open();
    mDevice.mRegisters[INTENABLE] = {0xFFFFFFFF};
    for (const bool restore : {false, true})
    {
        mBulk.mSavedIntEnable = {true, false, true, false, true};
        mDevice.FailCall("ReadRegister 0xB838");
        ExpectFailure(mBulk.EnableInterrupts(restore), KoResult::GENERIC_ERROR, "EnableInterrupts",
                      "Failed to write value 0 to Intenable register.");
        EXPECT_EQ(mDevice.TakeCalls(), Texts{"ReadRegister 0xB838"});
        EXPECT_EQ(mBulk.mSavedIntEnable, (std::array<bool, 5>{true, false, true, false, true}));
    }
    EXPECT_EQ(mHost.mLog.size(), 2U);
}

TEST_F(BulkIPEngineInterruptsTest, BitsThatCannotBeWrittenAreReportedWithTheValueInLowerCase)
{
    Open();
    mDevice.mRegisters[INTENABLE] = {0xABCDE0EF};
    mDevice.FailCall("WriteRegister 0xB838");
    ExpectFailure(mBulk.EnableInterrupts(false), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed to write value abcdffef to Intenable register.");
    mBulk.mSavedIntEnable = {false, true, false, false, false};
    mDevice.FailCall("WriteRegister 0xB838");
    ExpectFailure(mBulk.EnableInterrupts(true), KoResult::GENERIC_ERROR, "EnableInterrupts",
                  "Failed to write value abcde2ef to Intenable register.");
    EXPECT_EQ(mHost.mLog.size(), 2U);
}

TEST_F(BulkIPEngineInterruptsTest, AFailureHasNoDescriptionWhenTheHostHandsNoTextBack)
{
    Open();
    mHost.mResultsCarryText = false;
    mDevice.FailCall("ReadRegister 0xB838");
    ExpectBareFailure(mBulk.EnableInterrupts(false), KoResult::GENERIC_ERROR);
    EXPECT_EQ(mHost.GetTexts(), Texts{"Failed to write value 0 to Intenable register."});
}

TEST_F(BulkIPEngineInterruptsTest, InterruptsOfAnyOtherPortAreNotSupportedButTheirBitsAreKept)
{
    mDevice.mRegisters[INTENABLE] = {0x1500};
    for (const KoDeviceSerial port : {KoDeviceSerialInvalid, KoDeviceSerialUart0, KoDeviceSerialBulk1})
    {
        mBulk.Init(&mDevice, port, "camera");
        mBulk.mSavedIntEnable = {};
        ExpectFailure(mBulk.EnableInterrupts(true), KoResult::NOT_SUPPORTED, "EnableInterrupts",
                      "The specified port is not supported by this device.");
        EXPECT_EQ(mBulk.mSavedIntEnable, (std::array<bool, 5>{}));
        ExpectFailure(mBulk.EnableInterrupts(false), KoResult::NOT_SUPPORTED, "EnableInterrupts",
                      "The specified port is not supported by this device.");
        EXPECT_EQ(mBulk.mSavedIntEnable, (std::array<bool, 5>{true, false, true, false, true}));
        EXPECT_EQ(mDevice.TakeCalls(), (Texts{"ReadRegister 0xB838", "ReadRegister 0xB838"}));
    }
    mBulk.mDevice = nullptr;
}

TEST_F(BulkIPEngineInterruptsTest, RestoringBeforeAnythingWasSavedDisablesTheInterrupts)
{
    mBulk.Init(&mDevice, KoDeviceSerialBulk0, "camera");
    mDevice.mRegisters[INTENABLE] = {0x1FFF};
    EXPECT_TRUE(mBulk.EnableInterrupts(true).IsOK());
    EXPECT_EQ(mDevice.TakeCalls().back(), "WriteRegister 0xB838 0xFF");
    EXPECT_TRUE(mHost.mLog.empty());
    mBulk.mDevice = nullptr;
}

} // namespace
