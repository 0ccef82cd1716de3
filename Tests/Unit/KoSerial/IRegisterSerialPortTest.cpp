#include "FeaturePortTest.h"

#include <limits>
#include <memory>
#include <type_traits>

namespace
{

using KoSerialLib::BulkWithI2C;
using KoSerialLib::DeviceSerialPort;
using KoSerialLib::IRegisterSerialPort;

static_assert(std::has_virtual_destructor_v<IRegisterSerialPort>);
static_assert(std::is_base_of_v<BulkWithI2C, IRegisterSerialPort>);
static_assert(std::is_base_of_v<DeviceSerialPort, BulkWithI2C>);
static_assert(std::is_abstract_v<BulkWithI2C>);

const Texts FEATURE_CALLS = {std::string("IsGenRegisterPresent ") + DOWNSTREAM,
                             std::string("IsGenIntegerPresent ") + UPSTREAM_LENGTH,
                             std::string("IsGenRegisterPresent ") + UPSTREAM_BUFFER};

class IRegisterSerialPortTest : public FeaturePortTest
{
protected:
    bool IsSupported() { return IRegisterSerialPort::IsSupported(&mDevice, BULK2); }

    bool IsSPISupported(ScriptedAdapter* aDevice)
    {
        return IRegisterSerialPort::IsProtocolSupported(aDevice, BULK2, KoString("SPI"));
    }
};

TEST_F(IRegisterSerialPortTest, TheNamesOfTheFeaturesCarryTheIndexOfTheBulkPort)
{
    EXPECT_STREQ(IRegisterSerialPort::GetDownstreamData(KoDeviceSerialBulk1), "Bulk1DownstreamData");
    EXPECT_STREQ(IRegisterSerialPort::GetUpstreamDataLength(KoDeviceSerialBulk0), "EventBulk0UpstreamDataLength");
    EXPECT_STREQ(IRegisterSerialPort::GetUpstreamDataBuffer(KoDeviceSerialBulk7), "EventBulk7UpstreamDataBuffer");
    for (int i = 0; i < 8; ++i)
    {
        const auto port = static_cast<KoDeviceSerial>(2 + i);
        const std::string bulk = "Bulk" + std::to_string(i);
        EXPECT_EQ(bulk + "DownstreamData", IRegisterSerialPort::GetDownstreamData(port).GetAscii());
        EXPECT_EQ("Event" + bulk + "UpstreamDataLength", IRegisterSerialPort::GetUpstreamDataLength(port).GetAscii());
        EXPECT_EQ("Event" + bulk + "UpstreamDataBuffer", IRegisterSerialPort::GetUpstreamDataBuffer(port).GetAscii());
    }
}

TEST_F(IRegisterSerialPortTest, AnyOtherPortHasNoFeatures)
{
    for (const int number : {-1, 0, 1, 10, -2, 0x7FFFFFFF, std::numeric_limits<int>::min(), 256 + 2})
    {
        const auto port = static_cast<KoDeviceSerial>(number);
        EXPECT_STREQ(IRegisterSerialPort::GetDownstreamData(port), "") << number;
        EXPECT_STREQ(IRegisterSerialPort::GetUpstreamDataLength(port), "") << number;
        EXPECT_STREQ(IRegisterSerialPort::GetUpstreamDataBuffer(port), "") << number;
    }
}

TEST_F(IRegisterSerialPortTest, IsNotSupportedWithoutADevice)
{
    EXPECT_FALSE(IRegisterSerialPort::IsSupported(nullptr, BULK2));
    EXPECT_EQ(TakeStory(), Texts{"[3] Device pointer is NULL."});
}

TEST_F(IRegisterSerialPortTest, IsNotSupportedOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    EXPECT_FALSE(IsSupported());
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[3] The device is not currently connected."}));
}

TEST_F(IRegisterSerialPortTest, IsNotSupportedOnAForeignVideoInterface)
{
    mDevice.mTavricVideoInterface = false;
    EXPECT_FALSE(IsSupported());
    EXPECT_EQ(TakeStory(),
              (Texts{"IsConnected", "IsTavricVideoInterface", "[3] The device is not on a Tavric video interface."}));
}

TEST_F(IRegisterSerialPortTest, IsSupportedOnADeviceWithTheThreeFeaturesOfThePort)
{
    mDevice.mGigEVision = false;
    const int loggers = mHost.mHeapLoggers;
    EXPECT_TRUE(IsSupported());
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "IsTavricVideoInterface"} + FEATURE_CALLS));
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
}

