#include <SpiFlash.h>

#include <Failure.h>
#include <OpenSpiBus.h>
#include <SimulatedSetup.h>

#include "Support/Complaint.h"

#include <gtest/gtest.h>

#include <numeric>

using namespace KoTool;

namespace
{

/// A flash that answers every read with the same bytes.
SpiFlash MakeFlash(const Bytes& aAnswer)
{
    return SpiFlash([aAnswer](const Bytes&, std::uint32_t) { return aAnswer; }, 255, std::chrono::milliseconds(0));
}

void WithSimulatedFlash(const char* aDevice, const std::function<void(SpiFlash&)>& aAction)
{
    SimulatedSetup setup(ParseDeviceUri(aDevice));
    WithSpiBus(setup, KoDeviceSerialBulk3,
               [&](OpenSpiBus& aBus)
               {
                   SpiFlash flash(aBus);
                   aAction(flash);
               });
}

Bytes MakePage()
{
    Bytes page(SpiFlash::PAGE_SIZE);
    std::iota(page.begin(), page.end(), std::uint8_t{1});
    return page;
}

} // namespace

TEST(SpiFlash, HasItsSizeInItsId)
{
    SpiFlash flash = MakeFlash({0xEF, 0x40, 0x18});
    const SpiFlash::Id id = flash.ReadId();
    EXPECT_EQ(id.mManufacturer, 0xEF);
    EXPECT_EQ(id.mType, 0x40);
    EXPECT_EQ(id.mCapacity, 0x18);
    EXPECT_EQ(id.mSize, 1U << 24);
    EXPECT_EQ(MakeFlash({0xEF, 0x40, 0x10}).ReadId().mSize, 1U << 16);
    EXPECT_EQ(MakeFlash({0xEF, 0x40, 0x1F}).ReadId().mSize, 1U << 31);
}

TEST(SpiFlash, IsNotThereWhenNothingDrivesTheLine)
{
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [] {
                               MakeFlash({0xFF, 0xFF, 0xFF}).ReadId();
                           }),
              "no flash answers: its id would be 0xff 0xff 0xff");
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [] {
                               MakeFlash({0, 0, 0}).ReadId();
                           }),
              "no flash answers: its id would be 0x00 0x00 0x00");
}

TEST(SpiFlash, IsOfNoUseWhenItDoesNotTellItsSize)
{
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [] {
                               MakeFlash({0xEF, 0x40, 0x0F}).ReadId();
                           }),
              "the id of the flash does not tell its size: 0xef 0x40 0x0f");
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           [] {
                               MakeFlash({0xEF, 0x40, 0x20}).GetSize();
                           }),
              "the id of the flash does not tell its size: 0xef 0x40 0x20");
}

TEST(SpiFlash, EndsWhereItsSizeOrTheAddressesEnd)
{
    SpiFlash flash = MakeFlash({0xEF, 0x40, 0x14});
    EXPECT_NO_THROW(flash.CheckRange(0, 1 << 20));
    EXPECT_NO_THROW(flash.CheckRange((1 << 20) - 1, 1));
    EXPECT_NO_THROW(flash.CheckRange(1 << 20, 0));
    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { flash.CheckRange(1, 1 << 20); }),
              "1048576 bytes at address 1 would go beyond the end of the flash at 1048576");
    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { flash.CheckRange((1 << 20) + 1, 0); }),
              "0 bytes at address 1048577 would go beyond the end of the flash at 1048576");
    EXPECT_EQ(MakeFlash({0xEF, 0x40, 0x19}).GetSize(), SpiFlash::LARGEST_SIZE);
}

TEST(SpiFlash, IsReadErasedAndProgrammedWithAnyLengthOfTransfer)
{
    for (const char* const device : {"sim,timing=instant", "sim:tiny-downstream,timing=instant", "sim"})
    {
        WithSimulatedFlash(device,
                           [](SpiFlash& aFlash)
                           {
                               const Bytes page = MakePage();
                               aFlash.ProgramPage(0x1200, page.data());
                               EXPECT_EQ(aFlash.Read(0x1200, SpiFlash::PAGE_SIZE), page);
                               EXPECT_EQ(aFlash.Read(0x11FF, 1), Bytes({0xFF}));
                               EXPECT_EQ(aFlash.Read(0x1300, 1), Bytes({0xFF}));
                               aFlash.EraseSector(0x1000);
                               EXPECT_EQ(aFlash.Read(0x1000, SpiFlash::SECTOR_SIZE),
                                         Bytes(SpiFlash::SECTOR_SIZE, 0xFF));
                           });
    }
}

TEST(SpiFlash, IsNotWaitedForForEver)
{
    SpiFlash flash = MakeFlash({0x01});
    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { flash.EraseSector(0); }), "the flash is still busy after 0 ms");
}
