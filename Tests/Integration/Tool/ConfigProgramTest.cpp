#include "Support/Files.h"
#include "Support/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Json = nlohmann::json;

namespace
{

const std::string RATES = "rates      9600 14400 19200 28800 38400 57600 115200 230400 460800 921600\n";

} // namespace

TEST(ConfigProgram, ShowsTheSettingsOfAPort)
{
    const Outcome uart = RunKoserial({"config", "uart0"});
    EXPECT_EQ(uart.mStatus, 0);
    EXPECT_EQ(uart.mOutput, "baud       115200\n"
                            "parity     none\n"
                            "stop-bits  1\n"
                            "bulk-mode  -\n" +
                                RATES);
    EXPECT_EQ(uart.mErrors, "");
    const Outcome bulk = RunKoserial({"--device", "sim:no-bulk-selector", "config", "bulk5"});
    EXPECT_NE(bulk.mOutput.find("bulk-mode  UART\n"), std::string::npos);
}

TEST(ConfigProgram, ChangesSettingsAndSaysThatTheyAreSet)
{
    const Outcome outcome = RunKoserial({"config", "bulk3", "--baud", "57600", "--parity", "even", "--stop-bits", "2"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "baud       57600   set\n"
                               "parity     even    set\n"
                               "stop-bits  2       set\n"
                               "bulk-mode  UART\n" +
                                   RATES);
}

TEST(ConfigProgram, ShowsAsJsonWhatTheDeviceHasAfterwards)
{
    const Outcome outcome = RunKoserial({"--device", "sim,baud=9600", "config", "uart0", "--baud", "115200", "--json"});
    EXPECT_EQ(outcome.mStatus, 0);
    const Json json = Json::parse(outcome.mOutput);
    EXPECT_EQ(json["port"], "uart0");
    EXPECT_EQ(json["baud"], 115200);
    EXPECT_EQ(json["parity"], "none");
    EXPECT_EQ(json["stop_bits"], 1);
    EXPECT_TRUE(json["bulk_mode"].is_null());
    EXPECT_EQ(json["rates"].size(), 10U);
    EXPECT_TRUE(json["not_taken"].empty());
}

TEST(ConfigProgram, RefusesARateThatIsNotOffered)
{
    const Outcome outcome = RunKoserial({"config", "uart0", "--baud", "1200"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "koserial: uart0 does not offer 1200 bit/s: it offers 9600, 14400, 19200, 28800, 38400, "
                               "57600, 115200, 230400, 460800, 921600\n");
}

TEST(ConfigProgram, RestoresWhatItHasSaved)
{
    const TemporaryDirectory directory;
    const std::string file = directory / "settings";
    EXPECT_EQ(RunKoserial({"config", "uart1", "--baud", "19200", "--parity", "odd", "--save", file}).mStatus, 0);
    EXPECT_EQ(ReadFile(file), "# koserial: settings of uart1\nbaud 19200\nparity odd\nstop-bits 1\n");

    const Outcome outcome = RunKoserial({"config", "uart1", "--restore", file});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "baud       19200   set\n"
                               "parity     odd     set\n"
                               "stop-bits  1       set\n"
                               "bulk-mode  -\n" +
                                   RATES);
}

TEST(ConfigProgram, PrintsWhatItSavesInsteadOfTheTable)
{
    const Outcome outcome = RunKoserial({"config", "uart0", "--baud", "19200", "--save", "-"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "# koserial: settings of uart0\nbaud 19200\nparity none\nstop-bits 1\n");
    EXPECT_EQ(outcome.mErrors, "");

    const Outcome json = RunKoserial({"config", "uart0", "--json", "--save", "-"});
    EXPECT_EQ(json.mStatus, 2);
    EXPECT_EQ(json.mOutput, "");
    EXPECT_EQ(json.mErrors, "koserial: --json and --save - cannot both have standard output\n");
}

TEST(ConfigProgram, RestoresNothingFromAFileWithoutSettings)
{
    const TemporaryDirectory directory;
    const std::string saved = directory / "saved";
    WriteFile(saved, "precious");
    WriteFile(directory / "comment", "# settings\n\n");
    for (const std::string& file : {std::string("/dev/null"), directory / "comment"})
    {
        const Outcome outcome = RunKoserial({"config", "uart0", "--restore", file, "--baud", "9600", "--save", saved});
        EXPECT_EQ(outcome.mStatus, 1);
        EXPECT_EQ(outcome.mOutput, "");
        EXPECT_EQ(outcome.mErrors, "koserial: " + file + " holds no settings\n");
    }
    EXPECT_EQ(RunKoserial({"config", "uart0", "--restore", "-"}).mErrors,
              "koserial: standard input holds no settings\n");
    EXPECT_EQ(ReadFile(saved), "precious");
}

TEST(ConfigProgram, SetsNothingUpForAPortThatTheDeviceDoesNotOffer)
{
    for (const std::vector<std::string>& words :
         std::vector<std::vector<std::string>>{{"config", "uart0", "--baud", "9600"}, {"config", "uart0"}})
    {
        std::vector<std::string> command = {"--device", "sim:not-gige-vision"};
        command.insert(command.end(), words.begin(), words.end());
        const Outcome outcome = RunKoserial(command);
        EXPECT_EQ(outcome.mStatus, 1);
        EXPECT_EQ(outcome.mOutput, "");
        EXPECT_EQ(outcome.mErrors, "koserial: the device does not offer uart0\n");
    }
    EXPECT_EQ(RunKoserial({"--device", "sim:not-gige-vision", "config", "bulk3", "--baud", "9600"}).mStatus, 0);
}

TEST(ConfigProgram, RestoresTheModeOfABulkPort)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "settings", "bulk-mode SPI\n");
    const Outcome outcome = RunKoserial({"config", "bulk1", "--restore", directory / "settings"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_NE(outcome.mOutput.find("bulk-mode  SPI     set\n"), std::string::npos);
}

TEST(ConfigProgram, PutsTheCommandLineAboveAFile)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "settings", "baud 9600\nparity odd\n");
    const Outcome outcome = RunKoserial({"config", "uart0", "--restore", directory / "settings", "--baud", "38400"});
    EXPECT_NE(outcome.mOutput.find("baud       38400   set\nparity     odd     set\n"), std::string::npos);
}

