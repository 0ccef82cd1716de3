#include <PieceSize.h>

#include <gtest/gtest.h>

using namespace KoTool;
using std::chrono::milliseconds;

TEST(PieceSize, GrowsOnAFastLineUpToItsLimit)
{
    PieceSize size;
    EXPECT_EQ(size.Get(), 16U);
    size.Learn(16, milliseconds(1));
    EXPECT_EQ(size.Get(), 32U);
    for (int i = 0; i < 20; ++i)
    {
        size.Learn(size.Get(), milliseconds(1));
    }
    EXPECT_EQ(size.Get(), PieceSize::LARGEST);
}

TEST(PieceSize, ShrinksOnASlowLineDownToOneByte)
{
    PieceSize size;
    size.Learn(16, milliseconds(101));
    EXPECT_EQ(size.Get(), 8U);
    for (int i = 0; i < 20; ++i)
    {
        size.Learn(size.Get(), milliseconds(101));
    }
    EXPECT_EQ(size.Get(), PieceSize::SMALLEST);
}

TEST(PieceSize, StaysWhereAWriteTakesAboutATenthOfASecond)
{
    PieceSize size;
    size.Learn(16, milliseconds(50));
    EXPECT_EQ(size.Get(), 16U);
    size.Learn(16, milliseconds(100));
    EXPECT_EQ(size.Get(), 16U);
}

TEST(PieceSize, DoesNotGrowBecauseTheInputHadLittleToSend)
{
    PieceSize size;
    size.Learn(3, milliseconds(1));
    EXPECT_EQ(size.Get(), 16U);
}
