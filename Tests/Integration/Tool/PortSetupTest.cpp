#include "PortSetup.h"

#include "Failure.h"
#include "Support/Complaint.h"

#include <KoSim/SimulatedDevice.h>

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

std::string GetEntry(KoSim::SimulatedDevice& aDevice, const char* aName)
{
    KoString entry;
    EXPECT_TRUE(aDevice.GetGenEnumValue(aName, entry).IsOK());
    return entry.GetAscii();
}

} // namespace

TEST(PortSetup, ReadsWhatTheDeviceShowsForThePort)
{
    KoSim::DeviceProfile profile;
    profile.mLines[1] = {19200, KoSim::LineParity::Odd, 8, 2};
    KoSim::SimulatedDevice device(profile);

    EXPECT_TRUE(PortSetup(device, KoDeviceSerialUart1).Read() == (PortSettings{19200, KoParityOdd, 2, {}}));
    EXPECT_TRUE(PortSetup(device, KoDeviceSerialBulk4).Read() == (PortSettings{115200, KoParityNone, 1, "UART"}));
}

TEST(PortSetup, ChangesOnePortOnly)
{
    KoSim::SimulatedDevice device;
    PortSetup(device, KoDeviceSerialBulk4).Apply({9600, KoParityEven, 2, {}});

    EXPECT_TRUE(PortSetup(device, KoDeviceSerialBulk4).Read() == (PortSettings{9600, KoParityEven, 2, "UART"}));
    EXPECT_TRUE(PortSetup(device, KoDeviceSerialBulk3).Read() == (PortSettings{115200, KoParityNone, 1, "UART"}));
}

TEST(PortSetup, LeavesChangesOnTheDevice)
{
    KoSim::SimulatedDevice device;
    PortSetup(device, KoDeviceSerialUart0).Apply({230400, {}, {}, {}});

    EXPECT_EQ(GetEntry(device, "Uart0BaudRate"), "Baud230400");
    EXPECT_EQ(GetEntry(device, "Uart0Parity"), "None");
}

TEST(PortSetup, SetsABulkModeThatIsAskedFor)
{
    KoSim::SimulatedDevice device;
    PortSetup(device, KoDeviceSerialBulk2).Apply({{}, {}, {}, "I2C"});

    EXPECT_EQ(PortSetup(device, KoDeviceSerialBulk2).Read().mBulkMode, "I2C");
}

TEST(PortSetup, ListsTheRatesThatTheDeviceOffers)
{
    KoSim::SimulatedDevice device;

    EXPECT_EQ(PortSetup(device, KoDeviceSerialUart0).GetRates(),
              (std::vector<std::uint32_t>{9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400, 460800, 921600}));
    device.SetEnumAccess("Uart0BaudRate", true, false);
    EXPECT_TRUE(PortSetup(device, KoDeviceSerialUart0).GetRates().empty());
}

TEST(PortSetup, RefusesARateThatIsNotOfferedAndChangesNothing)
{
    KoSim::SimulatedDevice device;
    PortSetup setup(device, KoDeviceSerialUart0);

    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [&] {
                               setup.Apply({1200, KoParityEven, {}, {}});
                           }),
              "uart0 does not offer 1200 bit/s: it offers 9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400, "
              "460800, 921600");
    EXPECT_EQ(GetEntry(device, "Uart0Parity"), "None");
}

TEST(PortSetup, SaysThatNoRateCanBeChosen)
{
    KoSim::SimulatedDevice device;
    device.SetEnumAccess("Uart0BaudRate", true, false);
    PortSetup setup(device, KoDeviceSerialUart0);

    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [&] {
                               setup.Apply({9600, {}, {}, {}});
                           }),
              "uart0 does not offer 9600 bit/s: it offers none that can be chosen");
}

TEST(PortSetup, RefusesToKeepARateThatNoConfigurationMayHave)
{
    KoSim::DeviceProfile profile;
    profile.mLines[0].mBaudRate = 1000;
    KoSim::SimulatedDevice device(profile);
    PortSetup setup(device, KoDeviceSerialUart0);

    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [&] {
                               setup.Apply({{}, KoParityEven, {}, {}});
                           }),
              "cannot set up uart0: INVALID_PARAMETER: Could not configure device serial port, serial configuration is "
              "not valid.");
    EXPECT_EQ(GetEntry(device, "Uart0Parity"), "None");
}

TEST(PortSetup, ShowsWhatTheDeviceHasNotTaken)
{
    KoSim::SimulatedDevice device;
    device.SetEnumAccess("Uart0Parity", true, false);
    PortSetup setup(device, KoDeviceSerialUart0);
    setup.Apply({9600, KoParityEven, {}, {}});

    EXPECT_TRUE(setup.Read() == (PortSettings{9600, KoParityNone, 1, {}}));
}

TEST(PortSetup, LeavesOutWhatCannotBeRead)
{
    KoSim::SimulatedDevice device;
    device.SetEnumAccess("Uart0Parity", false, true);

    EXPECT_TRUE(PortSetup(device, KoDeviceSerialUart0).Read() == (PortSettings{115200, {}, 1, {}}));
}

TEST(PortSetup, NeedsADeviceThatHasSettingsForThePort)
{
    KoSim::SimulatedDevice device;
    for (const char* const feature : {"Uart1BaudRate", "Uart1Parity", "Uart1NumOfStopBits"})
    {
        device.RemoveFeature(feature);
    }

    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { PortSetup(device, KoDeviceSerialUart1); }),
              "the device has no settings for uart1");
}

TEST(PortSetup, NeedsADeviceThatOffersThePort)
{
    KoSim::SimulatedDevice device(KoSim::DeviceProfile::NotGigEVision());

    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { PortSetup(device, KoDeviceSerialUart0); }),
              "the device does not offer uart0");
}

TEST(PortSetup, DoesNotTakeTheSettingsOfAnotherPortForThoseOfAPortThatCannotBeSelected)
{
    KoSim::SimulatedDevice device;
    device.SetEnumAccess("BulkSelector", true, false);

    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { PortSetup(device, KoDeviceSerialBulk1); }),
              "cannot select bulk1: NOT_SUPPORTED: Error setting Bulk selector.");
}
