#include <DeviceUri.h>

#include <Failure.h>

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

std::string GetUriComplaint(const std::string& aText)
{
    try
    {
        ParseDeviceUri(aText);
    }
    catch (const Failure& failure)
    {
        EXPECT_EQ(failure.GetExitStatus(), STATUS_USAGE);
        return failure.what();
    }
    return "accepted";
}

const char* const FAR_ENDS = "it can be console, loopback, loopback:RATE, pty, pty:LINK or null";

} // namespace

TEST(DeviceUri, PutsAConsoleOnUart0AndALoopbackOnUart1)
{
    for (const char* const text : {"sim", "sim:full"})
    {
        const DeviceUri uri = ParseDeviceUri(text);
        EXPECT_EQ(uri.mFarEnds[0].mKind, FarEnd::Kind::Console);
        EXPECT_EQ(uri.mFarEnds[1].mKind, FarEnd::Kind::Loopback);
        EXPECT_EQ(uri.mProfile.mTiming, KoSim::LineTiming::Real);
        EXPECT_EQ(uri.mProfile.mLines[0].mBaudRate, 115200U);
        EXPECT_EQ(uri.mProfile.mId, "sim");
    }
}

TEST(DeviceUri, TakesAProfile)
{
    EXPECT_FALSE(ParseDeviceUri("sim:uart-only").mProfile.mBulk0InRegisters);
    EXPECT_FALSE(ParseDeviceUri("sim:no-bulk-selector").mProfile.mHasBulkSelector);
    EXPECT_FALSE(ParseDeviceUri("sim:not-gige-vision").mProfile.mGigEVision);
    EXPECT_EQ(ParseDeviceUri("sim:tiny-downstream").mProfile.mBulkFeatures[5].mDownstreamLength, 30);
}

TEST(DeviceUri, TakesAFarEndForEachBulkPort)
{
    const DeviceUri uri = ParseDeviceUri("sim,bulk0=console,bulk7=null");
    EXPECT_EQ(uri.mFarEnds[2].mKind, FarEnd::Kind::Console);
    EXPECT_EQ(uri.mFarEnds[3].mKind, FarEnd::Kind::Loopback);
    EXPECT_EQ(uri.mFarEnds[9].mKind, FarEnd::Kind::Nothing);
}

TEST(DeviceUri, TakesEveryKeyInAnyOrder)
{
    const DeviceUri uri = ParseDeviceUri("sim:full,id=my lens=2,baud=9600,uart1=null,timing=instant,uart0=loopback");
    EXPECT_EQ(uri.mFarEnds[0].mKind, FarEnd::Kind::Loopback);
    EXPECT_EQ(uri.mFarEnds[1].mKind, FarEnd::Kind::Nothing);
    EXPECT_EQ(uri.mProfile.mTiming, KoSim::LineTiming::Instant);
    EXPECT_EQ(uri.mProfile.mLines[0].mBaudRate, 9600U);
    EXPECT_EQ(uri.mProfile.mId, "my lens=2");
}

TEST(DeviceUri, TakesAPseudoTerminalWithAndWithoutALink)
{
    const DeviceUri uri = ParseDeviceUri("sim,uart0=pty,uart1=pty:dir/a:b");
    EXPECT_EQ(uri.mFarEnds[0].mKind, FarEnd::Kind::Pty);
    EXPECT_EQ(uri.mFarEnds[0].mLink, "");
    EXPECT_EQ(uri.mFarEnds[1].mKind, FarEnd::Kind::Pty);
    EXPECT_EQ(uri.mFarEnds[1].mLink, "dir/a:b");
}

TEST(DeviceUri, TakesALoopbackWithARateOfItsOwn)
{
    const DeviceUri uri = ParseDeviceUri("sim,uart0=loopback:9600");
    EXPECT_EQ(uri.mFarEnds[0].mKind, FarEnd::Kind::Loopback);
    EXPECT_EQ(uri.mFarEnds[0].mBaudRate, 9600U);
    EXPECT_EQ(uri.mFarEnds[1].mBaudRate, 0U);
    EXPECT_EQ(GetUriComplaint("sim,uart0=loopback:fast"),
              "device: uart0 cannot be 'fast': it can be a number from 50 (0x32) to 4000000 (0x3d0900)");
}

