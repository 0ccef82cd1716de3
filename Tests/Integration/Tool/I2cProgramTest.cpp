#include "Support/Program.h"
#include "Support/Text.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

#include <csignal>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using Json = nlohmann::json;

namespace
{

constexpr std::size_t EEPROM_SIZE = 32768;

/// On bulk port 0 the bus runs in registers, on the others in features. What one run of the tool writes to the large
/// EEPROM the next one reads.
class I2cProgram : public testing::TestWithParam<std::string>
{
protected:
    /// Runs a command of the group i2c on the port.
    Outcome RunI2c(const std::string& aCommand, const std::vector<std::string>& aArguments)
    {
        std::vector<std::string> words = {"--device", "sim,timing=instant,eeprom=" + mImage, "i2c", aCommand, mPort};
        words.insert(words.end(), aArguments.begin(), aArguments.end());
        return RunKoserial(words);
    }

    /// As RunI2c(), for a run that succeeds. A machine that is busy for longer than the 50 ms of a read makes a slave
    /// look absent: the command runs again then.
    std::string GetOutput(const std::string& aCommand, const std::vector<std::string>& aArguments)
    {
        Outcome outcome = RunI2c(aCommand, aArguments);
        for (int more = 5; outcome.mStatus == 1 && more > 0; --more)
        {
            outcome = RunI2c(aCommand, aArguments);
        }
        EXPECT_EQ(outcome.mStatus, 0);
        EXPECT_EQ(outcome.mErrors, "");
        return outcome.mOutput;
    }

    const TemporaryDirectory mDirectory;
    const std::string mImage = mDirectory / "eeprom";
    const std::string mPort = GetParam();
};

INSTANTIATE_TEST_SUITE_P(Ports, I2cProgram, testing::Values("bulk0", "bulk3"));

/// What is wrong with a command of the group i2c.
std::string GetI2cComplaint(std::vector<std::string> aArguments)
{
    aArguments.insert(aArguments.begin(), "i2c");
    const Outcome outcome = RunKoserial(aArguments);
    EXPECT_EQ(outcome.mStatus, 2);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_TRUE(Matches(outcome.mErrors, "koserial: [^\n]+\n"));
    return outcome.mErrors.substr(10, outcome.mErrors.size() - 11);
}

} // namespace

TEST_P(I2cProgram, ScanShowsWhichAddressesAnswer)
{
    EXPECT_EQ(GetOutput("scan", {}), "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n"
                                     "00:                         -- -- -- -- -- -- -- --\n"
                                     "10: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
                                     "20: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
                                     "30: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
                                     "40: -- -- -- -- -- -- -- -- 48 -- -- -- -- -- -- --\n"
                                     "50: 50 -- -- -- -- -- -- 57 -- -- -- -- -- -- -- --\n"
                                     "60: -- -- -- -- -- -- -- -- -- -- -- -- -- -- -- --\n"
                                     "70: -- -- -- -- -- -- -- --\n");
}

TEST_P(I2cProgram, ScanPrintsJson)
{
    EXPECT_EQ(Json::parse(GetOutput("scan", {"--fast", "--json"})),
              Json({{"port", mPort}, {"addresses", {0x48, 0x50, 0x57}}}));
}

TEST_P(I2cProgram, ReadsWhatAnotherRunHasWritten)
{
    EXPECT_EQ(GetOutput("write", {"0x50", "--reg", "0x1234", "--reg-bytes", "2", "1", "0x22", "0b11"}), "");
    EXPECT_EQ(GetOutput("read", {"80", "--reg", "0x1233", "--reg-bytes", "2", "--count", "5"}),
              "0xff 0x01 0x22 0x03 0xff\n");
    EXPECT_EQ(ReadFile(mImage).substr(0x1234, 3), "\x01\x22\x03");
}

TEST_P(I2cProgram, ReadsWithAndWithoutARegister)
{
    EXPECT_EQ(GetOutput("read", {"0x48", "--count", "2"}), "0x19 0x00\n");
    EXPECT_EQ(GetOutput("read", {"0x48", "--reg", "3", "--count", "2", "--fast"}), "0x50 0x00\n");
}

TEST_P(I2cProgram, ReadPrintsJson)
{
    EXPECT_EQ(Json::parse(GetOutput("read", {"0x48", "--reg", "2", "--count", "2", "--json"})),
              Json({{"port", mPort}, {"address", 0x48}, {"register", 2}, {"data", {0x4B, 0x00}}}));
    EXPECT_EQ(Json::parse(GetOutput("read", {"0x48", "--count", "1", "--json"})),
              Json({{"port", mPort}, {"address", 0x48}, {"register", nullptr}, {"data", {0x19}}}));
}

