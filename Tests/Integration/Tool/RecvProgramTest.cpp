#include "Support/Program.h"

#include <gtest/gtest.h>

TEST(RecvProgram, TellsHowManyBytesAreMissing)
{
    const Outcome outcome = RunKoserial({"recv", "uart1", "--bytes", "3", "--timeout", "50"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "received 0 of 3 bytes\n"
                               "koserial: cannot read from uart1: TIMEOUT: Nothing came for 50 ms.\n");
}

TEST(RecvProgram, DoesNotWaitWithATimeoutOfZero)
{
    const Outcome outcome = RunKoserial({"recv", "uart1", "--bytes", "3", "--timeout", "0"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "received 0 of 3 bytes\n"
                               "koserial: cannot read from uart1: TIMEOUT: Nothing came for 0 ms.\n");
}

TEST(RecvProgram, NamesAnOutputThatCannotBeOpened)
{
    const TemporaryDirectory directory;
    const std::string out = directory / "none/out";
    const Outcome outcome = RunKoserial({"recv", "uart1", "--bytes", "3", "--timeout", "50", "--output", out});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot open " + out + ": No such file or directory\n");
}

TEST(RecvProgram, TouchesNoOutputWhenThePortCannotBeOpened)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "out", "precious");
    const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "recv", "bulk7", "--bytes", "3", "--timeout",
                                         "50", "--output", directory / "out"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(ReadFile(directory / "out"), "precious");
}

TEST(RecvProgram, TellsThatTheDeviceDoesNotOfferThePort)
{
    const Outcome outcome =
        RunKoserial({"--device", "sim:uart-only", "recv", "bulk7", "--bytes", "3", "--timeout", "50"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors,
              "koserial: cannot open bulk7: NOT_SUPPORTED: The specified port is not supported by this device.\n");
}