TEST_F(IRegisterSerialPortTest, AsksForAllThreeFeaturesWhicheverAreMissing)
{
    for (unsigned missing = 1; missing < 8; ++missing)
    {
        for (unsigned feature = 0; feature < 3; ++feature)
        {
            if ((missing >> feature & 1) != 0)
            {
                mDevice.FailCall(FEATURE_CALLS[feature]);
            }
        }
        EXPECT_FALSE(IsSupported()) << missing;
        EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "IsTavricVideoInterface"} + FEATURE_CALLS)) << missing;
    }
    EXPECT_TRUE(IsSupported());
}

TEST_F(IRegisterSerialPortTest, OnlyThePortWithTheFeaturesIsSupported)
{
    for (int port = -2; port <= 10; ++port)
    {
        EXPECT_EQ(IRegisterSerialPort::IsSupported(&mDevice, static_cast<KoDeviceSerial>(port)), port == BULK2) << port;
    }
}

TEST_F(IRegisterSerialPortTest, AUartIsNotSupportedForItsFeaturesHaveNoName)
{
    EXPECT_FALSE(IRegisterSerialPort::IsSupported(&mDevice, KoDeviceSerialUart1));
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "IsTavricVideoInterface", "IsGenRegisterPresent ",
                                  "IsGenIntegerPresent ", "IsGenRegisterPresent "}));
}

TEST_F(IRegisterSerialPortTest, NoProtocolIsSupportedWithoutADevice)
{
    EXPECT_FALSE(IsSPISupported(nullptr));
    EXPECT_EQ(TakeStory(), Texts{"[3] Device pointer is NULL."});
}

TEST_F(IRegisterSerialPortTest, NoProtocolIsSupportedOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    EXPECT_FALSE(IsSPISupported(&mDevice));
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "[3] The device is not currently connected."}));
}

TEST_F(IRegisterSerialPortTest, NoProtocolIsSupportedOnAPortThatIsNot)
{
    mDevice.mEnumerations["BulkMode"].mEntries = {"SPI"};
    mDevice.mIntegers.erase(UPSTREAM_LENGTH);
    EXPECT_FALSE(IsSPISupported(&mDevice));
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface"} + FEATURE_CALLS));
}

TEST_F(IRegisterSerialPortTest, TheSupportTestOfAProtocolLogsWhyThePortIsNotSupported)
{
    mDevice.mTavricVideoInterface = false;
    EXPECT_FALSE(IsSPISupported(&mDevice));
    EXPECT_EQ(TakeStory(), (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface",
                                  "[3] The device is not on a Tavric video interface."}));
}

TEST_F(IRegisterSerialPortTest, TheBulkModeOfTheMomentTellsWhichProtocolsAreSupported)
{
    mDevice.mEnumerations["BulkMode"].mEntries = {"UART", "SPI"};
    mDevice.mEnumerations["BulkSelector"] = {"Bulk0", {"Bulk0", "Bulk1"}};
    AddBulkPort(mDevice, 1);
    const int loggers = mHost.mHeapLoggers;
    EXPECT_TRUE(IRegisterSerialPort::IsProtocolSupported(&mDevice, KoDeviceSerialBulk1, KoString("SPI")));
    EXPECT_EQ(TakeStory(),
              (Texts{"IsConnected", "IsConnected", "IsTavricVideoInterface", "IsGenRegisterPresent Bulk1DownstreamData",
                     "IsGenIntegerPresent EventBulk1UpstreamDataLength",
                     "IsGenRegisterPresent EventBulk1UpstreamDataBuffer", "IsGenEnumEntryAvailable BulkMode SPI"}));
    EXPECT_FALSE(IRegisterSerialPort::IsProtocolSupported(&mDevice, BULK2, KoString("I2C")));
    EXPECT_EQ(TakeStory().back(), "IsGenEnumEntryAvailable BulkMode I2C");
    EXPECT_EQ(mHost.mHeapLoggers, loggers);
}

