#include <KoSim/Loopback.h>

#include "FakeLine.h"

#include <gtest/gtest.h>

using namespace KoSim;

TEST(LoopbackTest, SendsEveryByteBack)
{
    std::string everyByte;
    for (int i = 0; i < 256; ++i)
    {
        everyByte += static_cast<char>(i);
    }
    FakeLine line;
    Loopback loopback;
    loopback.Attach(line);
    Receive(loopback, everyByte);
    Receive(loopback, "more");
    loopback.Detach();

    EXPECT_EQ(line.GetSent(), everyByte + "more");
}

TEST(LoopbackTest, SendsNothingByItself)
{
    FakeLine line;
    Loopback loopback;
    loopback.Attach(line);
    loopback.Detach();

    EXPECT_EQ(line.GetSent(), "");
}

TEST(LoopbackTest, CanBePluggedIntoAnotherLine)
{
    FakeLine first;
    FakeLine second;
    Loopback loopback;
    loopback.Attach(first);
    loopback.Detach();
    loopback.Attach(second);
    Receive(loopback, "A");

    EXPECT_EQ(first.GetSent(), "");
    EXPECT_EQ(second.GetSent(), "A");
}

TEST(LoopbackTest, HasSettingsOnlyIfItIsGivenSome)
{
    const LineSettings settings = {9600, LineParity::Even, 7, 2};

    EXPECT_FALSE(Loopback().GetSettings());
    EXPECT_TRUE(Loopback(settings).GetSettings() == settings);
}
