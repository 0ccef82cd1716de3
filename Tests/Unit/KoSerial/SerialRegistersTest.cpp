#include "BareHostTest.h"

#include <SerialRegisters.h>

#include <cstring>

namespace
{

using KoSerialLib::LoadWord;
using KoSerialLib::ReadFunctionCaps;
using KoSerialLib::WithBits;

class SerialRegistersTest : public BareHostTest
{
protected:
    bool Read(IKoDeviceAdapter* aDevice)
    {
        KuUtilsLib::Logger logger("KoSerialLib", nullptr);
        mCaps = 0xDEADBEEF;
        return ReadFunctionCaps(aDevice, logger, mCaps);
    }

    std::uint32_t mCaps = 0;
};

TEST_F(SerialRegistersTest, AWordIsLoadedFromAnyAddress)
{
    const std::uint32_t word = 0x12345678;
    Bytes memory(8);
    for (std::size_t offset = 0; offset < 4; ++offset)
    {
        std::memcpy(memory.data() + offset, &word, 4);
        EXPECT_EQ(LoadWord(memory.data() + offset), word);
    }
}

TEST_F(SerialRegistersTest, BitsAreSetOrClearedAndTheOthersKept)
{
    EXPECT_EQ(WithBits(0xFFFF0000, 0x00FFFF00, true), 0xFFFFFF00);
    EXPECT_EQ(WithBits(0xFFFF0000, 0x00FFFF00, false), 0xFF000000);
    EXPECT_EQ(WithBits(0x12345678, 0, true), 0x12345678U);
    EXPECT_EQ(WithBits(0x12345678, 0, false), 0x12345678U);
}

TEST_F(SerialRegistersTest, TheCapabilitiesAreThoseOfTheDevice)
{
    mDevice.mRegisters[0xB8FC] = {0x80ABCDEF};
    EXPECT_TRUE(Read(&mDevice));
    EXPECT_EQ(mCaps, 0x80ABCDEFU);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialRegistersTest, CapabilitiesWithoutTheImplementedBitAreRefusedWithoutAWord)
{
    mDevice.mRegisters[0xB8FC] = {0x7FFFFFFF};
    EXPECT_FALSE(Read(&mDevice));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(SerialRegistersTest, TheReasonForARefusalGoesToTheLogger)
{
    EXPECT_FALSE(Read(nullptr));
    mDevice.FailCall("ReadRegister 0xB8FC");
    EXPECT_FALSE(Read(&mDevice));
    EXPECT_FALSE(Read(&mDevice));
    mDevice.mTavricVideoInterface = false;
    EXPECT_FALSE(Read(&mDevice));
    mDevice.mConnected = false;
    EXPECT_FALSE(Read(&mDevice));
    EXPECT_EQ(mHost.GetTexts(),
              (Texts{"Device pointer is NULL.", "Could not read device function capabilities register.",
                     "Not reading DEV_REG_FUNCTION_CAPS, already know it is now supported.",
                     "The device is not on a Tavric video interface.", "The device is not currently connected."}));
}

} // namespace
