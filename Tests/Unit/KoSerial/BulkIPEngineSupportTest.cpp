#include "BulkTest.h"

#include <FunctionCaps.h>

namespace
{

using KoSerialLib::BulkIPEngine;
using KoSerialLib::IsFunctionCapsNS;
using Level = KuUtilsLib::PriorityLevel;

const Texts ALL_CALLS = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId", "IsGigEVision", "ReadRegister 0xB8FC"};
const Texts ALL_I2C_CALLS = {"IsConnected", "IsTavricVideoInterface", "IsGigEVision", "ReadRegister 0xB8FC",
                             "ReadRegister 0xB95C"};

/// The first aCount texts, and what comes after them.
Texts Begin(const Texts& aTexts, std::size_t aCount, const Texts& aMore = {})
{
    Texts texts(aTexts.begin(), aTexts.begin() + static_cast<std::ptrdiff_t>(aCount));
    texts.insert(texts.end(), aMore.begin(), aMore.end());
    return texts;
}

class BulkIPEngineSupportTest : public BulkTest
{
protected:
    using Question = bool (*)(IKoDeviceAdapter*, KoDeviceSerial);

    BulkIPEngineSupportTest() { mDevice.mRegisters[BULK_0_3_CONFIG] = {0x3}; }

    /// Expects the answer "no", exactly these device calls, and one entry or none.
    void ExpectNo(Question aQuestion, KoDeviceSerial aPort, const Texts& aCalls, Level aLevel, const Texts& aEntries)
    {
        mHost.mLog.clear();
        EXPECT_FALSE(aQuestion(&mDevice, aPort));
        EXPECT_EQ(mDevice.TakeCalls(), aCalls);
        EXPECT_EQ(mHost.GetTexts(), aEntries);
        EXPECT_EQ(mHost.GetTexts(aLevel), aEntries);
    }

    void ExpectUnsupported(const Texts& aCalls, Level aLevel, const Texts& aEntries)
    {
        ExpectNo(&BulkIPEngine::IsSupported, KoDeviceSerialBulk0, aCalls, aLevel, aEntries);
    }

    void ExpectNoI2C(const Texts& aCalls, Level aLevel, const Texts& aEntries)
    {
        ExpectNo(&BulkIPEngine::IsI2CSupported, KoDeviceSerialBulk0, aCalls, aLevel, aEntries);
    }

    void ExpectOtherPortsRefused(Question aQuestion, const Texts& aCalls)
    {
        for (const int port : {-1, 0, 1, 3, 9, 10})
        {
            ExpectNo(aQuestion, static_cast<KoDeviceSerial>(port), aCalls, KuUtilsLib::LOG_CRITICAL,
                     {"Port " + std::to_string(port) + " is invalid"});
        }
    }
};

TEST_F(BulkIPEngineSupportTest, ThePortIsNotSupportedWithoutADevice)
{
    EXPECT_FALSE(BulkIPEngine::IsSupported(nullptr, KoDeviceSerialBulk0));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Device pointer is NULL."});
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(BulkIPEngineSupportTest, ThePortIsNotSupportedOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    ExpectUnsupported(Begin(ALL_CALLS, 1), KuUtilsLib::LOG_ERROR, {"The device is not currently connected."});
}

TEST_F(BulkIPEngineSupportTest, ThePortIsNotSupportedOnAForeignVideoInterface)
{
    mDevice.mTavricVideoInterface = false;
    ExpectUnsupported(Begin(ALL_CALLS, 2), KuUtilsLib::LOG_INFO, {"The device is not on a Tavric video interface."});
}

TEST_F(BulkIPEngineSupportTest, ThePortIsNotSupportedOnADeviceThatIsNoGigEVisionDevice)
{
    mDevice.mGigEVision = false;
    ExpectUnsupported(Begin(ALL_CALLS, 4), KuUtilsLib::LOG_INFO, {"The device is not a GigE Vision device."});
}

TEST_F(BulkIPEngineSupportTest, AFailedReadOfTheCapabilitiesIsRememberedForThisDeviceOnly)
{
    mDevice.FailCall("ReadRegister");
    ExpectUnsupported(ALL_CALLS, KuUtilsLib::LOG_INFO, {"Could not read device function capabilities register."});
    EXPECT_TRUE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));

    // From now on the answer comes from memory, before the kind of device is asked for.
    mDevice.mGigEVision = false;
    for (int i = 0; i < 2; ++i)
    {
        ExpectUnsupported(Begin(ALL_CALLS, 3), KuUtilsLib::LOG_INFO,
                          {"Not reading DEV_REG_FUNCTION_CAPS, already know it is now supported."});
    }

    ScriptedAdapter other(NewIdentity());
    other.mRegisters[FUNCTION_CAPS] = {0x80000010};
    EXPECT_TRUE(BulkIPEngine::IsSupported(&other, KoDeviceSerialBulk0));
    EXPECT_EQ(other.TakeCalls(), ALL_CALLS);
}

TEST_F(BulkIPEngineSupportTest, AnAbsentPortIsNotRememberedAndNotLogged)
{
    for (const std::uint32_t caps : {0x00000030U, 0x80000000U, 0xFFFFFFCFU, 0x7FFFFFFFU})
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {caps};
        ExpectUnsupported(ALL_CALLS, KuUtilsLib::LOG_INFO, {});
    }
    EXPECT_FALSE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
}

