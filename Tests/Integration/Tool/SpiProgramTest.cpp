#include "Support/Program.h"
#include "Support/Terminal.h"
#include "Support/Text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

using Json = nlohmann::json;

namespace
{

constexpr std::size_t FLASH_SIZE = 1U << 20;
constexpr std::size_t SECTOR_SIZE = 4096;

class SpiProgram : public testing::TestWithParam<std::string>
{
protected:
    /// The tool with a command of the group spi on the port.
    std::vector<std::string> Spi(const std::string& aTiming, const std::string& aCommand,
                                 const std::vector<std::string>& aArguments)
    {
        std::vector<std::string> words = {"--device", "sim,timing=" + aTiming + ",flash=" + mImage, "spi", aCommand,
                                          mPort};
        words.insert(words.end(), aArguments.begin(), aArguments.end());
        return words;
    }

    Outcome RunSpi(const std::string& aCommand, const std::vector<std::string>& aArguments)
    {
        return RunKoserial(Spi("instant", aCommand, aArguments));
    }

    /// As RunSpi(), for a run that succeeds without a word on standard error.
    std::string GetOutput(const std::string& aCommand, const std::vector<std::string>& aArguments)
    {
        const Outcome outcome = RunSpi(aCommand, aArguments);
        EXPECT_EQ(outcome.mStatus, 0);
        EXPECT_EQ(outcome.mErrors, "");
        return outcome.mOutput;
    }

    /// What is wrong with a command that ends with that status, without having done anything.
    std::string GetComplaint(int aStatus, const std::string& aCommand, const std::vector<std::string>& aArguments)
    {
        const Outcome outcome = RunSpi(aCommand, aArguments);
        EXPECT_EQ(outcome.mStatus, aStatus);
        EXPECT_EQ(outcome.mOutput, "");
        EXPECT_TRUE(Matches(outcome.mErrors, "koserial: [^\n]+\n"));
        return outcome.mErrors.substr(10, outcome.mErrors.size() - 11);
    }

    const TemporaryDirectory mDirectory;
    const std::string mImage = mDirectory / "flash";
    const std::string mFile = mDirectory / "file";
    const std::string mOut = mDirectory / "out";
    const std::string mPort = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Ports, SpiProgram, testing::Values("bulk0", "bulk3"));

} // namespace

TEST_P(SpiProgram, TransferReadsAfterItHasWritten)
{
    EXPECT_EQ(GetOutput("transfer", {"--write", "9f", "--read", "3"}), "0xef 0x40 0x14\n");
    EXPECT_EQ(GetOutput("transfer", {"--write", "03 00 00 00", "--read", "0x02"}), "0xff 0xff\n");
    EXPECT_EQ(GetOutput("transfer", {"--read", "1"}), "0xff\n");
    EXPECT_EQ(GetOutput("transfer", {"--write", "06"}), "");
}

TEST_P(SpiProgram, TransferReadsWhileItWrites)
{
    EXPECT_EQ(GetOutput("transfer", {"--write", "9f000000", "--simultaneous"}), "0xff 0xef 0x40 0x14\n");
    EXPECT_EQ(GetOutput("transfer", {"--write", "9f:00", "--read", "2", "--simultaneous"}), "0xff 0xef\n");
}

TEST_P(SpiProgram, TransferPrintsJson)
{
    EXPECT_EQ(Json::parse(GetOutput("transfer", {"--write", "9f", "--read", "3", "--json"})),
              Json({{"port", mPort}, {"data", {0xEF, 0x40, 0x14}}}));
    EXPECT_EQ(Json::parse(GetOutput("transfer", {"--write", "04", "--json"})),
              Json({{"port", mPort}, {"data", Json::array()}}));
}

TEST_P(SpiProgram, TransferTellsWhatItCannotDo)
{
    EXPECT_EQ(GetComplaint(2, "transfer", {}), "a transfer needs --write or --read");
    EXPECT_EQ(GetComplaint(2, "transfer", {"--write", "", "--read", "0"}), "a transfer needs --write or --read");
    EXPECT_EQ(GetComplaint(2, "transfer", {"--write", "9"}),
              "--write cannot be '9': it can be bytes of two hexadecimal digits each, such as 9f0010 or '9f 00 10'");
    EXPECT_EQ(GetComplaint(2, "transfer", {"--read", "256"}),
              "--read cannot be '256': it can be a number from 0 to 255 (0xff)");
    EXPECT_EQ(GetComplaint(2, "transfer", {"--write", std::string(512, '0')}), "--write can have 255 bytes, not 256");
    EXPECT_EQ(GetComplaint(2, "transfer", {"--write", "9f00", "--read", "3", "--simultaneous"}),
              "with --simultaneous as many bytes are read as written: 2");
}

