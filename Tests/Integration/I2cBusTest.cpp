// I2C buses with chips on them, through the register block and through the features of a simulated device.

#include "BusFixture.h"

#include <KoDeviceI2CBus.h>
#include <KoSim/I2cEeprom.h>
#include <KoSim/I2cThermometer.h>

#include <algorithm>
#include <chrono>
#include <memory>

using namespace std::chrono_literals;

namespace
{

constexpr std::uint8_t LARGE_EEPROM = 0x50;
constexpr std::uint8_t SMALL_EEPROM = 0x57;
constexpr std::uint8_t THERMOMETER = 0x48;
constexpr std::uint8_t NOBODY = 0x23;
constexpr std::uint32_t LARGE_SIZE = 32768;
constexpr std::uint32_t PAGE_SIZE = 64;
constexpr std::uint32_t PIECE_SIZE = 4096;
constexpr bool FAST = true;
constexpr bool STOP = true;
constexpr bool REPEATED_START = true;

/// A chip has 50 ms to answer, which a busy machine may need for itself: makes a transfer again that got no answer.
template <typename Transfer>
KoResult Patiently(Transfer aTransfer)
{
    KoResult result = aTransfer();
    for (int i = 0; i < 100 && result.GetCode() == KoResult::TIMEOUT; ++i)
    {
        result = aTransfer();
    }
    return result;
}

/// An open bus with two EEPROMs, which need no time to write, and a thermometer.
class I2cBusTest : public ::testing::TestWithParam<BusPort>
{
protected:
    void SetUp() override
    {
        const KoSim::Port port = ToSimulatedPort(GetParam().mPort);
        mDevice.SetI2cSlave(port, LARGE_EEPROM, MakeEeprom(KoSim::I2cEeprom::LARGE));
        mDevice.SetI2cSlave(port, SMALL_EEPROM, MakeEeprom(KoSim::I2cEeprom::SMALL));
        mDevice.SetI2cSlave(port, THERMOMETER, mThermometer);
        SetBulkMode(mDevice, GetParam().mPort, "I2C");
        ASSERT_TRUE(mBus.Open(&mDevice, GetParam().mPort).IsOK());
    }

    void TearDown() override { EXPECT_TRUE(mBus.Close().IsOK()); }

    static std::shared_ptr<KoSim::I2cEeprom> MakeEeprom(const KoSim::I2cEeprom::Kind& aKind)
    {
        return std::make_shared<KoSim::I2cEeprom>(aKind, KoSim::MemoryImage(aKind.mSize), KoSim::Time(0));
    }

    void WriteEeprom(const Bytes& aContents)
    {
        for (std::uint32_t address = 0; address < aContents.size(); address += PAGE_SIZE)
        {
            Bytes page = {static_cast<std::uint8_t>(address >> 8), static_cast<std::uint8_t>(address)};
            const auto begin = aContents.begin() + address;
            page.insert(page.end(), begin, begin + PAGE_SIZE);
            const auto size = static_cast<std::uint32_t>(page.size());
            ASSERT_TRUE(mBus.BurstWrite(LARGE_EEPROM, page.data(), size, FAST).IsOK());
        }
    }

    Bytes ReadEeprom(std::uint32_t aSize)
    {
        Bytes contents(aSize);
        for (std::uint32_t address = 0; address < aSize; address += PIECE_SIZE)
        {
            EXPECT_TRUE(Patiently([&] { return ReadPiece(address, contents.data() + address); }).IsOK());
        }
        return contents;
    }

    KoResult ReadPiece(std::uint32_t aAddress, std::uint8_t* aBuffer)
    {
        const std::uint8_t start[] = {static_cast<std::uint8_t>(aAddress >> 8), static_cast<std::uint8_t>(aAddress)};
        EXPECT_TRUE(mBus.MasterTransmitter(LARGE_EEPROM, start, sizeof(start), FAST, !STOP).IsOK());
        std::uint32_t count = 0;
        return mBus.BurstRead(LARGE_EEPROM, aBuffer, PIECE_SIZE, count, FAST);
    }

    Bytes ReadRegister(std::uint8_t aAddress, std::uint8_t aRegister, std::uint32_t aLength,
                       bool aRepeatedStart = REPEATED_START)
    {
        Bytes bytes(aLength);
        std::uint32_t count = 0;
        const auto read = [&]
        { return mBus.IndirectBurstRead(aAddress, aRegister, bytes.data(), aLength, count, !FAST, aRepeatedStart); };
        EXPECT_TRUE(Patiently(read).IsOK());
        EXPECT_EQ(count, aLength);
        return bytes;
    }

