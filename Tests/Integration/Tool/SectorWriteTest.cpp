#include <SectorWrite.h>

#include <Failure.h>
#include <OpenSpiBus.h>
#include <SimulatedSetup.h>
#include <SpiFlash.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

#include <algorithm>

using namespace KoTool;

namespace
{

constexpr std::uint8_t PAGE_PROGRAM = 0x02;
constexpr std::uint8_t SECTOR_ERASE = 0x20;
constexpr std::uint32_t SECTOR = 0x3000;

/// A simulated flash that notes the commands it gets.
class SectorWrite : public testing::Test
{
protected:
    void Run(const std::function<void(SpiFlash&)>& aAction)
    {
        WithSpiBus(mSetup, KoDeviceSerialBulk3,
                   [&](OpenSpiBus& aBus)
                   {
                       SpiFlash flash([&](const Bytes& aData, std::uint32_t aReadLength)
                                      { return Transfer(aBus, aData, aReadLength); },
                                      aBus.GetLongestWrite(), std::chrono::seconds(60));
                       aAction(flash);
                   });
    }

    /// How often the flash has got a command since the last call.
    std::ptrdiff_t TakeCount(std::uint8_t aCommand)
    {
        const std::ptrdiff_t count = std::count(mCommands.begin(), mCommands.end(), aCommand);
        mCommands.erase(std::remove(mCommands.begin(), mCommands.end(), aCommand), mCommands.end());
        return count;
    }

    bool mIsProtected = false; ///< takes no program command

private:
    Bytes Transfer(OpenSpiBus& aBus, const Bytes& aData, std::uint32_t aReadLength)
    {
        mCommands.push_back(aData.front());
        const bool isLost = mIsProtected && aData.front() == PAGE_PROGRAM;
        return isLost ? Bytes() : aBus.Transfer(aData, aReadLength);
    }

    SimulatedSetup mSetup{ParseDeviceUri("sim,timing=instant")};
    Bytes mCommands;
};

} // namespace

TEST_F(SectorWrite, ProgramsOnlyThePagesThatChange)
{
    Run(
        [this](SpiFlash& aFlash)
        {
            EXPECT_TRUE(WriteIntoSector(aFlash, SECTOR + 0x1FF, {0x12, 0x34}));
            EXPECT_EQ(aFlash.Read(SECTOR + 0x1FE, 4), Bytes({0xFF, 0x12, 0x34, 0xFF}));
            EXPECT_EQ(TakeCount(SECTOR_ERASE), 0);
            EXPECT_EQ(TakeCount(PAGE_PROGRAM), 2 * 2); // a page is two transfers
        });
}

TEST_F(SectorWrite, WritesNothingThatIsThereAlready)
{
    Run(
        [this](SpiFlash& aFlash)
        {
            WriteIntoSector(aFlash, SECTOR, {0x12, 0x34});
            TakeCount(PAGE_PROGRAM);
            EXPECT_FALSE(WriteIntoSector(aFlash, SECTOR, {0x12, 0x34}));
            EXPECT_EQ(TakeCount(SECTOR_ERASE) + TakeCount(PAGE_PROGRAM), 0);
        });
}

TEST_F(SectorWrite, ClearsBitsWithoutErasing)
{
    Run(
        [this](SpiFlash& aFlash)
        {
            WriteIntoSector(aFlash, SECTOR, {0xF0});
            EXPECT_TRUE(WriteIntoSector(aFlash, SECTOR, {0x30}));
            EXPECT_EQ(aFlash.Read(SECTOR, 1), Bytes({0x30}));
            EXPECT_EQ(TakeCount(SECTOR_ERASE), 0);
        });
}

TEST_F(SectorWrite, ErasesToSetABitAndKeepsEverythingElse)
{
    Run(
        [this](SpiFlash& aFlash)
        {
            WriteIntoSector(aFlash, SECTOR - 1, {0x11});
            WriteIntoSector(aFlash, SECTOR, {0x22, 0x33});
            WriteIntoSector(aFlash, SECTOR + 0xFFF, {0x44});
            WriteIntoSector(aFlash, SECTOR + 0x1000, {0x55});
            EXPECT_EQ(TakeCount(SECTOR_ERASE), 0);

            EXPECT_TRUE(WriteIntoSector(aFlash, SECTOR + 1, {0xCC, 0x77}));
            EXPECT_EQ(TakeCount(SECTOR_ERASE), 1);
            EXPECT_EQ(aFlash.Read(SECTOR - 1, 5), Bytes({0x11, 0x22, 0xCC, 0x77, 0xFF}));
            EXPECT_EQ(aFlash.Read(SECTOR + 0xFFE, 3), Bytes({0xFF, 0x44, 0x55}));
        });
}

TEST_F(SectorWrite, TellsWhatTheFlashDidNotTake)
{
    mIsProtected = true;
    Run(
        [](SpiFlash& aFlash)
        {
            EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                                   [&] {
                                       WriteIntoSector(aFlash, SECTOR + 0x123, {0xFF, 0x12});
                                   }),
                      "the flash holds 0xff instead of 0x12 at 0x003124 after writing");
        });
}
