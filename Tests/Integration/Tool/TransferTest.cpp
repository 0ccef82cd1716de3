#include "Support/Files.h"

#include <Failure.h>
#include <InputFile.h>
#include <OpenPort.h>
#include <OutputFile.h>
#include <RecvCommand.h>
#include <SendCommand.h>
#include <SimulatedSetup.h>

#include <gtest/gtest.h>

#include <limits>
#include <thread>

using namespace KoTool;

namespace
{

class Transfer : public testing::Test
{
protected:
    void SetUp() override { WriteFile(mFile, mContent); }

    /// Sends the file through uart1 of the device, as GetFailure() does.
    std::string Send(SimulatedSetup& aSetup)
    {
        InputFile input(mFile);
        OutputFile output(mOut);
        return GetFailure(aSetup, [&](OpenPort& aPort) { SendInput(aPort, input, &output, 100); });
    }

    bool WaitForOutput()
    {
        return WaitUntil([this] { return !ReadFile(mOut).empty(); });
    }

    /// Runs aAction on uart1 of the device.
    /// @return the message of the failure, empty on success
    static std::string GetFailure(SimulatedSetup& aSetup, const std::function<void(OpenPort&)>& aAction)
    {
        try
        {
            WithOpenPort(aSetup, KoDeviceSerialUart1, aAction);
        }
        catch (const Failure& failure)
        {
            EXPECT_EQ(failure.GetExitStatus(), STATUS_FAILURE);
            return failure.what();
        }
        return "";
    }

    const TemporaryDirectory mDirectory;
    const std::string mFile = mDirectory / "file";
    const std::string mOut = mDirectory / "out";
    const std::string mContent = MakeRandomBytes(65536);
};

const char* const LOST = "lost uart1: NOT_CONNECTED: The device has been disconnected.";

} // namespace

TEST_F(Transfer, NeedsAPortThatIsNotInUse)
{
    SimulatedSetup setup(ParseDeviceUri("sim,timing=instant"));
    {
        OpenPort holder(setup.GetDevice(), KoDeviceSerialUart1);
        EXPECT_EQ(Send(setup), "cannot open uart1: GENERIC_ERROR: The specified port is already in use.");
    }
    EXPECT_EQ(Send(setup), "");
}

TEST_F(Transfer, LeavesThePortFreeForTheNext)
{
    SimulatedSetup setup(ParseDeviceUri("sim,timing=instant"));
    WriteFile(mFile, "abc");
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_EQ(Send(setup), "");
        EXPECT_EQ(ReadFile(mOut), "abc");
    }
    EXPECT_EQ(setup.GetDevice().GetEventSinkCount(), 0U);
}

TEST_F(Transfer, NeedsAConnectedDevice)
{
    SimulatedSetup setup(ParseDeviceUri("sim,timing=instant"));
    setup.GetDevice().Disconnect();
    EXPECT_EQ(Send(setup), "cannot open uart1: NOT_CONNECTED: The device is not currently connected.");
}

TEST_F(Transfer, KeepsWhatCameBeforeTheDeviceWasUnplugged)
{
    SimulatedSetup setup(ParseDeviceUri("sim,baud=1200"));
    std::thread unplugger(
        [&]
        {
            EXPECT_TRUE(WaitForOutput());
            setup.GetDevice().Disconnect();
        });
    EXPECT_EQ(Send(setup), LOST);
    unplugger.join();
    const std::string received = ReadFile(mOut);
    EXPECT_GT(received.size(), 0U);
    EXPECT_TRUE(received == mContent.substr(0, received.size()));
}

TEST_F(Transfer, DoesNotWaitForADeviceThatIsUnplugged)
{
    SimulatedSetup setup(ParseDeviceUri("sim"));
    OutputFile output(mOut);
    EXPECT_EQ(GetFailure(setup,
                         [&](OpenPort& aPort)
                         {
                             setup.GetDevice().Disconnect();
                             ReceiveBytes(aPort, output, 10, std::numeric_limits<std::uint32_t>::max());
                         }),
              LOST);
}

TEST_F(Transfer, FreesThePortOfADeviceThatIsUnplugged)
{
    SimulatedSetup setup(ParseDeviceUri("sim"));
    {
        OpenPort port(setup.GetDevice(), KoDeviceSerialUart1);
        setup.GetDevice().Disconnect();
    }
    setup.GetDevice().Connect();
    EXPECT_EQ(setup.GetDevice().GetEventSinkCount(), 0U);
    EXPECT_NO_THROW(OpenPort(setup.GetDevice(), KoDeviceSerialUart1));
}

TEST_F(Transfer, TellsWhyTheDeviceDidNotTakeAByteAndFreesThePort)
{
    SimulatedSetup setup(ParseDeviceUri("sim"));
    setup.GetDevice().Freeze(true);
    EXPECT_EQ(Send(setup), "cannot write to uart1: GENERIC_ERROR: Failed while waiting for the event from the device "
                           "after writing byte 0.");
    EXPECT_NO_THROW(OpenPort(setup.GetDevice(), KoDeviceSerialUart1));
}