TEST(ConfigProgram, RefusesAFileThatIsWrongAndNamesTheLine)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "settings", "baud 9600\nparity maybe\n");
    const Outcome outcome = RunKoserial({"config", "uart0", "--restore", directory / "settings"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mOutput, "");
    EXPECT_EQ(outcome.mErrors, "koserial: " + directory / "settings" +
                                   ", line 2: parity cannot be 'maybe': it can be none, even or odd\n");
}

TEST(ConfigProgram, SaysWhichSettingsTheDeviceHasNotTaken)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "settings", "parity odd\nbulk-mode UART\n");
    const Outcome table = RunKoserial({"config", "uart0", "--restore", directory / "settings"});
    EXPECT_EQ(table.mStatus, 1);
    EXPECT_NE(table.mOutput.find("parity     odd     set\nstop-bits  1\nbulk-mode  -       not taken: UART\n"),
              std::string::npos);
    EXPECT_EQ(table.mErrors, "koserial: uart0 has not taken every setting\n");
    const Outcome json = RunKoserial({"config", "uart0", "--restore", directory / "settings", "--json"});
    EXPECT_EQ(json.mStatus, 1);
    EXPECT_EQ(Json::parse(json.mOutput)["not_taken"], Json({"bulk_mode"}));
}

TEST(ConfigProgram, RefusesSettingsThatNoLineHas)
{
    EXPECT_EQ(RunKoserial({"config", "uart0", "--parity", "mark"}).mStatus, 2);
    EXPECT_EQ(RunKoserial({"config", "uart0", "--stop-bits", "3"}).mStatus, 2);
    EXPECT_EQ(RunKoserial({"config", "uart0", "--baud", "0"}).mStatus, 2);
    EXPECT_EQ(RunKoserial({"config", "lpt0"}).mStatus, 2);
    EXPECT_EQ(RunKoserial({"config"}).mStatus, 2);
}

TEST(ConfigProgram, AWrongRateAtTheFarEndMakesGarbageOfWhatIsSent)
{
    const TemporaryDirectory directory;
    WriteFile(directory / "in", "hello");
    const auto send = [&](const std::string& aDevice)
    {
        EXPECT_EQ(RunKoserial({"--device", aDevice, "send", "uart1", directory / "in", "--receive", directory / "out"})
                      .mStatus,
                  0);
        return ReadFile(directory / "out");
    };
    EXPECT_EQ(send("sim,uart1=loopback:9600").size(), 5U);
    EXPECT_NE(ReadFile(directory / "out"), "hello");
    EXPECT_EQ(send("sim,baud=9600,uart1=loopback:9600"), "hello");
}
