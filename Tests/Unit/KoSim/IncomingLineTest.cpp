#include "IncomingLine.h"

#include "ModelOutputs.h"

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

/// A line whose bytes take 10 ms.
class IncomingLineTest : public ::testing::Test
{
protected:
    IncomingLineTest() { mLine.SetByteTime(10ms); }

    std::size_t Put(const std::string& aBytes, Time aNow) { return mLine.Put(AsBytes(aBytes), aBytes.size(), aNow); }

    std::string Take(std::size_t aLimit, Time aNow)
    {
        const std::vector<std::uint8_t> bytes = mLine.Take(aLimit, aNow);
        return {bytes.begin(), bytes.end()};
    }

    IncomingLine mLine;
};

TEST_F(IncomingLineTest, DeliversEachByteWhenItsTimeHasCome)
{
    EXPECT_EQ(Put("abc", 5ms), 0U);

    EXPECT_EQ(mLine.GetNextArrival(), Time(15ms));
    EXPECT_EQ(Take(9, 15ms - 1ns), "");
    EXPECT_EQ(Take(9, 15ms), "a");
    EXPECT_EQ(Take(9, 35ms), "bc");
    EXPECT_TRUE(mLine.IsEmpty());
}

TEST_F(IncomingLineTest, GivesNoMoreThanAskedFor)
{
    Put("abc", 0ms);

    EXPECT_EQ(Take(2, 1h), "ab");
    EXPECT_EQ(Take(2, 1h), "c");
}

TEST_F(IncomingLineTest, DoesNotLetABytePassTheOneBeforeIt)
{
    Put("a", 0ms);
    EXPECT_EQ(Take(1, 10ms), "a");
    Put("b", 11ms);

    EXPECT_EQ(mLine.GetNextArrival(), Time(21ms));
}

TEST_F(IncomingLineTest, MakesTheFarEndWaitWhileItIsHeld)
{
    Put("ab", 0ms);
    mLine.Hold();

    EXPECT_EQ(Take(9, 500ms), "");
    EXPECT_EQ(Take(9, 510ms), "a");
    EXPECT_EQ(Take(9, 520ms), "b");
}

TEST_F(IncomingLineTest, DeliversEverythingAtOnceWhenBytesTakeNoTime)
{
    mLine.SetByteTime(0ms);
    Put("abc", 0ms);

    EXPECT_EQ(Take(9, 0ms), "abc");
}

TEST_F(IncomingLineTest, TellsHowManyBytesFoundNoRoom)
{
    const std::size_t room = mLine.GetRoom();

    EXPECT_EQ(Put(std::string(room, 'x'), 0ms), 0U);
    EXPECT_EQ(mLine.GetRoom(), 0U);
    EXPECT_EQ(Put("yyy", 0ms), 3U);
}
