#include <FramePayload.h>

#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

using namespace KoTool;
using KoSim::DeviceProfile;
using KoSim::SimulatedDevice;

TEST(FramePayload, IsWhatTheRegisterOfThePortHasRoomForBehindTheHeader)
{
    SimulatedDevice device(DeviceProfile::TinyDownstreamRegister());
    EXPECT_EQ(GetFramePayload(device, KoDeviceSerialBulk3, 12, 255), 18U);
    device.SetRegisterLength("Bulk3DownstreamData", 8);
    EXPECT_EQ(GetFramePayload(device, KoDeviceSerialBulk3, 12, 255), 0U);
}

TEST(FramePayload, IsNoMoreThanTheLimit)
{
    SimulatedDevice device;
    EXPECT_EQ(GetFramePayload(device, KoDeviceSerialBulk0, 12, 255), 255U);
    SimulatedDevice withoutFrames(DeviceProfile::UartOnly());
    EXPECT_EQ(GetFramePayload(withoutFrames, KoDeviceSerialBulk0, 9, 253), 253U);
}
