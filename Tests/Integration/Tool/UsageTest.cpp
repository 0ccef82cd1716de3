#include "Support/Program.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

namespace
{

/// What the tool says about a wrong command line, without its name and the pointer to the help.
std::string GetUsageComplaint(const std::vector<std::string>& aArguments)
{
    const Outcome outcome = RunKoserial(aArguments);
    EXPECT_EQ(outcome.mStatus, 2);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_TRUE(Matches(outcome.mErrors, "koserial: [^\n]+\n(Run koserial --help for more information.\n)?"));
    const std::size_t start = outcome.mErrors.find(' ') + 1;
    return outcome.mErrors.substr(start, outcome.mErrors.find('\n') - start);
}

} // namespace

TEST(Usage, NeedsACommand)
{
    EXPECT_EQ(GetUsageComplaint({}), "A subcommand is required");
    EXPECT_EQ(RunKoserial({}).mErrors,
              "koserial: A subcommand is required\nRun koserial --help for more information.\n");
}

TEST(Usage, NamesAnUnknownCommand)
{
    EXPECT_EQ(GetUsageComplaint({"listen"}), "unknown command 'listen'");
    EXPECT_EQ(GetUsageComplaint({"listen", "--all", "uart0"}), "unknown command 'listen'");
    EXPECT_EQ(GetUsageComplaint({"i2c", "detect", "bulk0"}), "unknown command 'i2c detect'");
    EXPECT_EQ(GetUsageComplaint({"spi", "--device", "sim", "flash-erase"}), "unknown command 'spi flash-erase'");
    EXPECT_EQ(GetUsageComplaint({""}), "unknown command ''");
}

TEST(Usage, RefusesAnUnknownOption)
{
    EXPECT_EQ(GetUsageComplaint({"ports", "--all"}), "The following argument was not expected: --all");
    EXPECT_EQ(GetUsageComplaint({"--all"}), "The following argument was not expected: --all");
    EXPECT_EQ(GetUsageComplaint({"i2c", "--all"}), "The following argument was not expected: --all");
}

TEST(Usage, NamesTheArgumentThatIsMissing)
{
    EXPECT_EQ(GetUsageComplaint({"term"}), "PORT is required");
    EXPECT_EQ(GetUsageComplaint({"send", "uart0"}), "FILE is required");
    EXPECT_EQ(GetUsageComplaint({"recv", "uart0", "--timeout", "10"}), "--bytes is required");
    EXPECT_EQ(GetUsageComplaint({"recv", "uart0", "--bytes", "10"}), "--timeout is required");
    EXPECT_EQ(GetUsageComplaint({"i2c", "scan"}), "PORT is required");
    EXPECT_EQ(GetUsageComplaint({"i2c", "read", "bulk0", "--count", "1"}), "ADDR is required");
    EXPECT_EQ(GetUsageComplaint({"i2c", "read", "bulk0", "0x50"}), "--count is required");
    EXPECT_EQ(GetUsageComplaint({"i2c", "write", "bulk0", "0x50"}), "BYTE is required");
    EXPECT_EQ(GetUsageComplaint({"i2c", "transfer", "bulk0"}), "MESSAGE is required");
    EXPECT_EQ(GetUsageComplaint({"spi", "flash-read", "bulk0"}), "FILE is required");
    EXPECT_EQ(GetUsageComplaint({"--device"}), "--device: 1 required URI missing");
}

TEST(Usage, TellsTheRangeOfANumberInEveryCommand)
{
    const std::string counts = "': it can be a number from 1 to 9223372036854775807 (0x7fffffffffffffff)";
    for (const std::string text : {"-1", "0", "x", "", "9223372036854775808"})
    {
        EXPECT_EQ(GetUsageComplaint({"recv", "uart0", "--bytes", text, "--timeout", "0"}),
                  "--bytes cannot be '" + text + counts);
    }
    const std::string times = "': it can be a number from 0 to 4294967295 (0xffffffff)";
    EXPECT_EQ(GetUsageComplaint({"recv", "uart0", "--bytes", "1", "--timeout", "-1"}),
              "--timeout cannot be '-1" + times);
    EXPECT_EQ(GetUsageComplaint({"send", "uart0", "-", "--timeout", "4294967296"}),
              "--timeout cannot be '4294967296" + times);
    EXPECT_EQ(GetUsageComplaint({"term", "uart0", "--timeout", "1.5"}), "--timeout cannot be '1.5" + times);
    EXPECT_EQ(GetUsageComplaint({"--device", "sim,baud=1", "ports"}),
              "device: baud cannot be '1': it can be a number from 50 (0x32) to 4000000 (0x3d0900)");
}

TEST(Usage, ReadsNumbersTheSameWayInEveryCommand)
{
    const std::string rule = ", without a leading zero";
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"recv", "uart0", "--bytes", "010", "--timeout", "0"},
                                               {"recv", "uart0", "--bytes", "1", "--timeout", "010"},
                                               {"config", "uart0", "--baud", "010"},
                                               {"--device", "sim,baud=0115200", "ports"},
                                               {"i2c", "read", "bulk0", "010", "--count", "1"},
                                               {"i2c", "write", "bulk0", "0x50", "010"},
                                               {"i2c", "transfer", "bulk0", "r010@0x50"},
                                               {"spi", "transfer", "bulk0", "--read", "010"}})
    {
        const std::string complaint = GetUsageComplaint(words);
        EXPECT_EQ(complaint.substr(complaint.size() - rule.size()), rule) << complaint;
    }
    EXPECT_EQ(RunKoserial({"recv", "uart1", "--bytes", "0b11", "--timeout", "0x0"}).mErrors,
              "received 0 of 3 bytes\nkoserial: cannot read from uart1: TIMEOUT: Nothing came for 0 ms.\n");
    EXPECT_TRUE(Contains(RunKoserial({"--device", "sim,baud=0x2580", "ports"}).mOutput, "  9600\n"));
}

