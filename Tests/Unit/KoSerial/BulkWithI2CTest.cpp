#include "BareHostTest.h"

#include <BulkIPEngine.h>
#include <BulkWithI2C.h>
#include <IRegisterSerialPort.h>

#include <memory>
#include <type_traits>

namespace
{

using KoSerialLib::BulkIPEngine;
using KoSerialLib::BulkWithI2C;
using KoSerialLib::DeviceSerialPort;
using KoSerialLib::IRegisterSerialPort;

static_assert(std::is_abstract_v<BulkWithI2C>);
static_assert(std::is_base_of_v<DeviceSerialPort, BulkWithI2C>);
static_assert(std::is_convertible_v<BulkIPEngine*, BulkWithI2C*>);
static_assert(std::is_convertible_v<IRegisterSerialPort*, BulkWithI2C*>);

class BulkWithI2CTest : public BareHostTest
{
};

TEST_F(BulkWithI2CTest, EitherEngineBeginsClosedAndWithoutOptions)
{
    std::vector<std::unique_ptr<BulkWithI2C>> engines;
    engines.push_back(std::make_unique<BulkIPEngine>());
    engines.push_back(std::make_unique<IRegisterSerialPort>(false));
    engines.push_back(std::make_unique<IRegisterSerialPort>(true));
    for (const auto& engine : engines)
    {
        EXPECT_FALSE(engine->IsOpened());
        EXPECT_FALSE(engine->mTxOptionBit9);
        EXPECT_FALSE(engine->mTxOptionBit10);
        EXPECT_FALSE(engine->mTxOptionBit11);
        EXPECT_FALSE(engine->mTxOptionBit12);
    }
}

TEST_F(BulkWithI2CTest, TheOptionsThatABusSetsTravelWithItsTransferAndStayUntilTheyAreCleared)
{
    mDevice.mRegisters[0xB8FC] = {0x80000010};
    std::unique_ptr<BulkWithI2C> engine = std::make_unique<BulkIPEngine>();
    engine->mTxOptionBit12 = true;
    engine->mTxOptionBit9 = true;
    ASSERT_TRUE(engine->Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    const std::uint8_t byte = 0x41;
    std::uint32_t written = 0;
    mDevice.TakeCalls();
    engine->Write(&byte, 1, written);
    EXPECT_EQ(mDevice.TakeCalls(), (Texts{"IsConnected", "BulkTransmit 0x80001200 41"}));
    EXPECT_TRUE(engine->Close().IsOK());
    EXPECT_TRUE(engine->mTxOptionBit12 && engine->mTxOptionBit9);
    ASSERT_TRUE(engine->Open(&mDevice, KoDeviceSerialBulk0).IsOK());
    engine->mTxOptionBit12 = false;
    engine->mTxOptionBit9 = false;
    mDevice.TakeCalls();
    engine->Write(&byte, 1, written);
    EXPECT_EQ(mDevice.TakeCalls().back(), "BulkTransmit 0x80000000 41");
    EXPECT_TRUE(engine->Close().IsOK());
}

} // namespace
