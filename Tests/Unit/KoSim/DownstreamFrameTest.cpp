#include "DownstreamFrame.h"

#include <gtest/gtest.h>

using namespace KoSim;

namespace
{

using Bytes = std::vector<std::uint8_t>;

std::optional<DownstreamFrame> ParseBulk(const Bytes& aFrame, bool aBigEndian = true)
{
    return ParseBulkFrame(aFrame.data(), aFrame.size(), aBigEndian);
}

std::optional<DownstreamFrame> ParseSpi(const Bytes& aFrame, bool aBigEndian = true)
{
    return ParseSpiFrame(aFrame.data(), aFrame.size(), aBigEndian);
}

} // namespace

TEST(DownstreamFrame, TakesABulkFrameApartInBothByteOrders)
{
    const auto big = ParseBulk({0xC0, 0, 0, 0, 0, 0, 0, 2, 'a', 'b', 7, 7});
    ASSERT_TRUE(big);
    EXPECT_EQ(big->mPayload, (Bytes{'a', 'b'}));
    EXPECT_EQ(big->mControl, 0xC0000000U);

    const auto little = ParseBulk({0, 0, 0, 0xC0, 2, 0, 0, 0, 'a', 'b', 7, 7}, false);
    ASSERT_TRUE(little);
    EXPECT_EQ(little->mPayload, (Bytes{'a', 'b'}));
    EXPECT_EQ(little->mControl, 0xC0000000U);
}

TEST(DownstreamFrame, RefusesABulkFrameInTheWrongByteOrder)
{
    EXPECT_FALSE(ParseBulk({0, 0, 0, 0, 2, 0, 0, 0, 'a', 'b', 0, 0}));
}

TEST(DownstreamFrame, RefusesABulkFrameWhoseLengthDoesNotMatch)
{
    EXPECT_FALSE(ParseBulk({0, 0, 0, 0, 0, 0, 0, 2, 'a', 'b'}));
    EXPECT_FALSE(ParseBulk({0, 0, 0, 0, 0, 0, 0, 2, 'a', 'b', 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(ParseBulk({0, 0, 0, 0, 0xFF, 0xFF, 0xFF, 0xFF, 'a', 'b', 0, 0}));
    EXPECT_FALSE(ParseBulk({0, 0, 0, 0, 0, 0, 0}));
    EXPECT_FALSE(ParseBulk({}));
}

TEST(DownstreamFrame, RefusesABulkFrameWithReservedBitsSet)
{
    EXPECT_FALSE(ParseBulk({0x08, 0, 0, 0, 0, 0, 0, 0}));
    EXPECT_TRUE(ParseBulk({0xF0, 0, 0, 0, 0, 0, 0, 0}));
}

TEST(DownstreamFrame, TakesAnSpiFrameApart)
{
    const auto frame = ParseSpi({0, 0, 0, 0, 0, 0, 0, 7, 3, 2, 0, 1, 'a', 'b', 'c', 0});
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->mPayload, (Bytes{'a', 'b', 'c'}));
    EXPECT_EQ(frame->mReadCount, 2);
    EXPECT_FALSE(frame->mSimultaneous);
    EXPECT_TRUE(frame->mSpiControl);
}

TEST(DownstreamFrame, TakesASimultaneousSpiFrameApart)
{
    const auto frame = ParseSpi({0, 0, 0, 0, 0, 0, 0, 6, 0, 0, 2, 0, 'a', 'b', 0, 0});
    ASSERT_TRUE(frame);
    EXPECT_EQ(frame->mPayload, (Bytes{'a', 'b'}));
    EXPECT_TRUE(frame->mSimultaneous);
    EXPECT_FALSE(frame->mSpiControl);
}

TEST(DownstreamFrame, RefusesAnSpiFrameWhoseCountsOrPaddingAreWrong)
{
    EXPECT_FALSE(ParseSpi({0, 0, 0, 1, 0, 0, 0, 4, 0, 0, 0, 0})) << "first word";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 3, 0, 0, 0, 0})) << "length without the counts";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 5, 2, 0, 0, 0, 'a', 0, 0, 0})) << "write count";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 5, 1, 0, 1, 0, 'a', 0, 0, 0})) << "both counts";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 5, 1, 0, 0, 2, 'a', 0, 0, 0})) << "control byte";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 5, 1, 0, 0, 0, 'a', 0, 9, 0})) << "padding";
    EXPECT_FALSE(ParseSpi({0, 0, 0, 0, 0, 0, 0, 5})) << "short";
}
