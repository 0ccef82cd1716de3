// The settings of a simulated device's ports, and what becomes of bytes when the other end of the line has others.

#include "BusFixture.h"

#include <DeviceSerialPortConfig.h>
#include <KoDeviceSerialPort.h>
#include <KoSim/Loopback.h>

#include <memory>

using KoSerialLib::DeviceSerialPortConfig;
using KoSim::DeviceProfile;

namespace
{

const KoSim::LineSettings SLOW_AND_EVEN = {9600, KoSim::LineParity::Even, 8, 2};
const std::string TEXT = MakeText(300);

std::string GetEnumValue(KoSim::SimulatedDevice& aDevice, const std::string& aName)
{
    KoString value;
    EXPECT_TRUE(aDevice.GetGenEnumValue(aName.c_str(), value).IsOK());
    return value.GetAscii();
}

/// A device with a loopback on a line that runs at 9600 bit/s with even parity and two stop bits.
class PortConfigTest : public ::testing::TestWithParam<BusPort>
{
protected:
    PortConfigTest()
    {
        mDevice.SetLineEnd(ToSimulatedPort(GetParam().mPort), std::make_shared<KoSim::Loopback>(SLOW_AND_EVEN));
    }

    /// What comes back when TEXT is sent.
    std::string SendAndReceive()
    {
        KoDeviceSerialPort port;
        EXPECT_TRUE(port.Open(&mDevice, GetParam().mPort).IsOK());
        EXPECT_TRUE(Write(port, TEXT));
        const std::string received = Read(port, TEXT.size());
        EXPECT_TRUE(port.Close().IsOK());
        return received;
    }

    std::uint64_t GetFramingErrors() const
    {
        return mDevice.GetLineStatistics(ToSimulatedPort(GetParam().mPort)).mFramingErrors;
    }

    void Configure(DeviceSerialPortConfig& aConfig)
    {
        aConfig.SetPort(&mDevice, GetParam().mPort);
        EXPECT_EQ(aConfig.BackupPortConfig().GetCode(), KoResult::OK);
        aConfig.mConfiguration.mBaudRate = SLOW_AND_EVEN.mBaudRate;
        aConfig.mConfiguration.mParity = KoParityEven;
        aConfig.mConfiguration.mStopBits = SLOW_AND_EVEN.mStopBits;
        EXPECT_EQ(aConfig.SyncPortConfig().GetCode(), KoResult::OK);
        EXPECT_EQ(aConfig.GetBaudRate(), SLOW_AND_EVEN.mBaudRate);
    }

    KoSim::SimulatedDevice mDevice{GetParam().mProfile()};
};

} // namespace

TEST_P(PortConfigTest, EveryByteIsGarbageUntilThePortIsSetUpLikeTheOtherEnd)
{
    EXPECT_NE(SendAndReceive(), TEXT);
    EXPECT_EQ(GetFramingErrors(), 2 * TEXT.size());

    DeviceSerialPortConfig config;
    Configure(config);
    EXPECT_EQ(SendAndReceive(), TEXT);
    EXPECT_EQ(GetFramingErrors(), 2 * TEXT.size());
}

TEST_P(PortConfigTest, TheEndOfTheConfigurationGivesThePortItsSettingsBack)
{
    {
        DeviceSerialPortConfig config;
        Configure(config);
    }
    EXPECT_NE(SendAndReceive(), TEXT);
    EXPECT_EQ(GetFramingErrors(), 2 * TEXT.size());
}

INSTANTIATE_TEST_SUITE_P(
    Ports, PortConfigTest,
    ::testing::Values(BusPort{"Uart0", &DeviceProfile::FullDevice, KoDeviceSerialUart0},
                      BusPort{"Uart1", &DeviceProfile::UartOnly, KoDeviceSerialUart1},
                      BusPort{"Bulk0", &DeviceProfile::FullDevice, KoDeviceSerialBulk0},
                      BusPort{"Bulk5", &DeviceProfile::FullDevice, KoDeviceSerialBulk5},
                      BusPort{"Bulk0NoSelector", &DeviceProfile::NoBulkSelector, KoDeviceSerialBulk0},
                      BusPort{"Bulk7NoSelector", &DeviceProfile::NoBulkSelector, KoDeviceSerialBulk7}),
    &GetBusPortName);

TEST(PortConfig, TheSimulatedDeviceOffersTenRates)
{
    KoSim::SimulatedDevice device;
    DeviceSerialPortConfig config;
    config.SetPort(&device, KoDeviceSerialBulk2);

    EXPECT_EQ(config.RefreshSupportedBaudRates().GetCode(), KoResult::OK);
    EXPECT_EQ(config.GetSupportedBaudRateCount(), 10U);
    EXPECT_EQ(config.GetSupportedBaudRate(9), 921600U);
    EXPECT_FALSE(config.IsBaudRateSupported(1200));
}

TEST(PortConfig, ASettingThatCannotBeChangedLeavesTheOthersToBeChanged)
{
    KoSim::SimulatedDevice device;
    device.SetEnumAccess("Uart0Parity", true, false);
    device.SetEnumAccess("Uart0BaudRate", true, false);
    DeviceSerialPortConfig config;
    config.SetPort(&device, KoDeviceSerialUart0);
    config.mConfiguration.mParity = KoParityOdd;
    config.mConfiguration.mStopBits = 2;

    EXPECT_EQ(config.SyncPortConfig().GetCode(), KoResult::OK);
    EXPECT_EQ(GetEnumValue(device, "Uart0Parity"), "None");
    EXPECT_EQ(GetEnumValue(device, "Uart0BaudRate"), "Baud115200");
    EXPECT_EQ(GetEnumValue(device, "Uart0NumOfStopBits"), "Two");
    EXPECT_EQ(config.GetBaudRate(), 0U);
}
