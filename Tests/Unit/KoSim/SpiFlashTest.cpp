#include <KoSim/SpiFlash.h>

#include <gtest/gtest.h>

#include <stdexcept>
#include <vector>

using namespace KoSim;
using namespace std::chrono_literals;

namespace
{

using Bytes = std::vector<std::uint8_t>;

} // namespace

class SpiFlashTest : public ::testing::Test
{
protected:
    /// Sends bytes and takes aCount after them, while the chip is selected.
    Bytes Transfer(const Bytes& aRequest, std::size_t aCount, Time aNow)
    {
        Bytes answer;
        mFlash.Select();
        for (const std::uint8_t byte : aRequest)
        {
            mFlash.Exchange(byte, aNow);
        }
        while (answer.size() < aCount)
        {
            answer.push_back(mFlash.Exchange(0, aNow));
        }
        mFlash.Deselect(aNow);
        return answer;
    }

    void WriteEnabled(const Bytes& aRequest, Time aNow)
    {
        Transfer({0x06}, 0, aNow);
        Transfer(aRequest, 0, aNow);
    }

    Bytes ReadAt(std::size_t aAddress, std::size_t aCount, Time aNow)
    {
        return Transfer({0x03, static_cast<std::uint8_t>(aAddress >> 16), static_cast<std::uint8_t>(aAddress >> 8),
                         static_cast<std::uint8_t>(aAddress)},
                        aCount, aNow);
    }

    std::uint8_t GetStatus(Time aNow) { return Transfer({0x05}, 1, aNow).front(); }

    SpiFlash mFlash{MemoryImage(SpiFlash::SIZE), SpiFlash::Timing()};
};

TEST_F(SpiFlashTest, TellsItsId)
{
    EXPECT_EQ(Transfer({0x9F}, 3, 0ms), (Bytes{0xEF, 0x40, 0x14}));
}

TEST_F(SpiFlashTest, IsErasedAtFirst)
{
    EXPECT_EQ(ReadAt(0x12345, 4, 0ms), Bytes(4, 0xFF));
}

TEST_F(SpiFlashTest, KeepsWhatIsProgrammed)
{
    WriteEnabled({0x02, 0x01, 0x23, 0x45, 1, 2, 3}, 0ms);

    EXPECT_EQ(ReadAt(0x012344, 5, 1ms), (Bytes{0xFF, 1, 2, 3, 0xFF}));
}

TEST_F(SpiFlashTest, WrapsAtTheEndOfAPageThatIsProgrammed)
{
    WriteEnabled({0x02, 0x00, 0x01, 0xFF, 1, 2}, 0ms);

    EXPECT_EQ(ReadAt(0x1FF, 2, 1ms), (Bytes{1, 0xFF}));
    EXPECT_EQ(ReadAt(0x100, 1, 1ms), Bytes{2});
}

TEST_F(SpiFlashTest, WrapsAtTheEndOfTheMemoryWhenItIsRead)
{
    WriteEnabled({0x02, 0x00, 0x00, 0x00, 7}, 0ms);

    EXPECT_EQ(ReadAt(0xFFFFF, 2, 1ms), (Bytes{0xFF, 7}));
    EXPECT_EQ(ReadAt(0x100000, 1, 1ms), Bytes{7});
}

TEST_F(SpiFlashTest, ClearsBitsOnlyWhenItIsProgrammed)
{
    WriteEnabled({0x02, 0, 0, 0, 0xF0}, 0ms);
    WriteEnabled({0x02, 0, 0, 0, 0x3C}, 1ms);

    EXPECT_EQ(ReadAt(0, 1, 2ms), Bytes{0x30});
}

TEST_F(SpiFlashTest, ErasesTheWholeSectorOfAnAddressAndNoOther)
{
    WriteEnabled({0x02, 0x00, 0x0F, 0xFF, 1}, 0ms);
    WriteEnabled({0x02, 0x00, 0x10, 0x00, 2}, 1ms);
    WriteEnabled({0x02, 0x00, 0x1F, 0xFF, 3}, 2ms);
    WriteEnabled({0x02, 0x00, 0x20, 0x00, 4}, 3ms);
    WriteEnabled({0x20, 0x00, 0x17, 0x89}, 4ms);

    EXPECT_EQ(ReadAt(0x0FFF, 2, 1s), (Bytes{1, 0xFF}));
    EXPECT_EQ(ReadAt(0x1FFF, 2, 1s), (Bytes{0xFF, 4}));
}