TEST_P(SpiProgram, FlashIdTellsTheSize)
{
    EXPECT_EQ(GetOutput("flash-id", {}), "0xef 0x40 0x14, 1048576 bytes\n");
    EXPECT_EQ(
        Json::parse(GetOutput("flash-id", {"--json"})),
        Json({{"port", mPort}, {"manufacturer", 0xEF}, {"type", 0x40}, {"capacity", 0x14}, {"size", FLASH_SIZE}}));
}

TEST_P(SpiProgram, ReadsTheFileThatItHasWritten)
{
    WriteFile(mFile, MakeRandomBytes(10000));
    const Outcome written = RunSpi("flash-write", {mFile});
    EXPECT_EQ(written.mStatus, 0);
    EXPECT_EQ(written.mOutput, "");
    EXPECT_EQ(written.mErrors, "wrote and verified 10000 bytes, changed 3 sectors\n");
    const Outcome read = RunSpi("flash-read", {mOut, "--count", "10000"});
    EXPECT_EQ(read.mStatus, 0);
    EXPECT_EQ(read.mErrors, "read 10000 bytes\n");
    EXPECT_TRUE(ReadFile(mOut) == ReadFile(mFile));
    EXPECT_TRUE(ReadFile(mImage) == ReadFile(mFile) + std::string(FLASH_SIZE - 10000, '\xFF'));
}

TEST_P(SpiProgram, KeepsTheNeighboursOfWhatItWrites)
{
    const std::string before = MakeRandomBytes(FLASH_SIZE);
    WriteFile(mImage, before);
    WriteFile(mFile, std::string(5000, 'x'));
    EXPECT_EQ(RunSpi("flash-write", {mFile, "--address", "0x12345"}).mErrors,
              "wrote and verified 5000 bytes, changed 2 sectors\n");
    std::string expected = before;
    expected.replace(0x12345, 5000, 5000, 'x');
    EXPECT_TRUE(ReadFile(mImage) == expected);

    EXPECT_EQ(RunSpi("flash-write", {mFile, "--address", "0x12345"}).mErrors,
              "wrote and verified 5000 bytes, changed 0 sectors\n");
}

TEST_P(SpiProgram, ReadsTheWholeFlashToStandardOutput)
{
    WriteFile(mImage, MakeRandomBytes(FLASH_SIZE));
    const Outcome whole = RunSpi("flash-read", {"-"});
    EXPECT_EQ(whole.mErrors, "read 1048576 bytes\n");
    EXPECT_TRUE(whole.mOutput == ReadFile(mImage));
    EXPECT_TRUE(RunSpi("flash-read", {"-", "--address", "0xffff0"}).mOutput == whole.mOutput.substr(0xFFFF0));
}

TEST_P(SpiProgram, WritesStandardInput)
{
    WriteFile(mFile, "hello");
    EXPECT_EQ(RunKoserial(Spi("instant", "flash-write", {"-", "--address", "0b100000000"}), mFile).mStatus, 0);
    EXPECT_EQ(ReadFile(mImage).substr(0xFF, 7), "\xFFhello\xFF");
}

TEST_P(SpiProgram, RefusesAnEmptyInputAndTouchesNothing)
{
    const std::string before = MakeRandomBytes(FLASH_SIZE);
    WriteFile(mImage, before);
    WriteFile(mFile, "");
    EXPECT_EQ(GetComplaint(1, "flash-write", {mFile}), mFile + " is empty: nothing was written");
    EXPECT_EQ(GetComplaint(1, "flash-write", {"-"}), "standard input is empty: nothing was written");
    EXPECT_TRUE(ReadFile(mImage) == before);
}

TEST_P(SpiProgram, TouchesNothingWhenTheFileIsTooLarge)
{
    const std::string before = MakeRandomBytes(FLASH_SIZE);
    WriteFile(mImage, before);
    WriteFile(mFile, std::string(17, 'x'));
    EXPECT_EQ(GetComplaint(1, "flash-write", {mFile, "--address", "0xffff0"}),
              "17 bytes at address 1048560 would go beyond the end of the flash at 1048576");
    EXPECT_TRUE(ReadFile(mImage) == before);
}

