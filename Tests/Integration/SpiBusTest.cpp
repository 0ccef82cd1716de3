// SPI buses with a flash on them, through the features of a simulated device.

#include "BusFixture.h"

#include <KoDeviceSPIBus.h>
#include <KoSim/SpiFlash.h>

#include <algorithm>
#include <memory>

namespace
{

constexpr std::uint32_t LONGEST_TRANSFER = 255;
constexpr std::uint32_t HALF_A_PAGE = 128;
constexpr std::uint32_t TIMEOUT_MS = 5000;

Bytes WithAddress(std::uint8_t aCommand, std::uint32_t aAddress)
{
    return {aCommand, static_cast<std::uint8_t>(aAddress >> 16), static_cast<std::uint8_t>(aAddress >> 8),
            static_cast<std::uint8_t>(aAddress)};
}

/// An open bus with a flash that needs no time.
class SpiBusTest : public ::testing::TestWithParam<BusPort>
{
protected:
    void SetUp() override
    {
        mDevice.SetSpiSlave(ToSimulatedPort(GetParam().mPort),
                            std::make_shared<KoSim::SpiFlash>(KoSim::MemoryImage(KoSim::SpiFlash::SIZE),
                                                              KoSim::SpiFlash::Timing{KoSim::Time(0), KoSim::Time(0)}));
        SetBulkMode(mDevice, GetParam().mPort, "SPI");
        ASSERT_TRUE(mBus.Open(&mDevice, GetParam().mPort).IsOK());
    }

    void TearDown() override { EXPECT_TRUE(mBus.Close().IsOK()); }

    void Send(Bytes aRequest, std::uint32_t aReadLength = 0, bool aSimultaneous = false)
    {
        const auto length = static_cast<std::uint32_t>(aRequest.size());
        ASSERT_TRUE(mBus.BurstWriteAndRead(aRequest.data(), length, aReadLength, aSimultaneous, false).IsOK());
    }

    Bytes Collect(std::uint32_t aCount)
    {
        Bytes bytes(aCount);
        std::uint32_t done = 0;
        KoResult result(KoResult::OK);
        while (result.IsOK() && done < aCount)
        {
            std::uint32_t count = 0;
            result = mBus.BurstRead(bytes.data() + done, aCount - done, count, TIMEOUT_MS);
            done += count;
        }
        EXPECT_EQ(done, aCount);
        return bytes;
    }

    Bytes Transfer(const Bytes& aRequest, std::uint32_t aReadLength)
    {
        Send(aRequest, aReadLength);
        return Collect(aReadLength);
    }

    void ProgramFlash(const Bytes& aContents)
    {
        for (std::uint32_t address = 0; address < aContents.size(); address += HALF_A_PAGE)
        {
            Bytes request = WithAddress(0x02, address);
            request.insert(request.end(), aContents.begin() + address, aContents.begin() + address + HALF_A_PAGE);
            Send({0x06});
            Send(request);
        }
    }

    Bytes ReadFlash(std::uint32_t aSize)
    {
        Bytes contents;
        while (contents.size() < aSize)
        {
            const auto address = static_cast<std::uint32_t>(contents.size());
            const Bytes piece = Transfer(WithAddress(0x03, address), std::min(LONGEST_TRANSFER, aSize - address));
            contents.insert(contents.end(), piece.begin(), piece.end());
        }
        return contents;
    }

    KoSim::SimulatedDevice mDevice{GetParam().mProfile()};
    KoDeviceSPIBus mBus;
};

} // namespace

TEST_P(SpiBusTest, AFlashGivesBackAllThatWasProgrammed)
{
    const Bytes contents = MakeBytes(KoSim::SpiFlash::SIZE);
    ProgramFlash(contents);

    EXPECT_TRUE(ReadFlash(KoSim::SpiFlash::SIZE) == contents);
    EXPECT_EQ(mDevice.GetLineStatistics(ToSimulatedPort(GetParam().mPort)).mMalformedFrames, 0U);
}

TEST_P(SpiBusTest, AFlashTellsItsId)
{
    EXPECT_EQ(Transfer({0x9F}, 3), (Bytes{0xEF, 0x40, 0x14}));
}

TEST_P(SpiBusTest, ASimultaneousTransferGivesAByteForEachByte)
{
    Send({0x9F, 0, 0, 0}, 4, true);

    EXPECT_EQ(Collect(4), (Bytes{0xFF, 0xEF, 0x40, 0x14}));
}

TEST_P(SpiBusTest, ATransferThatOnlyReadsGetsItsBytes)
{
    Send({}, 3);

    EXPECT_EQ(Collect(3).size(), 3U);
}

TEST_P(SpiBusTest, TheLongestTransferGetsAllItsBytes)
{
    EXPECT_EQ(Transfer(Bytes(255, 0x05), 255), Bytes(255, 0x00));
}

TEST_P(SpiBusTest, ACollectionThatAsksForMoreThanCameGetsWhatCame)
{
    Send({0x9F}, 3);
    ASSERT_TRUE(mDevice.WaitUntilQuiet(std::chrono::milliseconds(TIMEOUT_MS)));
    Bytes bytes(10);
    std::uint32_t count = 0;
    EXPECT_TRUE(mBus.BurstRead(bytes.data(), 10, count, 0).IsOK());
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(mBus.BurstRead(bytes.data(), 10, count, 0).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(count, 0U);
}

INSTANTIATE_TEST_SUITE_P(Ports, SpiBusTest,
                         ::testing::Values(BusPort{"Bulk0", &KoSim::DeviceProfile::FullDevice, KoDeviceSerialBulk0},
                                           BusPort{"Bulk6", &KoSim::DeviceProfile::FullDevice, KoDeviceSerialBulk6},
                                           BusPort{"LittleEndian", &KoSim::DeviceProfile::NotGigEVision,
                                                   KoDeviceSerialBulk1}),
                         &GetBusPortName);