TEST_F(IRegisterSerialPortTest, NoProtocolIsSupportedOnADeviceWithoutBulkMode)
{
    EXPECT_FALSE(IsSPISupported(&mDevice));
    EXPECT_EQ(TakeStory().back(), "IsGenEnumEntryAvailable BulkMode SPI");
}

TEST_F(IRegisterSerialPortTest, IsClosedAndWithoutBuffersAndOptionsWhenNew)
{
    EXPECT_FALSE(mPort.IsOpened());
    EXPECT_EQ(mPort.mDevice, nullptr);
    EXPECT_STREQ(mPort.mDownstreamData, "");
    EXPECT_STREQ(mPort.mUpstreamDataLength, "");
    EXPECT_STREQ(mPort.mUpstreamDataBuffer, "");
    EXPECT_STREQ(mPort.mPreviousEventNotification, "");
    EXPECT_EQ(mPort.mDownstreamBuffer, nullptr);
    EXPECT_EQ(mPort.mDownstreamBufferSize, 0U);
    EXPECT_EQ(mPort.mUpstreamBuffer, nullptr);
    EXPECT_EQ(mPort.mUpstreamBufferSize, 0U);
    EXPECT_FALSE(mPort.mTxOptionBit9);
    EXPECT_FALSE(mPort.mTxOptionBit10);
    EXPECT_FALSE(mPort.mTxOptionBit11);
    EXPECT_FALSE(mPort.mTxOptionBit12);
}

TEST_F(IRegisterSerialPortTest, IsOpenWithADeviceAndAllThreeNames)
{
    Open();
    EXPECT_TRUE(mPort.IsOpened());
    for (KoString* const name : {&mPort.mDownstreamData, &mPort.mUpstreamDataLength, &mPort.mUpstreamDataBuffer})
    {
        const KoString kept = *name;
        *name = KoString();
        EXPECT_FALSE(mPort.IsOpened()) << kept.GetAscii();
        *name = kept;
    }
    mPort.mDevice = nullptr;
    EXPECT_FALSE(mPort.IsOpened());
    mPort.mDevice = &mDevice;
    EXPECT_TRUE(mPort.IsOpened());
}

TEST_F(IRegisterSerialPortTest, FreedBuffersAreGoneAndCanBeFreedAgain)
{
    Open();
    EXPECT_TRUE(Write({1}).IsOK());
    mDevice.mIntegers[UPSTREAM_LENGTH] = 1;
    mDevice.Invalidate(UPSTREAM_BUFFER);
    for (int i = 0; i < 2; ++i)
    {
        mPort.FreeDownstreamBuffer();
        EXPECT_EQ(mPort.mDownstreamBuffer, nullptr);
        EXPECT_EQ(mPort.mDownstreamBufferSize, 0U);
        EXPECT_EQ(mPort.mUpstreamBufferSize, i == 0 ? 512U : 0U);
        mPort.FreeUpstreamBuffer();
        EXPECT_EQ(mPort.mUpstreamBuffer, nullptr);
        EXPECT_EQ(mPort.mUpstreamBufferSize, 0U);
    }
}

TEST_F(IRegisterSerialPortTest, DestructionOfAnOpenEngineLeavesThePortLockedAndTheSinkRegistered)
{
    auto port = std::make_unique<TestFeaturePort>(false);
    ASSERT_TRUE(port->Open(&mDevice, BULK2).IsOK());
    const int loggers = mHost.mHeapLoggers;
    Forget();
    port.reset();
    EXPECT_EQ(TakeStory(), Texts{});
    EXPECT_EQ(mHost.mHeapLoggers, loggers - 1);
    EXPECT_EQ(mDevice.mSinks.size(), 1U);
    mDevice.mSinks.clear();
    ExpectFailure(mPort.Open(&mDevice, BULK2), KoResult::GENERIC_ERROR, "Open",
                  "The specified port is already in use.");
}

} // namespace