TEST(Usage, ListsThePortsWhenOneIsUnknown)
{
    const std::string complaint = "unknown port 'com1': the ports are uart0, uart1, bulk0, bulk1, bulk2, bulk3, bulk4, "
                                  "bulk5, bulk6 and bulk7";
    EXPECT_EQ(GetUsageComplaint({"term", "com1"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"send", "com1", "-"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"recv", "com1", "--bytes", "1", "--timeout", "1"}), complaint);
}

TEST(Usage, RefusesAnUnknownDeviceInEveryCommand)
{
    const std::string complaint = "device: unknown kind 'usb': a device is sim[:PROFILE][,KEY=VALUE...]";
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "ports"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "term", "uart0"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "send", "uart0", "-"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "recv", "uart0", "--bytes", "1", "--timeout", "1"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "demo"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "i2c", "scan", "bulk0"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "i2c", "read", "bulk0", "0x50", "--count", "1"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "i2c", "write", "bulk0", "0x50", "1"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "i2c", "dump", "bulk0", "0x50"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "i2c", "transfer", "bulk0", "r1@0x50"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "spi", "transfer", "bulk0", "--read", "1"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "spi", "flash-id", "bulk0"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "spi", "flash-read", "bulk0", "-"}), complaint);
    EXPECT_EQ(GetUsageComplaint({"--device", "usb", "spi", "flash-write", "bulk0", "-"}), complaint);
}

TEST(Usage, TakesTheDeviceAfterTheCommandToo)
{
    EXPECT_EQ(RunKoserial({"i2c", "read", "bulk0", "0x48", "--count", "2", "--device", "sim,timing=instant"}).mOutput,
              "0x19 0x00\n");
    const Outcome outcome = RunKoserial({"ports", "--device", "sim,baud=9600"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_TRUE(Contains(outcome.mOutput, "uart0  yes        registers  uart       9600\n"));
}

TEST(Usage, TellsTheVersion)
{
    const Outcome outcome = RunKoserial({"--version"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_TRUE(Matches(outcome.mOutput, "koserial [0-9]+\\.[0-9]+\\.[0-9]+\n"));
}

TEST(Usage, HelpsOnRequest)
{
    const Outcome outcome = RunKoserial({"--help"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mErrors, "");
    EXPECT_TRUE(Contains(outcome.mOutput, "sim[:PROFILE][,KEY=VALUE...]"));
    EXPECT_EQ(outcome.mOutput.back(), '\n');
    EXPECT_EQ(RunKoserial({"send", "--help"}).mStatus, 0);
}

TEST(Usage, TellsWhenStandardOutputCannotBeWritten)
{
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"--help"},
                                               {"--version"},
                                               {"ports"},
                                               {"config", "uart0"},
                                               {"config", "uart0", "--save", "-"},
                                               {"demo"},
                                               {"i2c", "scan", "bulk0"},
                                               {"i2c", "scan", "bulk0", "--json"},
                                               {"i2c", "read", "bulk0", "0x48", "--count", "1"},
                                               {"i2c", "dump", "bulk0", "0x57"},
                                               {"i2c", "transfer", "bulk0", "r1@0x48"},
                                               {"spi", "transfer", "bulk0", "--read", "1"},
                                               {"spi", "flash-id", "bulk0"},
                                               {"spi", "flash-read", "bulk0", "-", "--count", "1"}})
    {
        Program program(Koserial(words));
        EXPECT_EQ(program.WithOutput("/dev/full").Wait(), 1) << words.front();
        EXPECT_EQ(program.GetErrors(), "koserial: cannot write standard output: No space left on device\n");
    }
}

TEST(Usage, IsRightWhereTheDeviceOrAFileDoesNotHaveWhatIsAskedFor)
{
    const TemporaryDirectory directory;
    const std::string file = directory / "file";
    WriteFile(file, std::string(17, 'x'));
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"config", "uart0", "--baud", "1200"},
             {"config", "uart0", "--restore", file},
             {"config", "uart0", "--restore", directory / "none"},
             {"--device", "sim:uart-only", "recv", "bulk0", "--bytes", "1", "--timeout", "0"},
             {"--device", "sim:uart-only", "i2c", "scan", "bulk0"},
             {"--device", "sim,eeprom=" + file, "ports"},
             {"send", "uart1", file, "--receive", file},
             {"spi", "flash-write", "bulk0", file, "--address", "0xffff0"},
             {"spi", "flash-read", "bulk0", "-", "--address", "0x100000"}})
    {
        const Outcome outcome = RunKoserial(words);
        EXPECT_EQ(outcome.mStatus, 1) << outcome.mErrors;
        EXPECT_EQ(outcome.mOutput, "");
        EXPECT_TRUE(Matches(outcome.mErrors, "koserial: [^\n]+\n"));
    }
}

TEST(Usage, ShowsTheLogOfTheLibraryOnRequest)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", "x");
    std::vector<std::string> command = Koserial({"send", "uart1", directory / "in"});
    command.insert(command.begin(), {"/usr/bin/env", "KO_LOG=info"});
    Program program(command);
    EXPECT_EQ(program.Wait(), 0);
    EXPECT_TRUE(Contains(program.GetErrors(), "Writing 1 bytes of data\n"));
}
