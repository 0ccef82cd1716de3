#include "I2cBus.h"

#include "RecordingChips.h"

#include <gtest/gtest.h>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

} // namespace

class I2cBusTest : public ::testing::Test
{
protected:
    I2cBusTest()
    {
        mBus.SetSlave(0x50, mSlave);
        mBus.SetSlave(0x48, mOther);
    }

    const std::shared_ptr<RecordingI2cSlave> mSlave = std::make_shared<RecordingI2cSlave>();
    const std::shared_ptr<RecordingI2cSlave> mOther = std::make_shared<RecordingI2cSlave>();
    I2cBus mBus;
};

TEST_F(I2cBusTest, WritesToTheSlaveWithTheAddress)
{
    EXPECT_EQ(mBus.Transfer({0xA0, 1, 2}, true, 3ms), Bytes{});

    EXPECT_EQ(mSlave->mLog, "S 01 02 P ");
    EXPECT_EQ(mSlave->mStopped, 3ms);
    EXPECT_EQ(mOther->mLog, "");
}

TEST_F(I2cBusTest, ReadsAsManyBytesAsTheRequestSays)
{
    EXPECT_EQ(mBus.Transfer({0xA1, 3, 0}, true, 0ms), (Bytes{1, 2, 3}));
    EXPECT_EQ(mSlave->mLog, "Sr ? ? ? P ");
    EXPECT_EQ(mBus.Transfer({0x91, 0x2C, 0x01}, true, 0ms).size(), 300U);
}

TEST_F(I2cBusTest, LeavesOutTheStopBeforeARepeatedStart)
{
    mBus.Transfer({0xA0, 7}, false, 0ms);
    mBus.Transfer({0xA1, 1, 0}, true, 0ms);

    EXPECT_EQ(mSlave->mLog, "S 07 Sr ? P ");
}

TEST_F(I2cBusTest, GetsNothingFromAnAddressThatNobodyHas)
{
    EXPECT_EQ(mBus.Transfer({0xA3, 4, 0}, true, 0ms), Bytes{});
    EXPECT_EQ(mBus.Transfer({0xA2, 4, 0}, true, 0ms), Bytes{});
    EXPECT_EQ(mSlave->mLog + mOther->mLog, "");
}

TEST_F(I2cBusTest, GetsNothingFromASlaveThatDoesNotAcknowledge)
{
    mSlave->mAcknowledges = false;

    EXPECT_EQ(mBus.Transfer({0xA1, 4, 0}, true, 0ms), Bytes{});
    EXPECT_EQ(mBus.Transfer({0xA0, 4}, true, 0ms), Bytes{});
    EXPECT_EQ(mSlave->mLog, "Sr S ");
}

TEST_F(I2cBusTest, StopsWritingAtAByteThatIsNotAcknowledged)
{
    mSlave->mAcceptedBytes = 1;
    mBus.Transfer({0xA0, 1, 2, 3}, true, 0ms);

    EXPECT_EQ(mSlave->mLog, "S 01 02 P ");
}

TEST_F(I2cBusTest, ReadsNothingWhenTheRequestIsNotComplete)
{
    EXPECT_EQ(mBus.Transfer({0xA1}, true, 0ms), Bytes{});
    EXPECT_EQ(mBus.Transfer({0xA1, 1}, true, 0ms), Bytes{});
    EXPECT_EQ(mBus.Transfer({0xA1, 1, 0, 0}, true, 0ms), Bytes{});
    EXPECT_EQ(mBus.Transfer({}, true, 0ms), Bytes{});
}

TEST_F(I2cBusTest, ForgetsASlaveThatIsTakenAway)
{
    mBus.SetSlave(0x50, nullptr);

    EXPECT_EQ(mBus.Transfer({0xA1, 1, 0}, true, 0ms), Bytes{});
}