TEST_F(SpiFlashTest, WritesOnlyWhenThatIsEnabled)
{
    Transfer({0x02, 0, 0, 0, 0}, 0, 0ms);
    EXPECT_EQ(ReadAt(0, 1, 0ms), Bytes{0xFF});

    WriteEnabled({0x02, 0, 0, 0, 0}, 0ms);
    Transfer({0x20, 0, 0, 0}, 0, 1ms);
    EXPECT_EQ(ReadAt(0, 1, 1ms), Bytes{0});
}

TEST_F(SpiFlashTest, DisablesWritingWhenItIsToldTo)
{
    Transfer({0x06}, 0, 0ms);
    EXPECT_EQ(GetStatus(0ms), 0x02);
    Transfer({0x04}, 0, 0ms);
    EXPECT_EQ(GetStatus(0ms), 0x00);
}

TEST_F(SpiFlashTest, IsBusyWhileItProgramsAndWritingIsDisabledThen)
{
    WriteEnabled({0x02, 0, 0, 0, 1}, 1ms);

    EXPECT_EQ(GetStatus(1ms), 0x03);
    EXPECT_EQ(GetStatus(1ms + 700us - 1ns), 0x03);
    EXPECT_EQ(GetStatus(1ms + 700us), 0x00);
}

TEST_F(SpiFlashTest, IsBusyWhileItErases)
{
    WriteEnabled({0x20, 0, 0, 0}, 1ms);

    EXPECT_EQ(GetStatus(46ms - 1ns), 0x03);
    EXPECT_EQ(GetStatus(46ms), 0x00);
}

TEST_F(SpiFlashTest, IgnoresEverythingButTheStatusWhileItIsBusy)
{
    WriteEnabled({0x02, 0, 0, 0, 0x55}, 0ms);

    EXPECT_EQ(ReadAt(0, 1, 0ms), Bytes{0xFF});
    EXPECT_EQ(Transfer({0x9F}, 1, 0ms), Bytes{0xFF});
    WriteEnabled({0x20, 0, 0, 0}, 0ms);
    EXPECT_EQ(GetStatus(1ms), 0x00);
    EXPECT_EQ(ReadAt(0, 1, 1ms), Bytes{0x55});
}

TEST_F(SpiFlashTest, RepeatsItsStatusAsLongAsItIsAsked)
{
    Transfer({0x06}, 0, 0ms);

    EXPECT_EQ(Transfer({0x05}, 3, 0ms), Bytes(3, 0x02));
}

TEST_F(SpiFlashTest, DoesNotEraseWhenTheAddressIsNotComplete)
{
    WriteEnabled({0x02, 0, 0, 0, 0}, 0ms);
    WriteEnabled({0x20, 0, 0}, 1ms);
    WriteEnabled({0x20, 0, 0, 0, 0}, 1ms);

    EXPECT_EQ(ReadAt(0, 1, 1ms), Bytes{0});
}

TEST_F(SpiFlashTest, DoesNotProgramWithoutData)
{
    WriteEnabled({0x02, 0, 0, 0}, 0ms);

    EXPECT_EQ(GetStatus(0ms), 0x02);
}

TEST_F(SpiFlashTest, ForgetsACommandWhenItIsSelectedAgain)
{
    Transfer({0x06}, 0, 0ms);
    Transfer({0x04}, 0, 0ms);
    mFlash.Select();
    mFlash.Deselect(0ms);
    EXPECT_EQ(GetStatus(0ms), 0x00);
}

TEST(SpiFlashContentsTest, MustHaveTheSizeOfTheChip)
{
    EXPECT_THROW(SpiFlash(MemoryImage(256), SpiFlash::Timing()), std::invalid_argument);
}
