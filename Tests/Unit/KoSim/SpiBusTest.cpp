#include "SpiBus.h"

#include "RecordingChips.h"

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

} // namespace

class SpiBusTest : public ::testing::Test
{
protected:
    SpiBusTest() { mBus.SetSlave(mSlave); }

    const std::shared_ptr<RecordingSpiSlave> mSlave = std::make_shared<RecordingSpiSlave>();
    SpiBus mBus;
};

TEST_F(SpiBusTest, TakesTheBytesBehindThoseThatItSends)
{
    EXPECT_EQ(mBus.Transfer({0xAA, 0xBB}, 3, false, 0ms), (Bytes{3, 4, 5}));
    EXPECT_EQ(mSlave->mLog, "[AABB000000]");
}

TEST_F(SpiBusTest, TakesAByteForEachThatItSendsWhenThatIsSimultaneous)
{
    EXPECT_EQ(mBus.Transfer({0xAA, 0xBB}, 0, true, 0ms), (Bytes{1, 2}));
    EXPECT_EQ(mSlave->mLog, "[AABB]");
}

TEST_F(SpiBusTest, OnlyTakesBytesWhenThereIsNothingToSend)
{
    EXPECT_EQ(mBus.Transfer({}, 2, false, 0ms), (Bytes{1, 2}));
    EXPECT_EQ(mSlave->mLog, "[0000]");
}

TEST_F(SpiBusTest, TakesHighBitsWhereThereIsNoChip)
{
    mBus.SetSlave(nullptr);

    EXPECT_EQ(mBus.Transfer({1, 2, 3}, 2, false, 0ms), (Bytes{0xFF, 0xFF}));
    EXPECT_EQ(mBus.Transfer({1, 2, 3}, 0, true, 0ms), (Bytes{0xFF, 0xFF, 0xFF}));
}