TEST_P(I2cProgram, DumpShowsAllRegisters)
{
    const std::string dump = GetOutput("dump", {"0x57"});
    EXPECT_TRUE(Matches(dump, "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"
                              "([0-9a-f]0:( ff){16}    \\.{16}\n){16}"));
    EXPECT_EQ(dump.substr(dump.rfind('\n', dump.size() - 2) + 1, 3), "f0:");
}

TEST_P(I2cProgram, DumpShowsAPartAndTheText)
{
    std::string content(EEPROM_SIZE, '\xFF');
    WriteFile(mImage, content.replace(0xFE, 3, "Hi!"));
    EXPECT_EQ(GetOutput("dump", {"0x50", "--reg-bytes", "2", "--start", "0xfd", "--count", "5"}),
              "       0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f    0123456789abcdef\n"
              "00f0:                                        ff 48 69                 .Hi\n"
              "0100: 21 ff                                              !.\n");
}

TEST_P(I2cProgram, DumpReadsAWholeEeprom)
{
    const std::string content = MakeRandomBytes(EEPROM_SIZE);
    WriteFile(mImage, content);
    const Json json = Json::parse(GetOutput("dump", {"0x50", "--reg-bytes", "2", "--count", "32768", "--json"}));
    EXPECT_EQ(json["port"], mPort);
    EXPECT_EQ(json["address"], 0x50);
    EXPECT_EQ(json["start"], 0);
    EXPECT_TRUE(json["data"].get<std::vector<std::uint8_t>>() ==
                std::vector<std::uint8_t>(content.begin(), content.end()));
}

TEST_P(I2cProgram, DumpEndsWithTheLastRegister)
{
    const Json json = Json::parse(GetOutput("dump", {"0x57", "--start", "0xf8", "--json"}));
    EXPECT_EQ(json["start"], 0xF8);
    EXPECT_EQ(json["data"].size(), 8U);
}

TEST_P(I2cProgram, TransferJoinsMessages)
{
    EXPECT_EQ(GetOutput("transfer", {"w4@0x50", "0x00", "0x10", "0xab", "0xcd"}), "");
    EXPECT_EQ(GetOutput("transfer", {"w2@0x50", "0x00", "0x10", "r3", "w1@0x48", "0", "r2"}),
              "0xab 0xcd 0xff\n0x19 0x00\n");
}

TEST_P(I2cProgram, TransferPrintsJson)
{
    const Json write = {{"kind", "write"}, {"address", 0x48}, {"data", {3}}};
    const Json read = {{"kind", "read"}, {"address", 0x48}, {"data", {0x50, 0x00}}};
    EXPECT_EQ(Json::parse(GetOutput("transfer", {"w1@0x48", "3", "r2", "--json"})),
              Json({{"port", mPort}, {"messages", {write, read}}}));
}

TEST_P(I2cProgram, TellsWhereNothingAnswers)
{
    const std::string message = "koserial: nothing answers at 0x51 on " + mPort + "\n";
    for (const std::vector<std::string>& words : std::vector<std::vector<std::string>>{
             {"read", "0x51", "--count", "4"}, {"dump", "0x51"}, {"transfer", "r1@0x51"}})
    {
        const Outcome outcome = RunI2c(words.front(), {words.begin() + 1, words.end()});
        EXPECT_EQ(outcome.mStatus, 1);
        EXPECT_EQ(outcome.mOutput, "");
        EXPECT_EQ(outcome.mErrors, message);
    }
}

TEST_P(I2cProgram, WritesUpTo253Bytes)
{
    std::vector<std::string> words = {"0x50", "--reg-bytes", "2", "--reg", "0"};
    words.insert(words.end(), 251, "0x5a");
    EXPECT_EQ(GetOutput("write", words), "");
    EXPECT_EQ(ReadFile(mImage).substr(0, 65), std::string(64, 'Z') + '\xFF');

    words.emplace_back("0x5a");
    const Outcome outcome = RunI2c("write", words);
    EXPECT_EQ(outcome.mStatus, 2);
    EXPECT_EQ(outcome.mErrors,
              "koserial: a write can have 253 bytes, the offset of the register among them, not 254\n");
}

TEST_P(I2cProgram, ScanEndsWhenNobodyReadsItsOutput)
{
    const std::string fifo = mDirectory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    Program program(Koserial({"i2c", "scan", mPort}));
    program.WithOutput(fifo).Start();
    char byte = 0;
    ASSERT_TRUE(WaitUntil([&] { return ::read(reader, &byte, 1) == 1; }));
    ::close(reader);

    EXPECT_EQ(program.Wait(), 1);
    EXPECT_EQ(program.GetErrors(), "koserial: cannot write standard output: Broken pipe\n");
}

