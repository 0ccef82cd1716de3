#include "Support/Program.h"

#include <gtest/gtest.h>

namespace
{

const char* const CONVERSATION = "out          | in\n"
                                 "-------------+-----------------------------------------------\n"
                                 "id?          | KoSim motorised lens 1.0\n"
                                 "status?      | ready zoom=0 focus=500\n"
                                 "zoom 120     | ok\n"
                                 "zoom?        | 120\n"
                                 "focus 650    | ok\n"
                                 "focus?       | 650\n"
                                 "focus 2000   | error: a position is a number from 0 to 1000\n"
                                 "iris?        | error: unknown command 'iris?'\n"
                                 "status?      | ready zoom=120 focus=650\n";

} // namespace

TEST(DemoProgram, PrintsTheConversation)
{
    for (const char* const device : {"sim", "sim,timing=instant", "sim,baud=4800,uart1=null"})
    {
        const Outcome outcome = RunKoserial({"--device", device, "demo"});
        EXPECT_EQ(outcome.mStatus, 0) << device;
        EXPECT_EQ(outcome.mOutput, CONVERSATION) << device;
        EXPECT_EQ(outcome.mErrors, "") << device;
    }
}

TEST(DemoProgram, FailsWhenNobodyAnswers)
{
    const Outcome outcome = RunKoserial({"--device", "sim,uart0=null", "demo"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mOutput, "out          | in\n"
                               "-------------+-----------------------------------------------\n"
                               "id?          | \n");
    EXPECT_EQ(outcome.mErrors, "koserial: the answer to 'id?' should have been 'KoSim motorised lens 1.0'\n");
}

TEST(DemoProgram, FailsWhenSomebodyElseAnswers)
{
    const Outcome outcome = RunKoserial({"--device", "sim,uart0=loopback", "demo"});
    EXPECT_EQ(outcome.mStatus, 1);
    EXPECT_EQ(outcome.mErrors, "koserial: the answer to 'id?' should have been 'KoSim motorised lens 1.0'\n");
}
