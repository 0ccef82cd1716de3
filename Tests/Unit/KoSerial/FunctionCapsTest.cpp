#include "BareHostTest.h"

#include <BulkIPEngine.h>
#include <FunctionCaps.h>
#include <SerialPortIPEngine.h>

#include <cstdlib>

using KoSerialLib::BulkIPEngine;
using KoSerialLib::IsFunctionCapsNS;
using KoSerialLib::ReportFunctionCapsNS;
using KoSerialLib::SerialPortIPEngine;

namespace
{

class FunctionCapsTest : public BareHostTest
{
protected:
    /// Expects that both register engines answer from memory, without a register access.
    void ExpectRemembered()
    {
        const Texts calls = {"IsConnected", "IsTavricVideoInterface", "GetDeviceId"};
        mDevice.TakeCalls();
        EXPECT_FALSE(SerialPortIPEngine::IsSupported(&mDevice, KoDeviceSerialUart0));
        EXPECT_EQ(mDevice.TakeCalls(), calls);
        EXPECT_FALSE(BulkIPEngine::IsSupported(&mDevice, KoDeviceSerialBulk0));
        EXPECT_EQ(mDevice.TakeCalls(), calls);
    }

    const std::string mIdentity = NewIdentity();
};

TEST_F(FunctionCapsTest, ADeviceIsUnknownUntilItIsReported)
{
    EXPECT_FALSE(IsFunctionCapsNS(mIdentity.c_str()));
    ReportFunctionCapsNS(mIdentity.c_str());
    EXPECT_TRUE(IsFunctionCapsNS(mIdentity.c_str()));
}

TEST_F(FunctionCapsTest, AReportConcernsOneDeviceOnly)
{
    ReportFunctionCapsNS((mIdentity + "a").c_str());
    EXPECT_FALSE(IsFunctionCapsNS((mIdentity + "A").c_str()));
    EXPECT_FALSE(IsFunctionCapsNS((mIdentity + "a ").c_str()));
    EXPECT_FALSE(IsFunctionCapsNS(mIdentity.c_str()));
}

TEST_F(FunctionCapsTest, ASecondReportChangesNothing)
{
    ReportFunctionCapsNS(mIdentity.c_str());
    ReportFunctionCapsNS(mIdentity.c_str());
    EXPECT_TRUE(IsFunctionCapsNS(mIdentity.c_str()));
}

TEST_F(FunctionCapsTest, TheTextIsKeptNotItsAddress)
{
    {
        const std::string temporary = mIdentity;
        ReportFunctionCapsNS(temporary.c_str());
    }
    EXPECT_TRUE(IsFunctionCapsNS(std::string(mIdentity).c_str()));
}

// In processes of their own, since nothing takes an identity out again.
TEST(FunctionCapsDeathTest, TheEmptyTextIsAnIdentityLikeAnyOther)
{
    const auto reportEmpty = []
    {
        const HostRecorder host;
        const bool before = IsFunctionCapsNS("");
        ReportFunctionCapsNS("");
        std::_Exit(!before && IsFunctionCapsNS("") ? 0 : 1);
    };
    EXPECT_EXIT(reportEmpty(), ::testing::ExitedWithCode(0), "");
}

TEST(FunctionCapsDeathTest, DevicesThatDoNotTellTheirIdentityAreRememberedTogether)
{
    const auto askTwoDevices = []
    {
        const HostRecorder host;
        ScriptedAdapter first("first");
        first.FailEvery("GetDeviceId");
        first.FailEvery("ReadRegister");
        const bool firstSupported = SerialPortIPEngine::IsSupported(&first, KoDeviceSerialUart0);
        ScriptedAdapter second("second");
        second.FailCall("GetDeviceId");
        const bool secondSupported = SerialPortIPEngine::IsSupported(&second, KoDeviceSerialUart0);
        const bool supportedUnderItsName = SerialPortIPEngine::IsSupported(&second, KoDeviceSerialUart0);
        std::_Exit(!firstSupported && !secondSupported && supportedUnderItsName ? 0 : 1);
    };
    EXPECT_EXIT(askTwoDevices(), ::testing::ExitedWithCode(0), "");
}

TEST_F(FunctionCapsTest, OneMutexIsTakenForEachOperation)
{
    IsFunctionCapsNS(mIdentity.c_str());
    ReportFunctionCapsNS(mIdentity.c_str());
    ASSERT_EQ(mHost.mTaken.size(), 2U);
    EXPECT_EQ(mHost.mTaken[0], mHost.mTaken[1]);
    EXPECT_TRUE(mHost.GetHeld().empty());
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(FunctionCapsTest, WhatTheBulkEngineFindsOutTheUartEngineKnows)
{
    mDevice.mRegisters[0xB8FC] = {0x80000012};
    mDevice.FailCall("ReadRegister 0xB8FC");
    EXPECT_FALSE(BulkIPEngine::IsSupported(&mDevice, KoDeviceSerialBulk0));
    ExpectRemembered();
}

TEST_F(FunctionCapsTest, WhatTheUartEngineFindsOutTheBulkEngineKnows)
{
    mDevice.mRegisters[0xB8FC] = {0x80000012};
    mDevice.FailCall("ReadRegister 0xB8FC");
    EXPECT_FALSE(SerialPortIPEngine::IsSupported(&mDevice, KoDeviceSerialUart0));
    ExpectRemembered();
}

TEST_F(FunctionCapsTest, WhatTheI2CTestFindsOutBothEnginesKnowButItAsksAgain)
{
    mDevice.mRegisters[0xB8FC] = {0x80000012};
    mDevice.mRegisters[0xB95C] = {0x3};
    mDevice.FailCall("ReadRegister 0xB8FC");
    EXPECT_FALSE(BulkIPEngine::IsI2CSupported(&mDevice, KoDeviceSerialBulk0));
    ExpectRemembered();
    EXPECT_TRUE(BulkIPEngine::IsI2CSupported(&mDevice, KoDeviceSerialBulk0));
    EXPECT_TRUE(IsFunctionCapsNS(mDevice.mIdentity.c_str()));
}

} // namespace
