// The FIFO of bulk port 0 between a host, a device thread and a line each of which may be late at any step: every order
// of their steps, for reserves whose later chunks are longer, as long and shorter than half the FIFO.

#include "FifoInterleaving.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <random>
#include <string>
#include <unordered_set>

using namespace KoSim;

namespace
{

/// Bytes that leave the FIFO in one step.
constexpr std::size_t PIECE = 16;

/// The searches below find 40000 and fewer.
constexpr std::size_t MOST_SITUATIONS = 100000;

constexpr HostHabits ONE_WRITE = {};
constexpr HostHabits WRITES = {false, true, false, false};
constexpr HostHabits WRITES_OF_ONE_CHUNK = {true, true, false, false};
constexpr HostHabits WRITES_THAT_TIME_OUT = {false, true, false, true};
constexpr HostHabits WRITES_THAT_TIME_OUT_AND_PAUSE = {false, true, true, true};

BulkLine MakeLine(std::uint32_t aReserve, BulkInterface aInterface = BulkInterface::Uart)
{
    return {aInterface, 7, false, aReserve};
}

std::string NameOf(const ::testing::TestParamInfo<BulkLine>& aInfo)
{
    return (aInfo.param.mInterface == BulkInterface::I2c ? "I2c" : "Uart") + std::to_string(aInfo.param.mReserve);
}

/// What can happen, in some order of the steps.
struct Findings
{
    bool mLosesBytes = false;  ///< a chunk finds too little room; nothing that follows is looked at
    bool mWaitsInVain = false; ///< the host waits, and no interrupt is to come
    bool mEndsEarly = false;   ///< a write ends while there are bytes in the FIFO
};

/// Goes through all situations that can be reached, each once.
Findings Search(const BulkLine& aLine, const HostHabits& aHabits)
{
    FifoInterleaving interleaving(aLine, aHabits, PIECE);
    std::unordered_set<std::string> known;
    Situations open = {interleaving.MakeFirst()};
    Situations reached;
    Findings findings;
    while (!open.empty())
    {
        if (known.size() > MOST_SITUATIONS)
        {
            ADD_FAILURE() << "There is no end of situations: interrupts pile up.";
            return findings;
        }
        const Situation situation = open.back();
        open.pop_back();
        const bool hasEnded = situation.mHost == HostStep::BeginWrite || situation.mHost == HostStep::End;
        findings.mEndsEarly |= hasEnded && situation.GetLevel() > 0;
        findings.mWaitsInVain |= situation.IsWaiting() && situation.IsQuiet();
        findings.mLosesBytes |= situation.HasLostBytes();
        if (situation.HasLostBytes())
        {
            continue;
        }
        reached.clear();
        interleaving.StepHost(situation, reached);
        interleaving.StepDeviceThread(situation, reached);
        interleaving.StepLine(situation, reached);
        std::copy_if(reached.begin(), reached.end(), std::back_inserter(open),
                     [&](const Situation& aReached) { return known.insert(aReached.GetKey()).second; });
    }
    return findings;
}

/// Hands over so many chunks of one write, with a random order of the steps. True when they all arrive.
bool Arrive(std::size_t aChunks, FifoInterleaving& aInterleaving, std::mt19937& aRandom)
{
    Situations now = {aInterleaving.MakeFirst()};
    Situations next;
    std::size_t chunks = 0;
    for (std::size_t steps = 0; chunks < aChunks && steps < 1000 * aChunks; ++steps)
    {
        next.clear();
        switch (std::uniform_int_distribution<int>(0, 2)(aRandom))
        {
        case 0:
            aInterleaving.StepHost(now.back(), next);
            break;
        case 1:
            aInterleaving.StepDeviceThread(now.back(), next);
            break;
        default:
            aInterleaving.StepLine(now.back(), next);
            break;
        }
        if (!next.empty())
        {
            chunks += next.back().mHandedOver > now.back().mHandedOver ? 1 : 0;
            now.swap(next); // whose last is a chunk that is not the last
        }
    }
    return chunks == aChunks && !now.back().HasLostBytes();
}

} // namespace

class BulkFifoShortChunkTest : public ::testing::TestWithParam<BulkLine>
{
};

TEST_P(BulkFifoShortChunkTest, NoChunkOfAWriteFindsTooLittleRoom)
{
    EXPECT_FALSE(Search(GetParam(), ONE_WRITE).mLosesBytes);
}

TEST_P(BulkFifoShortChunkTest, NoBytesAreLostWhenTheHostPausesBetweenWritesEvenIfItGaveOneUp)
{
    EXPECT_FALSE(Search(GetParam(), WRITES_THAT_TIME_OUT_AND_PAUSE).mLosesBytes);
}

/// For later chunks of 128, 127, 85, 84, 52, 12 and 128 bytes.
INSTANTIATE_TEST_SUITE_P(Reserves, BulkFifoShortChunkTest,
                         ::testing::Values(MakeLine(124), MakeLine(125), MakeLine(167), MakeLine(168), MakeLine(200),
                                           MakeLine(240), MakeLine(123, BulkInterface::I2c)),
                         NameOf);

class BulkFifoAnyChunkTest : public ::testing::TestWithParam<BulkLine>
{
};

TEST_P(BulkFifoAnyChunkTest,
       EveryBlockCausesAnInterruptThatIsDeliveredSoThatAWaitTimesOutOnlyWhileTheDeviceThreadIsLate)
{
    EXPECT_FALSE(Search(GetParam(), WRITES_THAT_TIME_OUT).mWaitsInVain);
}

TEST_P(BulkFifoAnyChunkTest, WritesOfOneChunkFollowEachOtherWithoutLoss)
{
    const Findings findings = Search(GetParam(), WRITES_OF_ONE_CHUNK);
    EXPECT_FALSE(findings.mLosesBytes);
    EXPECT_FALSE(findings.mEndsEarly);
}

INSTANTIATE_TEST_SUITE_P(Reserves, BulkFifoAnyChunkTest,
                         ::testing::Values(MakeLine(0), MakeLine(123), MakeLine(124), MakeLine(167), MakeLine(200)),
                         NameOf);

/// What no device can prevent, because it does not see when its host takes the signals back. The header of the engine
/// says so.
TEST(BulkFifoInterleaving, AnInterruptBeforeALongChunkIsTransmittedCanMakeTheHostHandOverOneTooMany)
{
    EXPECT_TRUE(Search(MakeLine(123), ONE_WRITE).mLosesBytes);
    EXPECT_TRUE(Search(MakeLine(0), ONE_WRITE).mLosesBytes);
}

TEST(BulkFifoInterleaving, AnInterruptBeforeTheLastChunkIsTransmittedCanEndTheWriteEarlyAndTheNextFindsTooLittleRoom)
{
    EXPECT_TRUE(Search(MakeLine(124), ONE_WRITE).mEndsEarly);
    EXPECT_TRUE(Search(MakeLine(124), WRITES).mLosesBytes);
}

TEST(BulkFifoInterleaving, BytesArriveInARandomOrderOfSteps)
{
    std::mt19937 random(14);
    for (const std::uint32_t reserve : {124U, 200U})
    {
        FifoInterleaving interleaving(MakeLine(reserve), ONE_WRITE, PIECE);
        for (int run = 0; run < 25; ++run)
        {
            ASSERT_TRUE(Arrive(60, interleaving, random)) << "reserve " << reserve << ", run " << run;
        }
    }
}
