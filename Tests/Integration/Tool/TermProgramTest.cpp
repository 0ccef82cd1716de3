#include "Support/Program.h"
#include "Support/Terminal.h"

#include <gtest/gtest.h>

#include <csignal>

namespace
{

class TermProgram : public testing::Test
{
protected:
    /// Starts `term` on uart0 and waits until it takes keys.
    void StartAtTerminal(const std::string& aDevice)
    {
        mProgram = std::make_unique<Program>(Koserial({"--device", aDevice, "term", "uart0"}));
        mProgram->OnTerminal(mTerminal.GetPath()).Start();
        ASSERT_TRUE(mTerminal.WaitFor("Connected to uart0. Press Ctrl-] to leave.\r\n"));
        ASSERT_TRUE(WaitUntil([this] { return !mTerminal.IsInOrdinaryMode(); }));
    }

    /// Starts `term` on uart0 under a shell, suspends it, and waits until the shell is in the foreground. The shell
    /// lets it go on when a line is typed.
    void Suspend(int aSignal)
    {
        std::string command;
        for (const std::string& word : Koserial({"term", "uart0"}))
        {
            command += word + ' ';
        }
        const std::string script = "set -m\n" + command + "\necho \"shell: $?\"\nread line\nfg\necho \"shell: $?\"\n";
        mProgram = std::make_unique<Program>(std::vector<std::string>{"/bin/sh", "-c", script});
        mProgram->OnTerminal(mTerminal.GetPath()).Start();
        ASSERT_TRUE(mTerminal.WaitFor("Connected to uart0. Press Ctrl-] to leave.\r\n"));
        ASSERT_TRUE(WaitUntil([this] { return !mTerminal.IsInOrdinaryMode(); }));
        mTerminal.Type("id?\r");
        ASSERT_TRUE(mTerminal.WaitFor("KoSim motorised lens 1.0\r\n"));
        mTerminal.SignalForeground(aSignal);
        ASSERT_TRUE(mTerminal.WaitFor("shell: " + std::to_string(128 + aSignal)));
    }

    void ExpectToGoOn()
    {
        mTerminal.Type("\n");
        EXPECT_TRUE(WaitUntil([this] { return !mTerminal.IsInOrdinaryMode(); }));
        mTerminal.Type("status?\r");
        EXPECT_TRUE(mTerminal.WaitFor("ready zoom=0 focus=500\r\n"));
        mTerminal.Type("\x1D");
        EXPECT_TRUE(mTerminal.WaitFor("\r\nDisconnected from uart0.\r\n"));
        EXPECT_TRUE(mTerminal.WaitFor("shell: 0"));
        EXPECT_EQ(mProgram->Wait(), 0);
        EXPECT_TRUE(mTerminal.IsInOrdinaryMode());
    }

    const TemporaryDirectory mDirectory;
    Terminal mTerminal;
    std::unique_ptr<Program> mProgram;
};

} // namespace

TEST_F(TermProgram, TalksUntilCtrlRightBracket)
{
    StartAtTerminal("sim");
    mTerminal.Type("id?\r");
    EXPECT_TRUE(mTerminal.WaitFor("KoSim motorised lens 1.0\r\n"));
    mTerminal.Type("zoom?\r");
    EXPECT_TRUE(mTerminal.WaitFor("0\r\n"));
    EXPECT_TRUE(mProgram->IsRunning());
    mTerminal.Type("\x1D");

    EXPECT_EQ(mProgram->Wait(), 0);
    EXPECT_TRUE(mTerminal.WaitFor("\r\nDisconnected from uart0.\r\n"));
    EXPECT_TRUE(mTerminal.IsInOrdinaryMode());
}

TEST_F(TermProgram, SendsCtrlCToTheDevice)
{
    StartAtTerminal("sim");
    mTerminal.Type("\x03\r");
    EXPECT_TRUE(mTerminal.WaitFor("error: unknown command '?'\r\n"));
    mTerminal.Type("\x1D");
    EXPECT_EQ(mProgram->Wait(), 0);
}

TEST_F(TermProgram, RestoresTheTerminalWhenItIsEndedBySignal)
{
    const std::string link = mDirectory / "link";
    StartAtTerminal("sim,uart1=pty:" + link);
    mProgram->Signal(SIGTERM);

    EXPECT_EQ(mProgram->Wait(), 143);
    EXPECT_TRUE(mTerminal.IsInOrdinaryMode());
    EXPECT_FALSE(IsLink(link));
}

TEST_F(TermProgram, LeavesTheTerminalToTheShellWhileItIsSuspended)
{
    Suspend(SIGTSTP);
    EXPECT_TRUE(mTerminal.IsInOrdinaryMode());
    ExpectToGoOn();
}

TEST_F(TermProgram, TakesKeysAgainAfterItWasStopped)
{
    Suspend(SIGSTOP);
    mTerminal.RestoreOrdinaryMode();
    ExpectToGoOn();
}

TEST_F(TermProgram, SendsAPipeAndPrintsWhatComesBack)
{
    WriteFile(mDirectory / "in", "id?\rzoom 7\rzoom?\r");
    const Outcome outcome = RunKoserial({"term", "uart0", "--timeout", "300"}, mDirectory / "in");
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "KoSim motorised lens 1.0\r\nok\r\n7\r\n");
    EXPECT_EQ(outcome.mErrors, "");
}

TEST_F(TermProgram, SendsCtrlRightBracketFromAPipeLikeAnyOtherByte)
{
    WriteFile(mDirectory / "in", "a\x1D\x03z");
    EXPECT_EQ(RunKoserial({"term", "uart1"}, mDirectory / "in").mOutput, "a\x1D\x03z");
}

TEST_F(TermProgram, EndsAtTheEndOfAnEmptyInput)
{
    const Outcome outcome = RunKoserial({"term", "uart0"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "");
}

TEST_F(TermProgram, TellsThatTheDeviceDoesNotOfferThePort)
{
    const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "term", "bulk3"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors,
              "koserial: cannot open bulk3: NOT_SUPPORTED: The specified port is not supported by this device.\n");
}