    const std::shared_ptr<KoSim::I2cThermometer> mThermometer = std::make_shared<KoSim::I2cThermometer>();
    KoSim::SimulatedDevice mDevice{GetParam().mProfile()};
    KoDeviceI2CBus mBus;
};

} // namespace

TEST_P(I2cBusTest, AnEepromGivesBackAllThatWasWrittenToIt)
{
    const Bytes contents = MakeBytes(LARGE_SIZE);
    WriteEeprom(contents);

    EXPECT_TRUE(ReadEeprom(LARGE_SIZE) == contents);
}

TEST_P(I2cBusTest, AnIndirectWriteIsReadBackIndirectly)
{
    const std::uint8_t data[] = {1, 2, 3};
    EXPECT_TRUE(mBus.IndirectBurstWrite(SMALL_EEPROM, 0x42, data, sizeof(data), FAST).IsOK());

    EXPECT_EQ(ReadRegister(SMALL_EEPROM, 0x41, 5), (Bytes{0xFF, 1, 2, 3, 0xFF}));
}

TEST_P(I2cBusTest, ARegisterIsReadWithAndWithoutARepeatedStart)
{
    mThermometer->SetTemperature(-12.5);
    EXPECT_EQ(ReadRegister(THERMOMETER, 0, 2), (Bytes{0xF3, 0x80}));
    EXPECT_EQ(ReadRegister(THERMOMETER, 3, 2, !REPEATED_START), (Bytes{0x50, 0x00}));
}

TEST_P(I2cBusTest, AnAbsentAddressTakesWritesAndAnswersNothing)
{
    const std::uint8_t data[] = {1, 2, 3};
    EXPECT_TRUE(mBus.BurstWrite(NOBODY, data, sizeof(data), FAST).IsOK());
    Bytes answer(16);
    std::uint32_t count = 99;
    EXPECT_EQ(mBus.BurstRead(NOBODY, answer.data(), 16, count, FAST).GetCode(), KoResult::TIMEOUT);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(ReadRegister(THERMOMETER, 2, 2), (Bytes{0x4B, 0x00}));
}

TEST_P(I2cBusTest, AReadAfterAnUnansweredOneGetsItsOwnBytes)
{
    Bytes answer(4);
    std::uint32_t count = 0;
    for (int i = 0; i < 3; ++i)
    {
        EXPECT_FALSE(mBus.BurstRead(NOBODY, answer.data(), 4, count, FAST).IsOK());
        EXPECT_EQ(ReadRegister(THERMOMETER, 3, 2), (Bytes{0x50, 0x00}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Engines, I2cBusTest,
    ::testing::Values(BusPort{"Registers", &KoSim::DeviceProfile::FullDevice, KoDeviceSerialBulk0},
                      BusPort{"Features", &KoSim::DeviceProfile::FullDevice, KoDeviceSerialBulk5},
                      BusPort{"LittleEndianFeatures", &KoSim::DeviceProfile::NotGigEVision, KoDeviceSerialBulk0},
                      BusPort{"NoSelector", &KoSim::DeviceProfile::NoBulkSelector, KoDeviceSerialBulk7}),
    &GetBusPortName);

TEST(I2cBus, AnEepromThatIsWritingDoesNotAnswerUntilItIsDone)
{
    KoSim::SimulatedDevice device;
    const auto eeprom =
        std::make_shared<KoSim::I2cEeprom>(KoSim::I2cEeprom::SMALL, KoSim::MemoryImage(256), KoSim::Time(300ms));
    device.SetI2cSlave(KoSim::Port::Bulk0, SMALL_EEPROM, eeprom);
    SetBulkMode(device, KoDeviceSerialBulk0, "I2C");
    KoDeviceI2CBus bus;
    ASSERT_TRUE(bus.Open(&device, KoDeviceSerialBulk0).IsOK());
    const std::uint8_t data = 7;
    EXPECT_TRUE(bus.IndirectBurstWrite(SMALL_EEPROM, 0x10, &data, 1, FAST).IsOK());

    std::uint8_t answer = 0;
    std::uint32_t count = 0;
    int unanswered = 0;
    while (!bus.IndirectBurstRead(SMALL_EEPROM, 0x10, &answer, 1, count, FAST, REPEATED_START).IsOK())
    {
        ++unanswered;
        ASSERT_LT(unanswered, 1000);
    }
    EXPECT_GE(unanswered, 1);
    EXPECT_EQ(answer, 7);
    EXPECT_TRUE(bus.Close().IsOK());
}