TEST_P(I2cProgram, ScanEndsOnCtrlC)
{
    Program program(Koserial({"i2c", "scan", mPort}));
    program.Start();
    ASSERT_TRUE(WaitUntil([&] { return program.GetOutput().find("10: --") != std::string::npos; }));
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(program.GetErrors(), "koserial: interrupted\n");
    EXPECT_EQ(program.GetOutput().back(), '\n');
}

TEST(I2cUsage, NamesTheNumberThatIsWrong)
{
    EXPECT_EQ(GetI2cComplaint({"read", "bulk0", "0x80", "--count", "1"}),
              "ADDR cannot be '0x80': it can be a number from 0 to 127 (0x7f)");
    EXPECT_EQ(GetI2cComplaint({"read", "bulk0", "0x50", "--count", "0"}),
              "--count cannot be '0': it can be a number from 1 to 16383 (0x3fff)");
    EXPECT_EQ(GetI2cComplaint({"read", "bulk0", "0x50", "--count", "1", "--reg", "0x10000"}),
              "--reg cannot be '0x10000': it can be a number from 0 to 65535 (0xffff)");
    EXPECT_EQ(GetI2cComplaint({"read", "bulk0", "0x50", "--count", "1", "--reg", "256"}),
              "register 256 needs --reg-bytes 2");
    EXPECT_EQ(GetI2cComplaint({"read", "bulk0", "0x50", "--count", "1", "--reg-bytes", "3"}),
              "--reg-bytes cannot be '3': it can be a number from 1 to 2");
    EXPECT_EQ(GetI2cComplaint({"write", "bulk0", "0x50", "0b12"}),
              "BYTE cannot be '0b12': it can be a number from 0 to 255 (0xff)");
    EXPECT_EQ(GetI2cComplaint({"dump", "bulk0", "0x50", "--start", "1", "--count", "256"}),
              "256 registers from 1 on are not all below 256: use --reg-bytes 2");
    EXPECT_EQ(GetI2cComplaint({"dump", "bulk0", "0x50", "--start", "0x100"}),
              "1 registers from 256 on are not all below 256: use --reg-bytes 2");
    EXPECT_EQ(GetI2cComplaint({"dump", "bulk0", "0x50", "--reg-bytes", "2", "--start", "0xffff", "--count", "2"}),
              "2 registers from 65535 on are not all below 65536");
}

TEST(I2cUsage, NamesTheMessageThatIsWrong)
{
    EXPECT_EQ(GetI2cComplaint({"transfer", "bulk0", "w2@0x50", "0x00"}), "'w2@0x50' needs 2 bytes, but only 1 follow");
}

TEST(I2cUsage, RefusesAUart)
{
    const std::string complaint = "uart0 is a UART: buses run on the ports bulk0 to bulk7";
    EXPECT_EQ(GetI2cComplaint({"scan", "uart0"}), complaint);
    EXPECT_EQ(GetI2cComplaint({"dump", "uart0", "0x50"}), complaint);
}

TEST(I2cUsage, NeedsACommandOfTheGroup)
{
    EXPECT_EQ(RunKoserial({"i2c"}).mErrors,
              "koserial: A subcommand is required\nRun koserial --help for more information.\n");
    EXPECT_EQ(RunKoserial({"i2c", "--help"}).mStatus, 0);
}

TEST(I2cUsage, RefusesAWriteThatWouldReachOtherSlaves)
{
    const TemporaryDirectory directory;
    const std::string image = directory / "eeprom";
    std::vector<std::string> words = {"--device",    "sim:tiny-downstream,timing=instant,eeprom=" + image,
                                      "i2c",         "write",
                                      "bulk3",       "0x50",
                                      "--reg-bytes", "2",
                                      "--reg",       "0"};
    words.insert(words.end(), 20, "0x5a");
    const Outcome outcome = RunKoserial(words);
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: cannot write 22 bytes to 0x50: bulk3 sends at most 21 in one piece\n");
    EXPECT_EQ(ReadFile(image).find('Z'), std::string::npos);

    words.pop_back();
    EXPECT_EQ(RunKoserial(words).mStatus, 0);
    EXPECT_EQ(ReadFile(image).substr(0, 20), std::string(19, 'Z') + '\xFF');
}

TEST(I2cUsage, TellsWhichDeviceHasNoI2c)
{
    const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "i2c", "scan", "bulk0"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: the device offers no I2C on bulk0\n");
}
