#include <ProgressBar.h>

#include "Support/Program.h"
#include "Support/Terminal.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

using namespace KoTool;

TEST(ProgressBar, ShowsTheShareThatIsDone)
{
    EXPECT_EQ(ProgressBar::Format(0, 80), "[........................................]   0 %  0 of 80 bytes");
    EXPECT_EQ(ProgressBar::Format(39, 80), "[###################.....................]  48 %  39 of 80 bytes");
    EXPECT_EQ(ProgressBar::Format(80, 80), "[########################################] 100 %  80 of 80 bytes");
}

TEST(ProgressBar, IsFullWhenMoreIsSentThanWasThere)
{
    EXPECT_EQ(ProgressBar::Format(90, 80), "[########################################] 100 %  90 of 80 bytes");
}

TEST(ProgressBar, CountsBytesWhenTheirNumberIsUnknown)
{
    EXPECT_EQ(ProgressBar::Format(12, std::nullopt), "12 bytes");
    EXPECT_EQ(ProgressBar::Format(0, 0), "0 bytes");
}

TEST(ProgressBar, IsDrawnOnATerminalAndRemovedAtTheEnd)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    Terminal terminal;
    Program program(Koserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in"}));

    EXPECT_EQ(program.WithErrors(terminal.GetPath()).Wait(), 0);

    EXPECT_TRUE(terminal.WaitFor("\r\033[Ksent 300 bytes\r\n"));
    EXPECT_TRUE(Contains(terminal.GetScreen(), "\r\033[K[###"));
    EXPECT_TRUE(Contains(terminal.GetScreen(), " of 300 bytes\r\033[K"));
}

TEST(ProgressBar, IsNotDrawnElsewhere)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    EXPECT_EQ(RunKoserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in"}).mErrors,
              "sent 300 bytes\n");
}