TEST_P(SpiProgram, KeepsTheOutputFileWhenTheRangeIsWrong)
{
    WriteFile(mOut, "precious");
    EXPECT_EQ(GetComplaint(1, "flash-read", {mOut, "--address", "0x100000"}),
              "1 bytes at address 1048576 would go beyond the end of the flash at 1048576");
    EXPECT_EQ(GetComplaint(2, "flash-read", {mOut, "--address", "0x1000000"}),
              "--address cannot be '0x1000000': it can be a number from 0 to 16777215 (0xffffff)");
    EXPECT_EQ(ReadFile(mOut), "precious");
}

TEST_P(SpiProgram, TellsWhichFileItCannotOpen)
{
    const Outcome outcome = RunSpi("flash-write", {mFile});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot open " + mFile + ": No such file or directory\n");
    EXPECT_EQ(RunSpi("flash-read", {mDirectory / "no/out"}).mStatus, 1);
}

TEST_P(SpiProgram, ShowsTheProgressOnATerminal)
{
    WriteFile(mFile, MakeRandomBytes(2 * SECTOR_SIZE));
    Terminal terminal;
    Program writing(Koserial(Spi("instant", "flash-write", {mFile})));
    EXPECT_EQ(writing.WithErrors(terminal.GetPath()).Wait(), 0);
    EXPECT_TRUE(terminal.WaitFor("50 %  4096 of 8192 bytes"));
    EXPECT_TRUE(terminal.WaitFor("\r\033[Kwrote and verified 8192 bytes, changed 2 sectors\r\n"));

    Program reading(Koserial(Spi("instant", "flash-read", {mOut})));
    EXPECT_EQ(reading.WithErrors(terminal.GetPath()).Wait(), 0);
    EXPECT_TRUE(terminal.WaitFor("100 %  1048576 of 1048576 bytes"));
    EXPECT_TRUE(terminal.WaitFor("\r\033[Kread 1048576 bytes\r\n"));
}

TEST_P(SpiProgram, EndsOnCtrlCBetweenTwoSectors)
{
    // Each sector has to be erased before it is written.
    const std::string before(FLASH_SIZE, '\xAA');
    const std::string content(FLASH_SIZE, '\x55');
    WriteFile(mImage, before);
    WriteFile(mFile, content);
    Program program(Koserial(Spi("real", "flash-write", {mFile})));
    program.Start();
    ASSERT_TRUE(WaitUntil([&] { return ReadFile(mImage)[SECTOR_SIZE] == '\x55'; }));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_TRUE(Matches(program.GetErrors(),
                        "wrote and verified [0-9]+ bytes, changed [0-9]+ sectors\nkoserial: interrupted\n"));
    const std::size_t done = std::stoul(program.GetErrors().substr(std::string("wrote and verified ").size()));
    EXPECT_EQ(done % SECTOR_SIZE, 0U);
    EXPECT_LT(done, FLASH_SIZE);
    EXPECT_TRUE(ReadFile(mImage) == content.substr(0, done) + before.substr(done));
}

TEST_P(SpiProgram, LetsNobodyElseWriteMeanwhile)
{
    WriteFile(mImage, std::string(FLASH_SIZE, '\xAA'));
    WriteFile(mFile, std::string(FLASH_SIZE, '\x55'));
    Program program(Koserial(Spi("real", "flash-write", {mFile})));
    program.Start();
    ASSERT_TRUE(WaitUntil([&] { return ReadFile(mImage)[SECTOR_SIZE] == '\x55'; }));

    const std::string refusal = "device: flash: another program is writing to " + mImage;
    EXPECT_EQ(GetComplaint(1, "flash-write", {mFile}), refusal);
    EXPECT_EQ(GetComplaint(1, "transfer", {"--write", "06"}), refusal);
    EXPECT_EQ(GetOutput("flash-id", {}), "0xef 0x40 0x14, 1048576 bytes\n");
    EXPECT_TRUE(program.IsRunning());

    program.Signal(SIGINT);
    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(GetOutput("transfer", {"--write", "06"}), "");
}

TEST(SpiUsage, RefusesAUart)
{
    const Outcome outcome = RunKoserial({"spi", "flash-id", "uart1"});
    EXPECT_EQ(outcome.mStatus, 2);
    EXPECT_EQ(outcome.mErrors, "koserial: uart1 is a UART: buses run on the ports bulk0 to bulk7\n");
}

TEST(SpiUsage, NeedsACommandOfTheGroup)
{
    EXPECT_EQ(RunKoserial({"spi"}).mStatus, 2);
    EXPECT_EQ(RunKoserial({"spi", "--help"}).mStatus, 0);
}
