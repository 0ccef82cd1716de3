#include "UartFixture.h"

using namespace KoSim;

class UartInterruptsTest : public ::testing::Test
{
protected:
    std::uint32_t GetEnabled() { return ReadRegister(mDevice, REG_INTERRUPT_ENABLE); }
    void SetEnabled(std::uint32_t aValue) { EXPECT_TRUE(mDevice.WriteRegister(REG_INTERRUPT_ENABLE, aValue).IsOK()); }
    void Open(KoDeviceSerial aPort) { ASSERT_TRUE(mPort.Open(&mDevice, aPort).IsOK()); }
    void Close() { EXPECT_TRUE(mPort.Close().IsOK()); }

    SimulatedDevice mDevice;
    KoDeviceSerialPort mPort;
};

TEST_F(UartInterruptsTest, AreEnabledForTheOpenPortAndRestoredWhenItIsClosed)
{
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(GetEnabled(), 0x3U);
    Close();
    EXPECT_EQ(GetEnabled(), 0x0U);

    Open(KoDeviceSerialUart1);
    EXPECT_EQ(GetEnabled(), 0xCU);
    Close();
    EXPECT_EQ(GetEnabled(), 0x0U);
}

TEST_F(UartInterruptsTest, StayEnabledWhenTheyWereBefore)
{
    for (const std::uint32_t before : {0x0U, 0x1U, 0x2U, 0x3U})
    {
        SetEnabled(before);
        Open(KoDeviceSerialUart0);
        EXPECT_EQ(GetEnabled(), 0x3U);
        Close();
        EXPECT_EQ(GetEnabled(), before);
    }
}

TEST_F(UartInterruptsTest, OfTheSecondUartGoBackToWhatThoseOfTheFirstWere)
{
    SetEnabled(0x2);
    Open(KoDeviceSerialUart1);
    EXPECT_EQ(GetEnabled(), 0xEU);
    Close();
    EXPECT_EQ(GetEnabled(), 0xAU);

    SetEnabled(0xC);
    Open(KoDeviceSerialUart1);
    Close();
    EXPECT_EQ(GetEnabled(), 0x0U);
}

TEST_F(UartInterruptsTest, OfOthersAreLeftAlone)
{
    SetEnabled(0x1F0C);
    Open(KoDeviceSerialUart0);
    EXPECT_EQ(GetEnabled(), 0x1F0FU);
    Close();
    EXPECT_EQ(GetEnabled(), 0x1F0CU);
}

TEST_F(UartInterruptsTest, ThatChangeWhileAPortIsOpenAreKept)
{
    Open(KoDeviceSerialUart0);
    SetEnabled(0x1F0F);
    Close();
    EXPECT_EQ(GetEnabled(), 0x1F0CU);
}
