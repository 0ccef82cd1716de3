#include "I2cOptions.h"

#include <gtest/gtest.h>

using namespace KoSim;

namespace
{

void ExpectOptions(const std::optional<I2cOptions>& aOptions, bool aFast, bool aStop)
{
    ASSERT_TRUE(aOptions);
    EXPECT_EQ(aOptions->mFast, aFast);
    EXPECT_EQ(aOptions->mStop, aStop);
}

} // namespace

TEST(I2cOptionsTest, AreInTheCommandWordOfABlock)
{
    ExpectOptions(GetI2cOptionsOfCommand(0x80001800), false, false);
    ExpectOptions(GetI2cOptionsOfCommand(0x80001A00), true, false);
    ExpectOptions(GetI2cOptionsOfCommand(0x80001C00), false, true);
}

TEST(I2cOptionsTest, AreInTheControlWordOfAFrame)
{
    ExpectOptions(GetI2cOptionsOfControl(0x30000000), false, false);
    ExpectOptions(GetI2cOptionsOfControl(0xB0000000), true, false);
    ExpectOptions(GetI2cOptionsOfControl(0x70000000), false, true);
}

TEST(I2cOptionsTest, AreOnlyThereWithBothFlagsOfATransfer)
{
    EXPECT_FALSE(GetI2cOptionsOfCommand(0x80001600));
    EXPECT_FALSE(GetI2cOptionsOfCommand(0x80000E00));
    EXPECT_FALSE(GetI2cOptionsOfControl(0xE0000000));
    EXPECT_FALSE(GetI2cOptionsOfControl(0xD0000000));
}
