#include <KoSim/DeviceProfile.h>

#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

using namespace KoSim;

namespace
{

bool Has(const DeviceProfile& aProfile, const char* aFeature)
{
    SimulatedDevice device(aProfile);
    return device.IsGenRegisterPresent(aFeature) || device.IsGenEnumPresent(aFeature);
}

std::uint32_t GetFunctionCaps(const DeviceProfile& aProfile)
{
    SimulatedDevice device(aProfile);
    std::uint32_t caps = 0;
    EXPECT_TRUE(device.ReadRegister(0xB8FC, &caps).IsOK());
    return caps;
}

} // namespace

TEST(DeviceProfile, OfAFullDeviceHasEveryPort)
{
    EXPECT_EQ(GetFunctionCaps(DeviceProfile::FullDevice()), 0x80000032U);
    EXPECT_TRUE(Has(DeviceProfile::FullDevice(), "Bulk0DownstreamData"));
    EXPECT_TRUE(Has(DeviceProfile::FullDevice(), "Bulk7DownstreamData"));
    EXPECT_TRUE(Has(DeviceProfile::FullDevice(), "BulkSelector"));
}

TEST(DeviceProfile, OfADeviceWithUartsOnlyHasNoBulkPort)
{
    EXPECT_EQ(GetFunctionCaps(DeviceProfile::UartOnly()), 0x80000002U);
    EXPECT_FALSE(Has(DeviceProfile::UartOnly(), "Bulk0DownstreamData"));
    EXPECT_FALSE(Has(DeviceProfile::UartOnly(), "BulkMode"));
}

TEST(DeviceProfile, WithoutABulkSelectorStillHasABulkMode)
{
    EXPECT_FALSE(Has(DeviceProfile::NoBulkSelector(), "BulkSelector"));
    EXPECT_TRUE(Has(DeviceProfile::NoBulkSelector(), "BulkMode"));
}

TEST(DeviceProfile, OfADeviceOnAnotherTransportIsNotGigEVision)
{
    SimulatedDevice device(DeviceProfile::NotGigEVision());
    EXPECT_FALSE(device.IsGigEVision());
}

TEST(DeviceProfile, WithATinyDownstreamRegisterHasAnOddLength)
{
    SimulatedDevice device(DeviceProfile::TinyDownstreamRegister());
    std::int64_t length = 0;
    EXPECT_TRUE(device.GetGenRegisterLength("Bulk4DownstreamData", length).IsOK());
    EXPECT_EQ(length, 30);
}
