#include "FeaturePortTest.h"

#include <KoDeviceSPIBus.h>

#include <type_traits>

namespace
{

static_assert(!std::is_copy_constructible_v<KoDeviceSPIBus> && !std::is_copy_assignable_v<KoDeviceSPIBus>);

/// The public bus on bulk port 2. The frames tell the arguments with which a call arrived.
class KoDeviceSPIBusTest : public BareHostTest
{
protected:
    KoDeviceSPIBusTest()
    {
        AddBulkPort(mDevice, 2);
        AddEventFeatures(mDevice);
        mDevice.mEnumerations["BulkMode"].mEntries = {"SPI"};
    }

    std::string TakeFrame()
    {
        const std::string write = "SetGenRegisterData Bulk2DownstreamData ";
        for (const std::string& call : mDevice.TakeCalls())
        {
            if (call.compare(0, write.size(), write) == 0)
            {
                return call.substr(write.size());
            }
        }
        return "";
    }

    KoDeviceSPIBus mBus;
    Bytes mBytes = {1, 2, 3};
    std::uint32_t mCount = 99;
};

TEST_F(KoDeviceSPIBusTest, SupportIsThatOfTheDeviceAndThePort)
{
    EXPECT_TRUE(KoDeviceSPIBus::IsSupported(&mDevice, BULK2));
    EXPECT_FALSE(KoDeviceSPIBus::IsSupported(&mDevice, KoDeviceSerialBulk3));
    EXPECT_FALSE(KoDeviceSPIBus::IsSupported(nullptr, BULK2));
}

TEST_F(KoDeviceSPIBusTest, ABusOpensAndClosesAndOpensAgain)
{
    EXPECT_FALSE(mBus.IsOpened());
    EXPECT_EQ(mHost.mLog.back().mFunction, "IsOpened");
    EXPECT_EQ(mHost.mLog.back().mText, "%s failed SPI. You must first call Open before using this function");
    EXPECT_EQ(mBus.Close().GetCode(), KoResult::NOT_OPENED);
    ExpectFailure(mBus.Open(&mDevice, KoDeviceSerialBulk3), KoResult::NOT_SUPPORTED, "Open",
                  "SPI Bus is not supported with this device");
    for (int i = 0; i < 2; ++i)
    {
        EXPECT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
        EXPECT_TRUE(mBus.IsOpened());
        EXPECT_TRUE(mBus.Close().IsOK());
        EXPECT_FALSE(mBus.IsOpened());
    }
    EXPECT_EQ(mBus.Close().GetCode(), KoResult::NOT_CONNECTED);
}

TEST_F(KoDeviceSPIBusTest, ABusThatGoesAwayIsClosed)
{
    const int loggers = mHost.mHeapLoggers;
    {
        KoDeviceSPIBus bus;
        EXPECT_TRUE(bus.Open(&mDevice, BULK2).IsOK());
        EXPECT_EQ(mDevice.mSinks.size(), 1U);
    }
    EXPECT_TRUE(mDevice.mSinks.empty());
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
    EXPECT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
}

TEST_F(KoDeviceSPIBusTest, TransfersPassTheirArgumentsOn)
{
    ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
    EXPECT_TRUE(mBus.BurstWriteAndRead(mBytes.data(), 3, 2, false, true).IsOK());
    EXPECT_EQ(TakeFrame(), "00 00 00 00 00 00 00 07 03 02 00 01 01 02 03 00");
    EXPECT_TRUE(mBus.BurstWriteAndRead(mBytes.data(), 3, 3, true, false).IsOK());
    EXPECT_EQ(TakeFrame(), "00 00 00 00 00 00 00 07 00 00 03 00 01 02 03 00");
}

TEST_F(KoDeviceSPIBusTest, ReadsPassTheirArgumentsOnAndTheirBytesBack)
{
    ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
    mDevice.mGenRegisters[UPSTREAM_BUFFER] = {5, 6};
    mDevice.mIntegers[UPSTREAM_LENGTH] = 2;
    mHost.At(10, [this] { mDevice.Invalidate(UPSTREAM_BUFFER); });
    EXPECT_TRUE(mBus.BurstRead(mBytes.data(), 1, mCount, 70).IsOK());
    EXPECT_EQ(mHost.mWaits, std::vector<std::uint32_t>{70});
    EXPECT_EQ(mCount, 1U);
    EXPECT_EQ(mBytes, (Bytes{5, 2, 3}));
}

TEST_F(KoDeviceSPIBusTest, FailuresComeBackUnchanged)
{
    EXPECT_EQ(mBus.BurstRead(mBytes.data(), 3, mCount, 0).GetCode(), KoResult::NOT_OPENED);
    EXPECT_EQ(mBus.BurstWriteAndRead(mBytes.data(), 3, 0, false, false).GetCode(), KoResult::NOT_OPENED);
    ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
    ExpectFailure(mBus.BurstWriteAndRead(nullptr, 0, 256, false, false), KoResult::INVALID_PARAMETER,
                  "BurstWriteAndRead", "SPI read and write only support up to 255 bytes");
    mDevice.mRefusal = KoResult(4711, KoString("The device is on fire."));
    mDevice.FailCall("SetGenRegisterData");
    EXPECT_EQ(mBus.BurstWriteAndRead(mBytes.data(), 3, 0, false, false).GetCode(), 4711U);
    EXPECT_EQ(mBus.BurstRead(mBytes.data(), 3, mCount, 0).GetCode(), KoResult::TIMEOUT);
}

TEST_F(KoDeviceSPIBusTest, TellsTheLongestWriteOfAnOpenBus)
{
    EXPECT_EQ(mBus.GetLongestWrite(), 0U);
    ASSERT_TRUE(mBus.Open(&mDevice, BULK2).IsOK());
    EXPECT_EQ(mBus.GetLongestWrite(), 32U - 12U);
}

} // namespace
