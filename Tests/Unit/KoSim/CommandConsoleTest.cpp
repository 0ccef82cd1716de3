#include <KoSim/CommandConsole.h>

#include "FakeLine.h"

#include <gtest/gtest.h>

using namespace KoSim;

class CommandConsoleTest : public ::testing::Test
{
protected:
    CommandConsoleTest() { mConsole.Attach(mLine); }
    ~CommandConsoleTest() override { mConsole.Detach(); }

    std::string Ask(const std::string& aText)
    {
        Receive(mConsole, aText);
        return mLine.TakeSent();
    }

    FakeLine mLine;
    CommandConsole mConsole;
};

TEST_F(CommandConsoleTest, TellsWhoItIs)
{
    EXPECT_EQ(Ask("id?\r"), "KoSim motorised lens 1.0\r\n");
}

TEST_F(CommandConsoleTest, StartsAtZoomZeroAndInTheMiddleOfTheFocus)
{
    EXPECT_EQ(Ask("zoom?\r"), "0\r\n");
    EXPECT_EQ(Ask("focus?\r"), "500\r\n");
    EXPECT_EQ(Ask("status?\r"), "ready zoom=0 focus=500\r\n");
}

TEST_F(CommandConsoleTest, MovesBothAxes)
{
    EXPECT_EQ(Ask("zoom 120\r"), "ok\r\n");
    EXPECT_EQ(Ask("focus 1000\r"), "ok\r\n");
    EXPECT_EQ(Ask("zoom?\r"), "120\r\n");
    EXPECT_EQ(Ask("focus?\r"), "1000\r\n");
    EXPECT_EQ(Ask("status?\r"), "ready zoom=120 focus=1000\r\n");
}

TEST_F(CommandConsoleTest, ReachesBothEndsOfAnAxis)
{
    EXPECT_EQ(Ask("zoom 1000\r"), "ok\r\n");
    EXPECT_EQ(Ask("zoom?\r"), "1000\r\n");
    EXPECT_EQ(Ask("zoom 0\r"), "ok\r\n");
    EXPECT_EQ(Ask("zoom?\r"), "0\r\n");
}

TEST_F(CommandConsoleTest, RefusesAPositionThatIsNoneAndStaysWhereItIs)
{
    Ask("zoom 120\r");
    for (const char* const position :
         {"1001", "-1", "", " 5", "5 ", "12a", "0x10", "1.5", "+5", "99999999999999999999", "far"})
    {
        EXPECT_EQ(Ask(std::string("zoom ") + position + "\r"), "error: a position is a number from 0 to 1000\r\n")
            << position;
    }
    EXPECT_EQ(Ask("zoom\r"), "error: a position is a number from 0 to 1000\r\n");
    EXPECT_EQ(Ask("zoom?\r"), "120\r\n");
}

TEST_F(CommandConsoleTest, AnswersAnUnknownCommandWithAnErrorLine)
{
    EXPECT_EQ(Ask("dance\r"), "error: unknown command 'dance'\r\n");
    EXPECT_EQ(Ask("id\r"), "error: unknown command 'id'\r\n");
    EXPECT_EQ(Ask("ID?\r"), "error: unknown command 'ID?'\r\n");
    EXPECT_EQ(Ask("id? \r"), "error: unknown command 'id? '\r\n");
    EXPECT_EQ(Ask("zoom? 5\r"), "error: unknown command 'zoom? 5'\r\n");
}

TEST_F(CommandConsoleTest, TakesCarriageReturnLineFeedOrBothForTheEndOfACommand)
{
    EXPECT_EQ(Ask("zoom?\r"), "0\r\n");
    EXPECT_EQ(Ask("zoom?\n"), "0\r\n");
    EXPECT_EQ(Ask("zoom?\r\n"), "0\r\n");
}

TEST_F(CommandConsoleTest, AnswersOnceWhenTheTwoEndsOfALineComeApart)
{
    EXPECT_EQ(Ask("zoom?\r"), "0\r\n");
    EXPECT_EQ(Ask("\n"), "");
    EXPECT_EQ(Ask("zoom?\r\n"), "0\r\n");
}

TEST_F(CommandConsoleTest, PassesEmptyLinesOver)
{
    EXPECT_EQ(Ask("\r\n\r\r\n\n"), "");
    EXPECT_EQ(Ask("\rzoom?\r"), "0\r\n");
}

TEST_F(CommandConsoleTest, AnswersNothingBeforeTheCommandEnds)
{
    EXPECT_EQ(Ask("zoom?"), "");
    EXPECT_EQ(Ask("\r"), "0\r\n");
}

TEST_F(CommandConsoleTest, PutsACommandTogetherFromSingleBytes)
{
    std::string answer;
    for (const char byte : std::string("zoom 7\rzoom?\r"))
    {
        answer += Ask(std::string(1, byte));
    }
    EXPECT_EQ(answer, "ok\r\n7\r\n");
}

TEST_F(CommandConsoleTest, AnswersSeveralCommandsInOrder)
{
    EXPECT_EQ(Ask("zoom 1\rzoom?\rfocus 2\rfocus?\r"), "ok\r\n1\r\nok\r\n2\r\n");
}

TEST_F(CommandConsoleTest, TakesCommandsOfUpTo80Characters)
{
    const std::string longest(80, 'x');

    EXPECT_EQ(Ask(longest + "\r"), "error: unknown command '" + longest + "'\r\n");
    EXPECT_EQ(Ask(longest + "x\r"), "error: a command has at most 80 characters\r\n");
    EXPECT_EQ(Ask(std::string(100000, 'x') + "\r"), "error: a command has at most 80 characters\r\n");
}

TEST_F(CommandConsoleTest, ForgetsACommandThatWasTooLong)
{
    Ask(std::string(200, 'x') + "\r");

    EXPECT_EQ(Ask("zoom?\r"), "0\r\n");
}

TEST_F(CommandConsoleTest, ShowsUnprintableBytesAsQuestionMarks)
{
    EXPECT_EQ(Ask(std::string("a\x01\xFF\t\x7F\0z", 7) + "\r"), "error: unknown command 'a?????z'\r\n");
}

TEST_F(CommandConsoleTest, AnswersAgainAfterItMovedToAnotherLine)
{
    FakeLine other;
    mConsole.Detach();
    mConsole.Attach(other);
    Receive(mConsole, "zoom?\r");

    EXPECT_EQ(other.TakeSent(), "0\r\n");
    EXPECT_EQ(mLine.TakeSent(), "");
}
