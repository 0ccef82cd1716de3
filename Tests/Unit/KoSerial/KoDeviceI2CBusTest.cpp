#include "FeaturePortTest.h"

#include <KoDeviceI2CBus.h>

#include <type_traits>

namespace
{

static_assert(!std::is_copy_constructible_v<KoDeviceI2CBus> && !std::is_copy_assignable_v<KoDeviceI2CBus>);

/// The public bus on bulk port 2. The frames tell which operation a call reached and with which arguments.
class KoDeviceI2CBusTest : public BareHostTest
{
protected:
    KoDeviceI2CBusTest()
    {
        AddBulkPort(mDevice, 2);
        AddEventFeatures(mDevice);
        mDevice.mEnumerations["BulkMode"].mEntries = {"I2C"};
    }

    void Open()
    {
        ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
        TakeFrames();
    }

    Texts TakeFrames()
    {
        const std::string write = "SetGenRegisterData Bulk2DownstreamData ";
        Texts frames;
        for (const std::string& call : mDevice.TakeCalls())
        {
            if (call.compare(0, write.size(), write) == 0)
            {
                frames.push_back(call.substr(write.size()));
            }
        }
        return frames;
    }

    /// Delivers two bytes while the next read waits.
    void Answer()
    {
        mCount = 99;
        mDevice.mGenRegisters[UPSTREAM_BUFFER] = {5, 6};
        mDevice.mIntegers[UPSTREAM_LENGTH] = 2;
        mHost.At(10, [this] { mDevice.Invalidate(UPSTREAM_BUFFER); });
    }

    void ExpectAnswer(const KoResult& aResult)
    {
        EXPECT_TRUE(aResult.IsOK());
        EXPECT_EQ(mCount, 2U);
        EXPECT_EQ(mBuffer, (Bytes{5, 6}));
        mBuffer = {0, 0};
    }

