#include <OpenSpiBus.h>

#include <Failure.h>
#include <SimulatedSetup.h>

#include "Support/Complaint.h"
#include "Support/Text.h"

#include <gtest/gtest.h>

using namespace KoTool;

namespace
{

class OpenSpiBusTest : public testing::TestWithParam<KoDeviceSerial>
{
protected:
    void Run(const std::function<void(OpenSpiBus&)>& aAction) { WithSpiBus(mSetup, GetParam(), aAction); }

    SimulatedSetup mSetup{ParseDeviceUri("sim,timing=instant")};
};

INSTANTIATE_TEST_SUITE_P(Ports, OpenSpiBusTest, testing::Values(KoDeviceSerialBulk0, KoDeviceSerialBulk3));

} // namespace

TEST_P(OpenSpiBusTest, ReadsAfterItHasWritten)
{
    Run(
        [](OpenSpiBus& aBus)
        {
            EXPECT_EQ(aBus.Transfer({0x9F}, 3), Bytes({0xEF, 0x40, 0x14}));
            EXPECT_EQ(aBus.Transfer({0x9F}, 0), Bytes());
            EXPECT_EQ(aBus.Transfer({}, 2), Bytes({0xFF, 0xFF}));
        });
}

TEST_P(OpenSpiBusTest, ReadsWhileItWrites)
{
    Run([](OpenSpiBus& aBus) { EXPECT_EQ(aBus.Exchange({0x9F, 0, 0, 0}), Bytes({0xFF, 0xEF, 0x40, 0x14})); });
}

TEST_P(OpenSpiBusTest, TransfersUpTo255Bytes)
{
    Run(
        [](OpenSpiBus& aBus)
        {
            EXPECT_EQ(aBus.GetLongestWrite(), 255U);
            EXPECT_EQ(aBus.Transfer({0x9F}, 255).size(), 255U);
            EXPECT_EQ(aBus.Exchange(Bytes(255, 0x9F)).size(), 255U);
            EXPECT_TRUE(Matches(GetComplaint(STATUS_FAILURE, [&] { aBus.Exchange(Bytes(256)); }),
                                "cannot write 256 bytes: bulk[03] sends at most 255 in one piece"));
        });
}

TEST_P(OpenSpiBusTest, TellsWhenTheBytesDoNotCome)
{
    const std::string failure = GetComplaint(STATUS_FAILURE,
                                             [this]
                                             {
                                                 Run(
                                                     [this](OpenSpiBus& aBus)
                                                     {
                                                         mSetup.GetDevice().Freeze(true);
                                                         aBus.Transfer({0x9F}, 3);
                                                     });
                                             });
    mSetup.GetDevice().Freeze(false);
    EXPECT_TRUE(Matches(failure, "bulk[03] read 0 of 3 bytes from the SPI bus: TIMEOUT.*"));
}

TEST_P(OpenSpiBusTest, TellsThatThePortIsInUse)
{
    Run(
        [this](OpenSpiBus&)
        {
            const std::string failure = GetComplaint(STATUS_FAILURE, [this] { Run([](OpenSpiBus&) {}); });
            EXPECT_TRUE(Matches(failure, "cannot open the SPI bus on bulk[03]: GENERIC_ERROR: .*"));
        });
}

TEST(OpenSpiBus, IsNotThereOnADeviceWithoutSpi)
{
    SimulatedSetup setup(ParseDeviceUri("sim:uart-only"));
    EXPECT_EQ(GetComplaint(STATUS_FAILURE, [&] { WithSpiBus(setup, KoDeviceSerialBulk0, [](OpenSpiBus&) {}); }),
              "the device offers no SPI on bulk0");
}