TEST(DeviceUri, TakesTheBaudRatesOfTerminals)
{
    EXPECT_EQ(ParseDeviceUri("sim,baud=50").mProfile.mLines[1].mBaudRate, 50U);
    EXPECT_EQ(ParseDeviceUri("sim,baud=4000000").mProfile.mBulkLine.mBaudRate, 4000000U);
}

TEST(DeviceUri, TakesTheFilesOfTheMemoryChips)
{
    const DeviceUri uri = ParseDeviceUri("sim,eeprom=dir/e.bin,flash=f=1.bin");
    EXPECT_EQ(uri.mEepromFile, "dir/e.bin");
    EXPECT_EQ(uri.mFlashFile, "f=1.bin");
    EXPECT_EQ(ParseDeviceUri("sim").mEepromFile, "");
    EXPECT_EQ(GetUriComplaint("sim,flash="),
              "device: flash cannot be '': it can be any path without a comma, but not empty");
}

TEST(DeviceUri, NamesTheKindsOfDevice)
{
    EXPECT_EQ(GetUriComplaint("usb"), "device: unknown kind 'usb': a device is sim[:PROFILE][,KEY=VALUE...]");
    EXPECT_EQ(GetUriComplaint(""), "device: unknown kind '': a device is sim[:PROFILE][,KEY=VALUE...]");
    EXPECT_EQ(GetUriComplaint("SIM:full"), "device: unknown kind 'SIM': a device is sim[:PROFILE][,KEY=VALUE...]");
}

TEST(DeviceUri, NamesTheProfiles)
{
    const std::string profiles =
        ": the profiles are full, uart-only, no-bulk-selector, not-gige-vision and tiny-downstream";
    EXPECT_EQ(GetUriComplaint("sim:tiny"), "device: unknown profile 'tiny'" + profiles);
    EXPECT_EQ(GetUriComplaint("sim:"), "device: unknown profile ''" + profiles);
}

TEST(DeviceUri, NamesTheKeys)
{
    const std::string keys = ": the keys are uart0, uart1, bulk0 to bulk7, timing, baud, id, eeprom and flash";
    EXPECT_EQ(GetUriComplaint("sim,speed=9600"), "device: unknown key 'speed'" + keys);
    EXPECT_EQ(GetUriComplaint("sim,"), "device: unknown key ''" + keys);
    EXPECT_EQ(GetUriComplaint("sim,=null"), "device: unknown key ''" + keys);
}

TEST(DeviceUri, NamesTheFarEnds)
{
    EXPECT_EQ(GetUriComplaint("sim,uart0=lens"), std::string("device: uart0 cannot be 'lens': ") + FAR_ENDS);
    EXPECT_EQ(GetUriComplaint("sim,uart1=pty:"), std::string("device: uart1 cannot be 'pty:': ") + FAR_ENDS);
    EXPECT_EQ(GetUriComplaint("sim,uart1"), std::string("device: uart1 cannot be '': ") + FAR_ENDS);
}

TEST(DeviceUri, NamesTheTimings)
{
    EXPECT_EQ(GetUriComplaint("sim,timing=fast"), "device: timing cannot be 'fast': it can be real or instant");
}

TEST(DeviceUri, NamesTheRangeOfBaudRates)
{
    for (const std::string rate : {"", "0", "49", "4000001", "-9600", "9600x", " 9600", "99999999999"})
    {
        EXPECT_EQ(GetUriComplaint("sim,baud=" + rate),
                  "device: baud cannot be '" + rate + "': it can be a number from 50 (0x32) to 4000000 (0x3d0900)");
    }
}

TEST(DeviceUri, RefusesAnEmptyIdentity)
{
    EXPECT_EQ(GetUriComplaint("sim,id="), "device: id cannot be '': it can be any text without a comma, but not empty");
}

TEST(DeviceUri, RefusesAKeyThatIsGivenTwice)
{
    EXPECT_EQ(GetUriComplaint("sim,baud=9600,baud=9600"), "device: baud is given twice");
}
