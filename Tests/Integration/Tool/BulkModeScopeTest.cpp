#include <BulkModeScope.h>

#include <Failure.h>

#include "Support/Complaint.h"

#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

using namespace KoTool;
using KoSim::DeviceProfile;
using KoSim::SimulatedDevice;

namespace
{

std::string GetEntry(SimulatedDevice& aDevice, const char* aEnumeration)
{
    KoString entry;
    EXPECT_TRUE(aDevice.GetGenEnumValue(aEnumeration, entry).IsOK());
    return entry.GetAscii();
}

std::string GetMode(SimulatedDevice& aDevice, const char* aPort)
{
    const std::string selected = GetEntry(aDevice, "BulkSelector");
    EXPECT_TRUE(aDevice.SetGenEnumValue("BulkSelector", aPort).IsOK());
    const std::string mode = GetEntry(aDevice, "BulkMode");
    EXPECT_TRUE(aDevice.SetGenEnumValue("BulkSelector", selected.c_str()).IsOK());
    return mode;
}

} // namespace

TEST(BulkModeScope, PutsAPortIntoAModeAndBack)
{
    SimulatedDevice device;
    {
        const BulkModeScope scope(device, KoDeviceSerialBulk3, "I2C");
        EXPECT_EQ(GetMode(device, "Bulk3"), "I2C");
        EXPECT_EQ(GetMode(device, "Bulk0"), "UART");
    }
    EXPECT_EQ(GetMode(device, "Bulk3"), "UART");
}

TEST(BulkModeScope, PutsTheSelectorBack)
{
    SimulatedDevice device;
    device.SetGenEnumValue("BulkSelector", "Bulk5");
    {
        const BulkModeScope scope(device, KoDeviceSerialBulk0, "SPI");
        EXPECT_EQ(GetMode(device, "Bulk0"), "SPI");
    }
    EXPECT_EQ(GetEntry(device, "BulkSelector"), "Bulk5");
    EXPECT_EQ(GetMode(device, "Bulk0"), "UART");
    EXPECT_EQ(GetMode(device, "Bulk5"), "UART");
}

TEST(BulkModeScope, LeavesAPortThatIsInTheModeAlready)
{
    SimulatedDevice device;
    device.SetGenEnumValue("BulkMode", "I2C");
    device.SetEnumAccess("BulkMode", true, false);
    {
        const BulkModeScope scope(device, KoDeviceSerialBulk0, "I2C");
    }
    EXPECT_EQ(GetMode(device, "Bulk0"), "I2C");
}

TEST(BulkModeScope, NeedsNoSelector)
{
    SimulatedDevice device(DeviceProfile::NoBulkSelector());
    {
        const BulkModeScope scope(device, KoDeviceSerialBulk3, "I2C");
        EXPECT_EQ(GetEntry(device, "BulkMode"), "I2C");
    }
    EXPECT_EQ(GetEntry(device, "BulkMode"), "UART");
}

TEST(BulkModeScope, LeavesADeviceWithoutModesAlone)
{
    SimulatedDevice device(DeviceProfile::UartOnly());
    EXPECT_NO_THROW(BulkModeScope(device, KoDeviceSerialBulk0, "I2C"));
}

TEST(BulkModeScope, LeavesAPortThatCannotHaveTheModeAlone)
{
    SimulatedDevice device;
    device.SetEnumEntryAvailable("BulkMode", "SPI", false);
    {
        const BulkModeScope scope(device, KoDeviceSerialBulk0, "SPI");
        EXPECT_EQ(GetMode(device, "Bulk0"), "UART");
    }
    device.SetEnumEntryAvailable("BulkSelector", "Bulk3", false);
    const BulkModeScope scope(device, KoDeviceSerialBulk3, "I2C");
    EXPECT_EQ(GetEntry(device, "BulkSelector"), "Bulk0");
    EXPECT_EQ(GetMode(device, "Bulk0"), "UART");
}

TEST(BulkModeScope, FailsWhenTheDeviceRefusesTheMode)
{
    SimulatedDevice device;
    device.SetEnumAccess("BulkMode", true, false);
    const std::string complaint =
        GetComplaint(STATUS_FAILURE, [&] { BulkModeScope(device, KoDeviceSerialBulk3, "I2C"); });
    EXPECT_EQ(complaint.substr(0, complaint.find(':')), "cannot set BulkMode to I2C");
    EXPECT_EQ(GetEntry(device, "BulkSelector"), "Bulk0");
}

TEST(BulkModeScope, FailsWhenTheModeCannotBeReadAndSoNotPutBack)
{
    SimulatedDevice device;
    device.SetEnumAccess("BulkMode", false, true);
    const std::string complaint =
        GetComplaint(STATUS_FAILURE, [&] { BulkModeScope(device, KoDeviceSerialBulk0, "I2C"); });
    EXPECT_EQ(complaint.substr(0, complaint.find(':')), "cannot read BulkMode");
}
