#include "Support/Program.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

using Json = nlohmann::json;

TEST(PortsProgram, ShowsTheIdentityAndAllTenPorts)
{
    const Outcome outcome = RunKoserial({"--device", "sim,baud=9600,id=camera 7", "ports"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mOutput, "device camera 7\n"
                               "PORT   SUPPORTED  ENGINE     INTERFACE  BAUD\n"
                               "uart0  yes        registers  uart       9600\n"
                               "uart1  yes        registers  uart       9600\n"
                               "bulk0  yes        registers  uart       115200\n"
                               "bulk1  yes        features   uart       9600\n"
                               "bulk2  yes        features   uart       9600\n"
                               "bulk3  yes        features   uart       9600\n"
                               "bulk4  yes        features   uart       9600\n"
                               "bulk5  yes        features   uart       9600\n"
                               "bulk6  yes        features   uart       9600\n"
                               "bulk7  yes        features   uart       9600\n");
    EXPECT_EQ(outcome.mErrors, "");
}

TEST(PortsProgram, TellsWhichPortsADeviceDoesNotOffer)
{
    const Outcome outcome = RunKoserial({"--device", "sim:uart-only", "ports"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_NE(outcome.mOutput.find("uart1  yes        registers  uart       115200\n"
                                   "bulk0  no         -          -          -\n"),
              std::string::npos);
}

TEST(PortsProgram, ShowsADeviceThatHasItsPortsInFeaturesOnly)
{
    const Outcome outcome = RunKoserial({"--device", "sim:not-gige-vision", "ports"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_NE(outcome.mOutput.find("uart1  no         -          -          -\n"
                                   "bulk0  yes        features   uart       115200\n"),
              std::string::npos);
}

TEST(PortsProgram, MakesNoPseudoTerminal)
{
    const TemporaryDirectory directory;
    const std::string taken = directory / "link";
    WriteFile(taken, "");
    const Outcome outcome = RunKoserial({"--device", "sim,uart0=pty,uart1=pty:" + taken, "ports"});
    EXPECT_EQ(outcome.mStatus, 0);
    EXPECT_EQ(outcome.mErrors, "");
}

TEST(PortsProgram, PrintsJson)
{
    const Outcome outcome = RunKoserial({"--device", "sim:not-gige-vision,baud=9600,id=camera 7", "ports", "--json"});
    EXPECT_EQ(outcome.mStatus, 0);
    const Json json = Json::parse(outcome.mOutput);
    EXPECT_EQ(json.value("device", ""), "camera 7");
    const Json ports = json["ports"];
    ASSERT_EQ(ports.size(), 10U);
    EXPECT_EQ(
        ports[0],
        Json(
            {{"port", "uart0"}, {"supported", false}, {"engine", nullptr}, {"interface", nullptr}, {"baud", nullptr}}));
    EXPECT_EQ(
        ports[9],
        Json({{"port", "bulk7"}, {"supported", true}, {"engine", "features"}, {"interface", "uart"}, {"baud", 9600}}));
}
