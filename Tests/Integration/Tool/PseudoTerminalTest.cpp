#include "Support/Program.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace
{

class PseudoTerminal : public testing::Test
{
protected:
    void SetUp() override { WriteFile(mFile, mContent); }

    std::vector<std::string> Receive(const std::string& aCount, const std::string& aTimeoutMs)
    {
        return Koserial(
            {"--device", mDevice, "recv", "uart1", "--bytes", aCount, "--timeout", aTimeoutMs, "--output", mOut});
    }

    bool WaitForLink()
    {
        return WaitUntil([this] { return IsLink(mLink); });
    }

    const TemporaryDirectory mDirectory;
    const std::string mFile = mDirectory / "file";
    const std::string mOut = mDirectory / "out";
    const std::string mLink = mDirectory / "link";
    const std::string mDevice = "sim,timing=instant,uart1=pty:" + mLink;
    const std::string mContent = MakeRandomBytes(65536);
};

} // namespace

TEST_F(PseudoTerminal, HandsWhatIsSentToTheProgramThatOpensIt)
{
    Program koserial(Koserial({"--device", mDevice, "send", "uart1", mFile}));
    koserial.Start();
    ASSERT_TRUE(WaitForLink());
    Program socat({SOCAT_PROGRAM, "-u", "OPEN:" + mLink, "CREATE:" + mOut});
    socat.Start();

    EXPECT_EQ(koserial.Wait(), 0);
    EXPECT_EQ(koserial.GetErrors(), "sent 65536 bytes\n");
    socat.Wait();
    EXPECT_TRUE(ReadFile(mOut) == mContent);
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(PseudoTerminal, HandsWhatTheProgramSendsToRecv)
{
    Program koserial(Receive("65536", "10000"));
    koserial.Start();
    ASSERT_TRUE(WaitForLink());
    Program socat({SOCAT_PROGRAM, "-u", "OPEN:" + mFile, "OPEN:" + mLink});
    socat.Start();

    EXPECT_EQ(koserial.Wait(), 0);
    EXPECT_EQ(koserial.GetErrors(), "");
    EXPECT_TRUE(ReadFile(mOut) == mContent);
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(PseudoTerminal, LetsRecvKeepWhatCameBeforeTheTimeout)
{
    WriteFile(mFile, "seven..");
    Program koserial(Receive("10", "10000"));
    koserial.Start();
    ASSERT_TRUE(WaitForLink());
    Program socat({SOCAT_PROGRAM, "-u", "OPEN:" + mFile, "OPEN:" + mLink});
    EXPECT_EQ(socat.Wait(), 0);

    EXPECT_EQ(koserial.Wait(), 1);
    EXPECT_EQ(koserial.GetErrors(), "received 7 of 10 bytes\n"
                                    "koserial: cannot read from uart1: TIMEOUT: Nothing came for 10000 ms.\n");
    EXPECT_EQ(ReadFile(mOut), "seven..");
}

TEST_F(PseudoTerminal, LetsRecvLeaveWhatItWasNotAskedFor)
{
    Program koserial(Receive("10", "10000"));
    koserial.Start();
    ASSERT_TRUE(WaitForLink());
    Program socat({SOCAT_PROGRAM, "-u", "OPEN:" + mFile, "OPEN:" + mLink});
    socat.Start();

    EXPECT_EQ(koserial.Wait(), 0);
    EXPECT_EQ(ReadFile(mOut), mContent.substr(0, 10));
}

TEST_F(PseudoTerminal, IsAnnouncedWhenNoLinkLeadsToIt)
{
    const Outcome outcome =
        RunKoserial({"--device", "sim,uart1=pty", "recv", "uart1", "--bytes", "1", "--timeout", "0"});
    EXPECT_TRUE(Matches(outcome.mErrors, "koserial: the far end of uart1 is /dev/pts/[0-9]+\n"
                                         "received 0 of 1 bytes\n"
                                         "koserial: cannot read from uart1: TIMEOUT: Nothing came for 0 ms.\n"));
}

TEST_F(PseudoTerminal, TellsWhenNobodyReadIt)
{
    WriteFile(mFile, "unread");
    const Outcome outcome = RunKoserial({"--device", mDevice, "send", "uart1", mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "sent 6 bytes\nkoserial: the program at the far end of uart1 did not read 6 bytes\n");
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(PseudoTerminal, DoesNotReplaceAFileByItsLink)
{
    WriteFile(mLink, "precious");
    const Outcome outcome = RunKoserial({"--device", mDevice, "send", "uart1", mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: far end of uart1: cannot make the link " + mLink + ": File exists\n");
    EXPECT_EQ(ReadFile(mLink), "precious");
}

TEST_F(PseudoTerminal, ReplacesALinkToATerminalThatIsGone)
{
    std::filesystem::create_symlink("/dev/pts/999999", mLink);
    EXPECT_EQ(RunKoserial({"--device", mDevice, "send", "uart1", "-"}).mStatus, 0);
    EXPECT_FALSE(IsLink(mLink));
}

TEST_F(PseudoTerminal, LeavesALinkToAMissingFileAlone)
{
    std::filesystem::create_symlink(mDirectory / "gone", mLink);
    EXPECT_EQ(RunKoserial({"--device", mDevice, "send", "uart1", "-"}).mStatus, 1);
    EXPECT_EQ(std::filesystem::read_symlink(mLink), mDirectory / "gone");
}

TEST_F(PseudoTerminal, NeedsADirectoryForItsLink)
{
    const std::string link = mDirectory / "none/link";
    const Outcome outcome = RunKoserial({"--device", "sim,uart1=pty:" + link, "send", "uart1", mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors,
              "koserial: far end of uart1: cannot make the link " + link + ": No such file or directory\n");
}
