#include "Support/Program.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

class SendProgram : public testing::Test
{
protected:
    void SetUp() override { WriteFile(mFile, mContent); }

    const TemporaryDirectory mDirectory;
    const std::string mFile = mDirectory / "file";
    const std::string mOut = mDirectory / "out";
    const std::string mContent = MakeRandomBytes(65536);
};

} // namespace

TEST_F(SendProgram, GetsBackFromALoopbackWhatItSent)
{
    const Outcome outcome = RunKoserial({"--device", "sim,timing=instant", "send", "uart1", mFile, "--receive", mOut});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "sent 65536 bytes, received 65536 bytes\n");
    EXPECT_TRUE(ReadFile(mOut) == mContent);
}

TEST_F(SendProgram, GetsItBackAtThePaceOfTheLineToo)
{
    WriteFile(mFile, mContent.substr(0, 2000));
    const Outcome outcome = RunKoserial({"send", "uart1", mFile, "--receive", mOut, "--timeout", "300"});
    EXPECT_EQ(outcome.mErrors, "sent 2000 bytes, received 2000 bytes\n");
    EXPECT_TRUE(ReadFile(mOut) == mContent.substr(0, 2000));
}

TEST_F(SendProgram, OnlySendsWithoutReceive)
{
    WriteFile(mFile, "id?\r");
    const Outcome outcome = RunKoserial({"send", "uart0", mFile});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "sent 4 bytes\n");
}

TEST_F(SendProgram, SendsStandardInputUpToItsEnd)
{
    WriteFile(mFile, "id?\rzoom?\r");
    const Outcome outcome = RunKoserial({"send", "uart0", "-", "--receive", "-"}, mFile);
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "KoSim motorised lens 1.0\r\n0\r\n");
    EXPECT_EQ(outcome.mErrors, "sent 10 bytes, received 29 bytes\n");
}

TEST_F(SendProgram, SendsNothingFromAnEmptyInput)
{
    const Outcome outcome = RunKoserial({"send", "uart1", "-", "--receive", mOut});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mErrors, "sent 0 bytes, received 0 bytes\n");
    EXPECT_TRUE(std::filesystem::exists(mOut));
}

TEST_F(SendProgram, ReplacesWhatWasInTheOutput)
{
    WriteFile(mFile, "zoom?\r");
    WriteFile(mOut, "something longer than the answer");
    EXPECT_EQ(RunKoserial({"send", "uart0", mFile, "--receive", mOut}).mStatus, 0);
    EXPECT_EQ(ReadFile(mOut), "0\r\n");
}

TEST_F(SendProgram, TouchesNoOutputWhenThePortCannotBeOpened)
{
    WriteFile(mOut, "precious");
    for (const std::string& out : {mOut, mDirectory / "new"})
    {
        const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "send", "bulk0", mFile, "--receive", out});
        EXPECT_EQ(outcome.mStatus, 1);
        EXPECT_EQ(outcome.mErrors, "koserial: cannot open bulk0: NOT_SUPPORTED\n");
    }
    EXPECT_EQ(ReadFile(mOut), "precious");
    EXPECT_FALSE(std::filesystem::exists(mDirectory / "new"));
}

TEST_F(SendProgram, TakesAPortNameInUpperCase)
{
    EXPECT_EQ(RunKoserial({"--device", "sim,timing=instant", "send", "UART1", "-"}).mStatus, 0);
}

TEST_F(SendProgram, NamesAFileThatDoesNotExist)
{
    const Outcome outcome = RunKoserial({"send", "uart1", mDirectory / "none", "--receive", mOut});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot open " + mDirectory / "none" + ": No such file or directory\n");
    EXPECT_FALSE(std::filesystem::exists(mOut));
}

TEST_F(SendProgram, DoesNotSendADirectory)
{
    const Outcome outcome = RunKoserial({"send", "uart1", mDirectory / ""});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot read " + mDirectory / "" + ": Is a directory\n");
}

TEST_F(SendProgram, DoesNotSendAnythingWhenTheOutputCannotBeOpened)
{
    const std::string out = mDirectory / "none/out";
    const Outcome outcome = RunKoserial({"send", "uart1", mFile, "--receive", out});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot open " + out + ": No such file or directory\n");
}

TEST_F(SendProgram, DoesNotDestroyItsInput)
{
    const Outcome outcome = RunKoserial({"send", "uart1", mFile, "--receive", mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: " + mFile + " cannot be both sent and written\n");
    EXPECT_TRUE(ReadFile(mFile) == mContent);
}

TEST_F(SendProgram, EndsWhenTheOutputIsFull)
{
    const Outcome outcome =
        RunKoserial({"--device", "sim,baud=9600", "send", "uart1", mFile, "--receive", "/dev/full"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_TRUE(Contains(outcome.mErrors, "\nkoserial: cannot write /dev/full: No space left on device\n"));
}

TEST_F(SendProgram, EndsWhenNobodyReadsTheOutputAnyMore)
{
    ASSERT_EQ(::mkfifo(mOut.c_str(), 0600), 0);
    const int reader = ::open(mOut.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    Program program(Koserial({"--device", "sim,baud=9600", "send", "uart1", mFile, "--receive", "-"}));
    program.WithOutput(mOut).Start();
    char byte = 0;
    ASSERT_TRUE(WaitUntil([&] { return ::read(reader, &byte, 1) == 1; }));
    ::close(reader);

    EXPECT_EQ(program.Wait(), 1);
    EXPECT_TRUE(Contains(program.GetErrors(), "\nkoserial: cannot write standard output: Broken pipe\n"));
}

TEST_F(SendProgram, GetsBackWhatItSentFromEveryBulkPortOfEveryProfileThatHasIt)
{
    for (const std::string profile : {"full", "no-bulk-selector", "not-gige-vision", "tiny-downstream"})
    {
        for (const std::string port : {"bulk0", "bulk7"})
        {
            const std::string out = mDirectory / (profile + port);
            const Outcome outcome =
                RunKoserial({"--device", "sim:" + profile + ",timing=instant", "send", port, mFile, "--receive", out});
            EXPECT_EQ(outcome.mStatus, 0) << outcome.mErrors;
            EXPECT_TRUE(ReadFile(out) == ReadFile(mFile)) << profile << ' ' << port;
        }
    }
}

TEST_F(SendProgram, TellsThatTheDeviceDoesNotOfferThePort)
{
    const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "send", "bulk0", mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot open bulk0: NOT_SUPPORTED\n");
}