TEST_F(BulkIPEngineSupportTest, EitherBitOfThePortMakesItSupported)
{
    for (const std::uint32_t caps : {0x80000010U, 0x80000020U, 0x80000030U, 0xFFFFFFFFU})
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {caps};
        EXPECT_TRUE(BulkIPEngine::IsSupported(&mDevice, KoDeviceSerialBulk0));
        EXPECT_EQ(mDevice.TakeCalls(), ALL_CALLS);
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineSupportTest, AnyOtherPortIsInvalidEvenOnADeviceWithBulkPort0)
{
    ExpectOtherPortsRefused(&BulkIPEngine::IsSupported, ALL_CALLS);
    mDevice.mRegisters[FUNCTION_CAPS] = {0x7FFFFFFF};
    ExpectNo(&BulkIPEngine::IsSupported, KoDeviceSerialBulk1, ALL_CALLS, KuUtilsLib::LOG_CRITICAL, {});
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedWithoutADevice)
{
    EXPECT_FALSE(BulkIPEngine::IsI2CSupported(nullptr, KoDeviceSerialBulk0));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Device pointer is NULL."});
    EXPECT_EQ(mHost.mLog.size(), 1U);
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedOnADisconnectedDevice)
{
    mDevice.mConnected = false;
    ExpectNoI2C(Begin(ALL_I2C_CALLS, 1), KuUtilsLib::LOG_ERROR, {"The device is not currently connected."});
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedOnAForeignVideoInterface)
{
    mDevice.mTavricVideoInterface = false;
    ExpectNoI2C(Begin(ALL_I2C_CALLS, 2), KuUtilsLib::LOG_ERROR, {"The device is not on a Tavric video interface."});
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedOnADeviceThatIsNoGigEVisionDevice)
{
    mDevice.mGigEVision = false;
    ExpectNoI2C(Begin(ALL_I2C_CALLS, 3), KuUtilsLib::LOG_INFO, {"The device is not a GigE Vision device."});
}

TEST_F(BulkIPEngineSupportTest, AFailedReadOfTheCapabilitiesForI2CIsRememberedButNeverConsulted)
{
    mDevice.FailCall("ReadRegister 0xB8FC", 1);
    mDevice.FailCall("ReadRegister 0xB8FC", 2);
    for (int i = 0; i < 2; ++i)
    {
        ExpectNoI2C(Begin(ALL_I2C_CALLS, 4, {"GetDeviceId"}), KuUtilsLib::LOG_ERROR,
                    {"Failed to read function capabilities register."});
        EXPECT_TRUE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
    }
    ExpectUnsupported(Begin(ALL_CALLS, 3), KuUtilsLib::LOG_INFO,
                      {"Not reading DEV_REG_FUNCTION_CAPS, already know it is now supported."});
    mHost.mLog.clear();
    EXPECT_TRUE(BulkIPEngine::IsI2CSupported(&mDevice, KoDeviceSerialBulk0));
    EXPECT_EQ(mDevice.TakeCalls(), ALL_I2C_CALLS);
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedWithoutTheImplementedBit)
{
    mDevice.mRegisters[FUNCTION_CAPS] = {0x7FFFFFFF};
    for (const KoDeviceSerial port : {KoDeviceSerialBulk0, KoDeviceSerialBulk1})
    {
        ExpectNo(&BulkIPEngine::IsI2CSupported, port, Begin(ALL_I2C_CALLS, 4), KuUtilsLib::LOG_ERROR,
                 {"Implemented bit was not set."});
    }
    EXPECT_FALSE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedOnAnyOtherPort)
{
    ExpectOtherPortsRefused(&BulkIPEngine::IsI2CSupported, Begin(ALL_I2C_CALLS, 4));
}

TEST_F(BulkIPEngineSupportTest, I2CIsNotSupportedWhenTheBulkConfigurationCannotBeRead)
{
    mDevice.FailCall("ReadRegister 0xB95C");
    ExpectNoI2C(ALL_I2C_CALLS, KuUtilsLib::LOG_ERROR, {"Failed to read DEV_REG_BULK_0_3_CONFIG register."});
    EXPECT_FALSE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
}

TEST_F(BulkIPEngineSupportTest, I2CNeedsBothBitsOfTheBulkConfigurationAndAUart)
{
    for (std::uint32_t config = 0; config < 8; ++config)
    {
        for (std::uint32_t uarts = 0; uarts < 8; ++uarts)
        {
            for (const std::uint32_t others : {0x80000000U, 0xFFFFFFF8U})
            {
                mDevice.mRegisters[BULK_0_3_CONFIG] = {config | (others & 0xFFFFFFF8)};
                mDevice.mRegisters[FUNCTION_CAPS] = {others | uarts};
                EXPECT_EQ(BulkIPEngine::IsI2CSupported(&mDevice, KoDeviceSerialBulk0), config % 4 == 3 && uarts != 0)
                    << config << ' ' << uarts << ' ' << others;
            }
        }
    }
    EXPECT_TRUE(mHost.mLog.empty());
}

} // namespace
