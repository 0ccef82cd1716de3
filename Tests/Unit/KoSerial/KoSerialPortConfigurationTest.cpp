#include "BareHostTest.h"

#include <KoSerialPortConfiguration.h>

#include <cstddef>
#include <type_traits>

static_assert(!std::is_polymorphic_v<KoSerialPortConfiguration>);
static_assert(offsetof(KoSerialPortConfiguration, mBaudRate) == 0);
static_assert(offsetof(KoSerialPortConfiguration, mParity) == 4);
static_assert(offsetof(KoSerialPortConfiguration, mByteSize) == 8);
static_assert(offsetof(KoSerialPortConfiguration, mStopBits) == 12);

namespace
{

constexpr char BAD_SPEED[] = "Invalid port speed. 9600, 14400, 19200, 28800, 38400, 57600, 115200, 230400, 460800 and "
                             "921600 supported.";
constexpr char BAD_PARITY[] = "Invalid parity. KoParityNone, KoParityEven and KoParityOdd supported.";
constexpr char BAD_BYTE_SIZE[] = "Invalid number of bits per byte. 7 and 8 supported.";
constexpr char BAD_STOP_BITS[] = "Invalid number of stop bits. 1 and 2 supported.";

class KoSerialPortConfigurationTest : public BareHostTest
{
protected:
    void ExpectInvalid(const KoSerialPortConfiguration& aConfiguration, const char* aText)
    {
        ExpectFailure(aConfiguration.IsValid(), KoResult::INVALID_PARAMETER, "IsValid", aText);
    }
};

TEST_F(KoSerialPortConfigurationTest, IsByDefaultAValid9600BitsNoParity8Data1Stop)
{
    const KoSerialPortConfiguration configuration;
    EXPECT_EQ(configuration.mBaudRate, 9600U);
    EXPECT_EQ(configuration.mParity, KoParityNone);
    EXPECT_EQ(configuration.mByteSize, 8U);
    EXPECT_EQ(configuration.mStopBits, 1U);
    EXPECT_TRUE(configuration.IsValid().IsOK());
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(KoSerialPortConfigurationTest, StoresWhatItIsGivenUnchecked)
{
    const KoSerialPortConfiguration configuration(1, static_cast<KoParity>(77), 3, 4);
    EXPECT_EQ(configuration.mBaudRate, 1U);
    EXPECT_EQ(configuration.mParity, static_cast<KoParity>(77));
    EXPECT_EQ(configuration.mByteSize, 3U);
    EXPECT_EQ(configuration.mStopBits, 4U);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(KoSerialPortConfigurationTest, ParitiesKeepTheirNumbers)
{
    EXPECT_EQ(KoParityNone, 0);
    EXPECT_EQ(KoParityEven, 1);
    EXPECT_EQ(KoParityOdd, 2);
}

TEST_F(KoSerialPortConfigurationTest, MakeInvalidPutsInValuesThatAreRefusedForTheSpeed)
{
    KoSerialPortConfiguration configuration(115200, KoParityOdd, 7, 2);
    configuration.MakeInvalid();
    EXPECT_EQ(configuration.mBaudRate, 0U);
    EXPECT_EQ(static_cast<std::uint32_t>(configuration.mParity), 0xFFFFFFFFU);
    EXPECT_EQ(configuration.mByteSize, 0U);
    EXPECT_EQ(configuration.mStopBits, 0U);
    ExpectInvalid(configuration, BAD_SPEED);
}

TEST_F(KoSerialPortConfigurationTest, AcceptsExactlyTheTenSpeeds)
{
    for (const std::uint32_t speed :
         {9600U, 14400U, 19200U, 28800U, 38400U, 57600U, 115200U, 230400U, 460800U, 921600U})
    {
        EXPECT_TRUE(KoSerialPortConfiguration(speed, KoParityNone, 8, 1).IsValid().IsOK()) << speed;
        ExpectInvalid({speed - 1, KoParityNone, 8, 1}, BAD_SPEED);
        ExpectInvalid({speed + 1, KoParityNone, 8, 1}, BAD_SPEED);
    }
    for (const std::uint32_t speed : {0U, 300U, 4800U, 1843200U, 0xFFFFFFFFU})
    {
        ExpectInvalid({speed, KoParityNone, 8, 1}, BAD_SPEED);
    }
}

TEST_F(KoSerialPortConfigurationTest, AcceptsEveryMixOfParityDataAndStopBits)
{
    for (const KoParity parity : {KoParityNone, KoParityEven, KoParityOdd})
    {
        for (const std::uint32_t byteSize : {7U, 8U})
        {
            for (const std::uint32_t stopBits : {1U, 2U})
            {
                EXPECT_TRUE(KoSerialPortConfiguration(921600, parity, byteSize, stopBits).IsValid().IsOK());
            }
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(KoSerialPortConfigurationTest, RefusesAnyOtherParity)
{
    for (const int parity : {-1, 3, 0x7FFFFFFF})
    {
        ExpectInvalid({9600, static_cast<KoParity>(parity), 8, 1}, BAD_PARITY);
    }
}

TEST_F(KoSerialPortConfigurationTest, RefusesAnyOtherNumberOfDataBits)
{
    for (const std::uint32_t byteSize : {0U, 5U, 6U, 9U, 16U})
    {
        ExpectInvalid({9600, KoParityNone, byteSize, 1}, BAD_BYTE_SIZE);
    }
}

TEST_F(KoSerialPortConfigurationTest, RefusesAnyOtherNumberOfStopBits)
{
    for (const std::uint32_t stopBits : {0U, 3U, 15U})
    {
        ExpectInvalid({9600, KoParityNone, 8, stopBits}, BAD_STOP_BITS);
    }
}

TEST_F(KoSerialPortConfigurationTest, ReportsTheFirstInvalidValueOnly)
{
    const KoParity badParity = static_cast<KoParity>(-1);
    ExpectInvalid({300, badParity, 9, 0}, BAD_SPEED);
    ExpectInvalid({9600, badParity, 9, 0}, BAD_PARITY);
    ExpectInvalid({9600, KoParityNone, 9, 0}, BAD_BYTE_SIZE);
    ExpectInvalid({9600, KoParityNone, 8, 0}, BAD_STOP_BITS);
    EXPECT_EQ(mHost.mLog.size(), 4U);
}

} // namespace
