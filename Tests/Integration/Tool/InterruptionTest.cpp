#include "Support/Program.h"
#include "Support/Terminal.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

class Interruption : public testing::Test
{
protected:
    void SetUp() override { WriteFile(mFile, mContent); }

    bool WaitForOutput()
    {
        return WaitUntil([this] { return !ReadFile(mOut).empty(); });
    }

    const TemporaryDirectory mDirectory;
    const std::string mFile = mDirectory / "file";
    const std::string mOut = mDirectory / "out";
    const std::string mLink = mDirectory / "link";
    const std::string mContent = MakeRandomBytes(65536);
    const std::string mSlowDevice = "sim,baud=1200,uart0=pty:" + mLink;
};

} // namespace

TEST_F(Interruption, OfASlowTransferKeepsWhatWasReceived)
{
    Program program(Koserial({"--device", mSlowDevice, "send", "uart1", mFile, "--receive", mOut}));
    program.Start();
    ASSERT_TRUE(WaitForOutput());
    EXPECT_TRUE(IsLink(mLink));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    const std::string received = ReadFile(mOut);
    EXPECT_TRUE(received == mContent.substr(0, received.size()));
    EXPECT_TRUE(Matches(program.GetErrors(), "sent [0-9]+ bytes, received " + std::to_string(received.size()) +
                                                 " bytes\nkoserial: interrupted\n"));
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(Interruption, BySigtermHasAStatusOfItsOwn)
{
    Program program(Koserial({"--device", mSlowDevice, "send", "uart1", mFile, "--receive", mOut}));
    program.Start();
    ASSERT_TRUE(WaitForOutput());
    program.Signal(SIGTERM);

    EXPECT_EQ(program.Wait(), 143);
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(Interruption, ByCtrlCAtATerminalRemovesTheProgressBar)
{
    Terminal terminal;
    Program program(Koserial({"--device", mSlowDevice, "send", "uart1", mFile, "--receive", mOut}));
    program.OnTerminal(terminal.GetPath()).Start();
    ASSERT_TRUE(WaitForOutput());
    terminal.Type("\x03");

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_TRUE(terminal.WaitFor("koserial: interrupted\r\n"));
    EXPECT_TRUE(Matches(terminal.GetScreen(), ".*\r\033\\[Ksent [0-9]+ bytes, received [0-9]+ bytes\r\n"
                                              "koserial: interrupted\r\n"));
}

TEST_F(Interruption, OfATransferThatWaitsForInputIsPrompt)
{
    Terminal terminal;
    Program program(Koserial({"--device", mSlowDevice, "send", "uart1", "-"}));
    program.WithInput(terminal.GetPath()).Start();
    ASSERT_TRUE(WaitUntil([this] { return IsLink(mLink); }));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(program.GetErrors(), "sent 0 bytes\nkoserial: interrupted\n");
}

TEST_F(Interruption, OfRecvTellsHowFarItCame)
{
    Program program(Koserial({"--device", mSlowDevice, "recv", "uart1", "--bytes", "5", "--timeout", "100000"}));
    program.Start();
    ASSERT_TRUE(WaitUntil([this] { return IsLink(mLink); }));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(program.GetErrors(), "received 0 of 5 bytes\nkoserial: interrupted\n");
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(Interruption, OfTheDemoEndsIt)
{
    Program program(Koserial({"--device", "sim,baud=50,uart1=pty:" + mLink, "demo"}));
    program.Start();
    ASSERT_TRUE(WaitUntil([this] { return IsLink(mLink); }));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(program.GetErrors(), "koserial: interrupted\n");
    EXPECT_FALSE(IsLink(mLink));
}