    KoDeviceI2CBus mBus;
    Bytes mBuffer = {0, 0};
    const Bytes mData = {1, 2, 3};
    std::uint32_t mCount = 0;
};

TEST_F(KoDeviceI2CBusTest, SupportIsThatOfTheDeviceAndThePort)
{
    EXPECT_TRUE(KoDeviceI2CBus::IsSupported(&mDevice, BULK2));
    EXPECT_FALSE(KoDeviceI2CBus::IsSupported(&mDevice, KoDeviceSerialBulk3));
    EXPECT_FALSE(KoDeviceI2CBus::IsSupported(nullptr, BULK2));
}

TEST_F(KoDeviceI2CBusTest, ABusOpensAndClosesAndOpensAgain)
{
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_EQ(mHost.mLog.back().mText, "%s failed. You must first call Open before using this function");
    EXPECT_EQ(mHost.mLog.back().mFunction, "IsOpened");
    EXPECT_EQ(mBus.Close().GetCode(), KoResult::NOT_OPENED);
    AddBulkPort(mDevice, 0);
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(mBus.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        EXPECT_TRUE(mBus.IsOpened());
        EXPECT_TRUE(mBus.Close().IsOK());
        EXPECT_FALSE(mBus.IsOpened());
    }
    ExpectFailure(mBus.Open(&mDevice, KoDeviceSerialBulk3), KoResult::NOT_SUPPORTED, "Open",
                  "I2C Bus is not supported with this device");
}

TEST_F(KoDeviceI2CBusTest, ABusThatGoesAwayIsClosed)
{
    const int loggers = mHost.mHeapLoggers;
    {
        KoDeviceI2CBus bus;
        EXPECT_TRUE(bus.Open(&mDevice, BULK2).IsOK());
        EXPECT_EQ(mDevice.mSinks.size(), 1U);
    }
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
    Open();
}

TEST_F(KoDeviceI2CBusTest, WritesPassTheirArgumentsOn)
{
    Open();
    EXPECT_TRUE(mBus.BurstWrite(0x50, mData.data(), 3, false).IsOK());
    EXPECT_TRUE(mBus.BurstWrite(0x51, mData.data(), 3, true).IsOK());
    EXPECT_TRUE(mBus.IndirectBurstWrite(0x50, 8, mData.data(), 2, false).IsOK());
    EXPECT_TRUE(mBus.IndirectBurstWrite(0x51, 9, mData.data(), 2, true).IsOK());
    EXPECT_TRUE(mBus.MasterTransmitter(0x50, mData.data(), 3, true, false).IsOK());
    EXPECT_TRUE(mBus.MasterTransmitter(0x51, mData.data(), 3, false, true).IsOK());
    EXPECT_EQ(TakeFrames(), (Texts{"70 00 00 00 00 00 00 04 A0 01 02 03", "F0 00 00 00 00 00 00 04 A2 01 02 03",
                                   "70 00 00 00 00 00 00 04 A0 08 01 02", "F0 00 00 00 00 00 00 04 A2 09 01 02",
                                   "B0 00 00 00 00 00 00 04 A0 01 02 03", "70 00 00 00 00 00 00 04 A2 01 02 03"}));
}

TEST_F(KoDeviceI2CBusTest, ReadsPassTheirArgumentsOnAndTheirBytesBack)
{
    Open();
    Answer();
    ExpectAnswer(mBus.BurstRead(0x50, mBuffer.data(), 2, mCount, true));
    Answer();
    ExpectAnswer(mBus.IndirectBurstRead(0x50, 8, mBuffer.data(), 2, mCount, false, true));
    Answer();
    ExpectAnswer(mBus.IndirectBurstRead(0x51, 9, mBuffer.data(), 2, mCount, true, false));
    Answer();
    ExpectAnswer(mBus.MasterReceiverAfterFirstByte(0x50, mBuffer.data(), 2, mCount, false, true));
    Answer();
    ExpectAnswer(mBus.MasterReceiverAfterFirstByte(0x51, mBuffer.data(), 2, mCount, true, false));
    EXPECT_EQ(TakeFrames(), (Texts{"F0 00 00 00 00 00 00 03 A1 02 00 00", "30 00 00 00 00 00 00 02 A0 08 00 00",
                                   "70 00 00 00 00 00 00 03 A1 02 00 00", "F0 00 00 00 00 00 00 02 A2 09 00 00",
                                   "F0 00 00 00 00 00 00 03 A3 02 00 00", "70 00 00 00 00 00 00 03 A1 02 00 00",
                                   "B0 00 00 00 00 00 00 03 A3 02 00 00"}));
}

TEST_F(KoDeviceI2CBusTest, FailuresComeBackUnchanged)
{
    EXPECT_EQ(mBus.BurstWrite(0x50, mData.data(), 3, false).GetCode(), KoResult::NOT_OPENED);
    EXPECT_EQ(mBus.IndirectBurstWrite(0x50, 8, mData.data(), 3, false).GetCode(), KoResult::NOT_OPENED);
    EXPECT_EQ(mBus.BurstRead(0x50, mBuffer.data(), 2, mCount, false).GetCode(), KoResult::NOT_OPENED);
    Open();
    mDevice.mRefusal = KoResult(4711, KoString("The device is on fire."));
    mDevice.FailCall("SetGenRegisterData");
    const KoResult result = mBus.MasterTransmitter(0x50, mData.data(), 3, false, true);
    EXPECT_EQ(result.GetCode(), 4711U);
    EXPECT_STREQ(result.GetDescription().GetAscii(), "The device is on fire.");
    EXPECT_EQ(mBus.BurstRead(0x50, mBuffer.data(), 2, mCount, false).GetCode(), KoResult::TIMEOUT);
}

TEST_F(KoDeviceI2CBusTest, TellsTheLongestWriteOfAnOpenBus)
{
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
    Open();
    EXPECT_EQ(mBus.GetLongestWrite(), 32U - 8U - 1U);
}

} // namespace
