#include "UartFixture.h"

#include <KoSim/CommandConsole.h>

#include <memory>

using namespace KoSim;

/// UART0 ends in a console.
class UartConsoleTest : public ::testing::Test
{
protected:
    UartConsoleTest()
    {
        mDevice.SetLineEnd(Port::Uart0, std::make_shared<CommandConsole>());
        EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());
    }
    ~UartConsoleTest() override { EXPECT_TRUE(mPort.Close().IsOK()); }

    /// Sends a command and reads one line, without its end.
    std::string Ask(const std::string& aCommand)
    {
        EXPECT_TRUE(Write(mPort, aCommand + "\r"));
        std::string line;
        while (line.size() < 2 || line.compare(line.size() - 2, 2, "\r\n") != 0)
        {
            const std::string byte = Read(mPort, 1);
            if (byte.empty())
            {
                return "no answer";
            }
            line += byte;
        }
        return line.substr(0, line.size() - 2);
    }

    SimulatedDevice mDevice;
    KoDeviceSerialPort mPort;
};

TEST_F(UartConsoleTest, HoldsAConversation)
{
    EXPECT_EQ(Ask("id?"), "KoSim motorised lens 1.0");
    EXPECT_EQ(Ask("status?"), "ready zoom=0 focus=500");
    EXPECT_EQ(Ask("zoom 120"), "ok");
    EXPECT_EQ(Ask("focus 700"), "ok");
    EXPECT_EQ(Ask("zoom?"), "120");
    EXPECT_EQ(Ask("status?"), "ready zoom=120 focus=700");
    EXPECT_EQ(Ask("dance"), "error: unknown command 'dance'");
    EXPECT_EQ(Ask("zoom 2000"), "error: a position is a number from 0 to 1000");
}

TEST_F(UartConsoleTest, AnswersCommandsThatAreSentInOneGo)
{
    const std::string answers = "ok\r\n1\r\nok\r\n2\r\n";
    EXPECT_TRUE(Write(mPort, "zoom 1\rzoom?\rfocus 2\rfocus?\r"));

    EXPECT_EQ(Read(mPort, answers.size()), answers);
}

TEST_F(UartConsoleTest, KeepsItsStateWhileThePortIsClosed)
{
    EXPECT_EQ(Ask("zoom 120"), "ok");
    EXPECT_TRUE(mPort.Close().IsOK());
    EXPECT_TRUE(mPort.Open(&mDevice, KoDeviceSerialUart0).IsOK());

    EXPECT_EQ(Ask("zoom?"), "120");
}
