// Bulk ports through the features of a simulated device, with real threads.

#include "UartFixture.h"

#include <KoDeviceSerialPort.h>
#include <KoSim/CommandConsole.h>
#include <KoSim/Loopback.h>
#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

#include <memory>
#include <string>

using KoSim::DeviceProfile;
using KoSim::Port;

namespace
{

/// A device with a loopback at bulk port 3.
class BulkFeatureTest : public ::testing::TestWithParam<DeviceProfile (*)()>
{
};

std::string GetEventNotification(KoSim::SimulatedDevice& aDevice)
{
    EXPECT_TRUE(aDevice.SetGenEnumValue("EventSelector", "Bulk3UpstreamData").IsOK());
    KoString value;
    EXPECT_TRUE(aDevice.GetGenEnumValue("EventNotification", value).IsOK());
    return value.GetAscii();
}

} // namespace

TEST_P(BulkFeatureTest, EverythingComesBackFromALoopback)
{
    KoSim::SimulatedDevice device(GetParam()());
    device.SetLineEnd(Port::Bulk3, std::make_shared<KoSim::Loopback>());
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());
    ASSERT_TRUE(port.SetRxBufferSize(200000).IsOK());

    const std::string sent = MakeText(100000);
    EXPECT_TRUE(Write(port, sent));
    EXPECT_TRUE(Read(port, sent.size()) == sent);
    EXPECT_EQ(device.GetLineStatistics(Port::Bulk3).mMalformedFrames, 0U);
    EXPECT_TRUE(port.Close().IsOK());
}

INSTANTIATE_TEST_SUITE_P(Profiles, BulkFeatureTest,
                         ::testing::Values(&DeviceProfile::FullDevice, &DeviceProfile::NoBulkSelector,
                                           &DeviceProfile::NotGigEVision, &DeviceProfile::TinyDownstreamRegister));

TEST(BulkFeature, AnInstrumentBehindABulkPortAnswers)
{
    KoSim::SimulatedDevice device;
    device.SetLineEnd(Port::Bulk7, std::make_shared<KoSim::CommandConsole>());
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk7).IsOK());

    EXPECT_TRUE(Write(port, "zoom?\r\n"));
    EXPECT_EQ(Read(port, 3), "0\r\n");
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(BulkFeature, TheEventOfThePortIsOnWhileItIsOpen)
{
    KoSim::SimulatedDevice device;
    KoDeviceSerialPort port;
    EXPECT_EQ(GetEventNotification(device), "Off");
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());
    EXPECT_EQ(GetEventNotification(device), "On");
    ASSERT_TRUE(port.Close().IsOK());
    EXPECT_EQ(GetEventNotification(device), "Off");
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
}

TEST(BulkFeature, BytesThatArriveBeforeThePortIsOpenedWaitForIt)
{
    KoSim::SimulatedDevice device;
    device.SetLineEnd(Port::Bulk3, std::make_shared<KoSim::CommandConsole>());
    const std::uint8_t frame[] = {0, 0, 0, 0, 0, 0, 0, 4, 'i', 'd', '?', '\n'};
    ASSERT_TRUE(device.SetGenRegisterData("Bulk3DownstreamData", frame, sizeof(frame)).IsOK());
    ASSERT_TRUE(device.WaitUntilQuiet(std::chrono::seconds(10)));
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());

    EXPECT_EQ(Read(port, 26), "KoSim motorised lens 1.0\r\n");
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(BulkFeature, ADeviceWithoutTheFeaturesOfAPortDoesNotOpenIt)
{
    KoSim::SimulatedDevice device(DeviceProfile::UartOnly());
    KoDeviceSerialPort port;

    for (const KoDeviceSerial bulk : {KoDeviceSerialBulk0, KoDeviceSerialBulk7})
    {
        EXPECT_FALSE(KoDeviceSerialPort::IsSupported(&device, bulk));
        EXPECT_EQ(port.Open(&device, bulk).GetCode(), KoResult::NOT_SUPPORTED);
        EXPECT_FALSE(port.IsOpened());
    }
}

TEST(BulkFeature, BulkPort0UsesFeaturesWhereTheRegisterBlockDoesNotHaveIt)
{
    DeviceProfile profile;
    profile.mBulk0InRegisters = false;
    KoSim::SimulatedDevice device(profile);
    device.SetLineEnd(Port::Bulk0, std::make_shared<KoSim::Loopback>());
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk0).IsOK());

    EXPECT_TRUE(Write(port, "hello"));
    EXPECT_EQ(Read(port, 5), "hello");
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(BulkFeature, ARegisterThatIsNotLongerThanTheHeaderTakesNoFrame)
{
    KoSim::SimulatedDevice device;
    device.SetRegisterLength("Bulk3DownstreamData", 8);
    KoDeviceSerialPort port;
    ASSERT_TRUE(port.Open(&device, KoDeviceSerialBulk3).IsOK());

    std::uint32_t written = 0;
    EXPECT_EQ(Write(port, "x", written).GetCode(), KoResult::BUFFER_TOO_SMALL);
    EXPECT_TRUE(port.Close().IsOK());
}

TEST(BulkFeature, AFailedOpenLeavesNothingBehind)
{
    KoSim::SimulatedDevice device;
    device.RemoveFeature("EventNotification");
    KoDeviceSerialPort port;
    EXPECT_EQ(port.Open(&device, KoDeviceSerialBulk3).GetCode(), KoResult::GENERIC_ERROR);

    EXPECT_FALSE(port.IsOpened());
    EXPECT_EQ(device.GetEventSinkCount(), 0U);
    KoDeviceSerialPort other;
    EXPECT_EQ(other.Open(&device, KoDeviceSerialBulk3).GetDescription(), "");
}
