#include <ProgressBar.h>

#include "Support/Program.h"
#include "Support/Terminal.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

using namespace KoTool;

TEST(ProgressBar, ShowsTheShareThatIsDone)
{
    EXPECT_EQ(ProgressBar::Format(0, 80, 79), "[........................................]   0 %  0 of 80 bytes");
    EXPECT_EQ(ProgressBar::Format(39, 80, 79), "[###################.....................]  48 %  39 of 80 bytes");
    EXPECT_EQ(ProgressBar::Format(80, 80, 79), "[########################################] 100 %  80 of 80 bytes");
}

TEST(ProgressBar, IsFullWhenMoreIsSentThanWasThere)
{
    EXPECT_EQ(ProgressBar::Format(90, 80, 79), "[########################################] 100 %  90 of 80 bytes");
}

TEST(ProgressBar, CountsBytesWhenTheirNumberIsUnknown)
{
    EXPECT_EQ(ProgressBar::Format(12, std::nullopt, 79), "12 bytes");
    EXPECT_EQ(ProgressBar::Format(0, 0, 79), "0 bytes");
}

TEST(ProgressBar, FitsInALine)
{
    const std::string text = " 48 %  39 of 80 bytes";
    EXPECT_EQ(ProgressBar::Format(39, 80, 64), "[###################.....................] " + text);
    EXPECT_EQ(ProgressBar::Format(39, 80, 63), "[###################....................] " + text);
    EXPECT_EQ(ProgressBar::Format(39, 80, 34), "[####......] " + text);
    EXPECT_EQ(ProgressBar::Format(39, 80, 33), text);
    EXPECT_EQ(ProgressBar::Format(39, 80, 21), text);
    EXPECT_EQ(ProgressBar::Format(39, 80, 20), "[#####.......]  48 %");
    EXPECT_EQ(ProgressBar::Format(39, 80, 5), " 48 %");
    EXPECT_EQ(ProgressBar::Format(39, 80, 3), " 48");
    EXPECT_EQ(ProgressBar::Format(39, 80, 0), "");
    EXPECT_EQ(ProgressBar::Format(12345678, std::nullopt, 10), "12345678 b");
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

TEST(ProgressBar, StaysInOneLineOfANarrowTerminal)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    Terminal terminal;
    terminal.SetWidth(30);
    Program program(Koserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in"}));

    EXPECT_EQ(program.WithErrors(terminal.GetPath()).Wait(), 0);

    EXPECT_TRUE(terminal.WaitFor("\r\033[Ksent 300 bytes\r\n"));
    EXPECT_TRUE(Matches(terminal.GetScreen(), "(\r\033\\[K[^\r]{0,29})+sent 300 bytes\r\n"));
    EXPECT_TRUE(Contains(terminal.GetScreen(), " of 300 bytes\r"));
}

TEST(ProgressBar, IsNotDrawnOnATerminalThatCannotEraseALine)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    for (const std::string type : {"TERM=dumb", "TERM="})
    {
        Terminal terminal;
        std::vector<std::string> command = Koserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in"});
        command.insert(command.begin(), {"/usr/bin/env", type});
        Program program(command);
        EXPECT_EQ(program.WithErrors(terminal.GetPath()).Wait(), 0);
        EXPECT_TRUE(terminal.WaitFor("\n"));
        EXPECT_EQ(terminal.GetScreen(), "sent 300 bytes\r\n");
    }
}

TEST(ProgressBar, DoesNotMixWithStandardOutput)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    Terminal terminal;
    Program sending(Koserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in", "--receive", "-"}));
    EXPECT_EQ(sending.WithErrors(terminal.GetPath()).Wait(), 0);
    EXPECT_TRUE(terminal.WaitFor("\n"));
    EXPECT_EQ(terminal.GetScreen(), "sent 300 bytes, received 300 bytes\r\n");

    Program reading(Koserial({"--device", "sim,timing=instant", "spi", "flash-read", "bulk3", "-", "--count", "9000"}));
    EXPECT_EQ(reading.WithErrors(terminal.GetPath()).Wait(), 0);
    EXPECT_TRUE(terminal.WaitFor("read 9000 bytes\r\n"));
    EXPECT_EQ(terminal.GetScreen(), "sent 300 bytes, received 300 bytes\r\nread 9000 bytes\r\n");
}

TEST(ProgressBar, IsNotDrawnElsewhere)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", MakeRandomBytes(300));
    EXPECT_EQ(RunKoserial({"--device", "sim,baud=4800", "send", "uart1", directory / "in"}).mErrors,
              "sent 300 bytes\n");
}
