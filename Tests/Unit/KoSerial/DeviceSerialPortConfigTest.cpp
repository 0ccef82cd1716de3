#include "ConfigTest.h"
#include "SlotOf.h"

#include <optional>
#include <type_traits>
#include <utility>

namespace
{

using KoSerialLib::DeviceSerialPortConfig;

static_assert(std::has_virtual_destructor_v<DeviceSerialPortConfig>);
static_assert(std::is_nothrow_destructible_v<DeviceSerialPortConfig>);

/// Construction, the features of a port, and the end.
class DeviceSerialPortConfigTest : public ConfigTest
{
protected:
    void ExpectFeatures(const Texts& aNames)
    {
        const Texts names = {mConfig.mBulkSelectorFeature.GetAscii(), mConfig.mBulkModeFeature.GetAscii(),
                             mConfig.mBaudRateFeature.GetAscii(), mConfig.mParityFeature.GetAscii(),
                             mConfig.mStopBitsFeature.GetAscii()};
        EXPECT_EQ(names, aNames);
    }

    /// The questions for the settings whose names begin with aPrefix, which are all there.
    static Texts FindSettings(const std::string& aPrefix)
    {
        return FindFeature(aPrefix + "BaudRate") + FindFeature(aPrefix + "Parity") +
               FindFeature(aPrefix + "NumOfStopBits");
    }

    static Texts FindFeature(const std::string& aName)
    {
        return {"IsGenEnumPresent " + aName, "RegisterGenInvalidator " + aName};
    }

    static Texts SettingsOf(const std::string& aPrefix)
    {
        return {aPrefix + "BaudRate", aPrefix + "Parity", aPrefix + "NumOfStopBits"};
    }
};

TEST_F(DeviceSerialPortConfigTest, IsBoundToNothingAtFirst)
{
    EXPECT_NE(mConfig.mLogger, nullptr);
    EXPECT_EQ(mHost.mHeapLoggers, 1);
    EXPECT_EQ(mConfig.mDevice, nullptr);
    EXPECT_EQ(mConfig.mPort, KoDeviceSerialInvalid);
    EXPECT_EQ(mConfig.mCurrentBaudRate, 0U);
    EXPECT_EQ(mConfig.GetBaudRate(), 0U);
    EXPECT_EQ(mConfig.GetSupportedBaudRateCount(), 0U);
    EXPECT_EQ(mConfig.GetRegistered(), Texts{});
    ExpectFeatures({"", "", "", "", ""});
    EXPECT_STREQ(mConfig.mBulkSelectorValue, "");
    EXPECT_STREQ(mConfig.mBackupBaudRate, "");
    EXPECT_STREQ(mConfig.mBackupParity, "");
    EXPECT_STREQ(mConfig.mBackupStopBits, "");
    EXPECT_STREQ(mConfig.mBackupBulkMode, "");
}

TEST_F(DeviceSerialPortConfigTest, WantsTheDefaultConfigurationAtFirst)
{
    EXPECT_EQ(mConfig.mConfiguration.mBaudRate, 9600U);
    EXPECT_EQ(mConfig.mConfiguration.mParity, KoParityNone);
    EXPECT_EQ(mConfig.mConfiguration.mByteSize, 8U);
    EXPECT_EQ(mConfig.mConfiguration.mStopBits, 1U);
}

TEST_F(DeviceSerialPortConfigTest, TouchesNoDeviceWhileUnbound)
{
    mConfig.mConfiguration.MakeInvalid();
    ExpectOk(mConfig.SyncPortConfig());
    ExpectOk(mConfig.SyncBaudRate(false));
    ExpectOk(mConfig.SyncBaudRate(true));
    ExpectOk(mConfig.SyncParity());
    ExpectOk(mConfig.SyncStopBits());
    ExpectOk(mConfig.SyncBulkMode());
    ExpectOk(mConfig.BackupPortConfig());
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(DeviceSerialPortConfigTest, SetPortOfAUartFindsAndWatchesItsSettings)
{
    AddSettings("Uart0");
    AddSettings("Uart1");
    mConfig.SetPort(&mDevice, UART0);
    EXPECT_EQ(mConfig.mDevice, &mDevice);
    EXPECT_EQ(mConfig.mPort, UART0);
    EXPECT_EQ(TakeStory(), FindSettings("Uart0"));
    ExpectFeatures({"", "", "Uart0BaudRate", "Uart0Parity", "Uart0NumOfStopBits"});
    EXPECT_EQ(mConfig.GetRegistered(), SettingsOf("Uart0"));

    mConfig.SetPort(&mDevice, KoDeviceSerialUart1);
    EXPECT_EQ(mConfig.mPort, KoDeviceSerialUart1);
    EXPECT_EQ(TakeStory(), FindSettings("Uart1"));
    ExpectFeatures({"", "", "Uart1BaudRate", "Uart1Parity", "Uart1NumOfStopBits"});
    EXPECT_EQ(mConfig.GetRegistered(), SettingsOf("Uart1"));
}

TEST_F(DeviceSerialPortConfigTest, SetPortOfABulkPortFindsTheSettingsBehindTheSelector)
{
    AddSettings("Bulk");
    Value("BulkMode") = "I2C";
    Value("BulkSelector") = "Bulk7";
    for (int i = 0; i < 8; ++i)
    {
        mConfig.SetPort(&mDevice, static_cast<KoDeviceSerial>(KoDeviceSerialBulk0 + i));
        EXPECT_EQ(TakeStory(), Texts{"IsGenEnumPresent BulkSelector"} + FindFeature("BulkMode") + FindSettings("Bulk"));
        ExpectFeatures({"BulkSelector", "BulkMode", "BulkBaudRate", "BulkParity", "BulkNumOfStopBits"});
        EXPECT_EQ(mConfig.GetRegistered(), Texts{"BulkMode"} + SettingsOf("Bulk"));
        EXPECT_STREQ(mConfig.mBulkSelectorValue, ("Bulk" + std::to_string(i)).c_str());
    }
}

TEST_F(DeviceSerialPortConfigTest, SetPortOfABulkPortFindsItsOwnSettingsOnADeviceWithoutSelector)
{
    Value("BulkMode") = "UART";
    for (int i = 0; i < 8; ++i)
    {
        const std::string bulk = "Bulk" + std::to_string(i);
        AddSettings(bulk);
        mConfig.SetPort(&mDevice, static_cast<KoDeviceSerial>(KoDeviceSerialBulk0 + i));
        EXPECT_EQ(TakeStory(), Texts{"IsGenEnumPresent BulkSelector"} + FindFeature("BulkMode") + FindSettings(bulk));
        ExpectFeatures({"", "BulkMode", bulk + "BaudRate", bulk + "Parity", bulk + "NumOfStopBits"});
        EXPECT_EQ(mConfig.GetRegistered(), Texts{"BulkMode"} + SettingsOf(bulk));
        EXPECT_STREQ(mConfig.mBulkSelectorValue, bulk.c_str());
    }
}

TEST_F(DeviceSerialPortConfigTest, SetPortLeavesOutAndDoesNotWatchWhatTheDeviceDoesNotHave)
{
    mConfig.SetPort(&mDevice, BULK3);
    EXPECT_EQ(TakeStory(),
              (Texts{"IsGenEnumPresent BulkSelector", "IsGenEnumPresent BulkMode", "IsGenEnumPresent Bulk3BaudRate",
                     "IsGenEnumPresent Bulk3Parity", "IsGenEnumPresent Bulk3NumOfStopBits"}));
    ExpectFeatures({"", "", "", "", ""});
    EXPECT_EQ(mConfig.GetRegistered(), Texts{});
    EXPECT_STREQ(mConfig.mBulkSelectorValue, "Bulk3");
}

TEST_F(DeviceSerialPortConfigTest, SetPortFindsEachFeatureForItself)
{
    const Texts all = {"BulkMode", "BulkBaudRate", "BulkParity", "BulkNumOfStopBits"};
    for (std::size_t i = 0; i < all.size(); ++i)
    {
        mDevice.mEnumerations.clear();
        Value("BulkSelector") = "Bulk3";
        Value(all[i]);
        Bind(BULK3);
        Texts expected = {"BulkSelector", "", "", "", ""};
        expected[i + 1] = all[i];
        ExpectFeatures(expected);
        EXPECT_EQ(mConfig.GetRegistered(), Texts{all[i]});
    }
}

TEST_F(DeviceSerialPortConfigTest, SetPortKeepsFeaturesThatTheDeviceRefusesToWatch)
{
    AddSettings("Bulk3");
    Value("BulkMode") = "UART";
    mDevice.FailEvery("RegisterGenInvalidator");
    mConfig.SetPort(&mDevice, BULK3);
    ExpectFeatures({"", "BulkMode", "Bulk3BaudRate", "Bulk3Parity", "Bulk3NumOfStopBits"});
    EXPECT_EQ(mConfig.GetRegistered(), Texts{"BulkMode"} + SettingsOf("Bulk3"));
    EXPECT_TRUE(mHost.mLog.empty());
}

TEST_F(DeviceSerialPortConfigTest, SetPortOfAUartKeepsTheSelectorEntryOfTheBulkPortBefore)
{
    BindBulk3OfSelector("Bulk0");
    BindUart0();
    ExpectFeatures({"", "", "Uart0BaudRate", "Uart0Parity", "Uart0NumOfStopBits"});
    EXPECT_STREQ(mConfig.mBulkSelectorValue, "Bulk3");
}

TEST_F(DeviceSerialPortConfigTest, SetPortForgetsTheFeaturesOfThePortBefore)
{
    BindBulk3OfSelector("Bulk0");
    Bind(KoDeviceSerialUart1);
    ExpectFeatures({"", "", "", "", ""});
    EXPECT_EQ(mConfig.GetRegistered(), Texts{});
}

TEST_F(DeviceSerialPortConfigTest, SetPortAgainWatchesTheFeaturesOnceMoreAndStopsWatchingNothing)
{
    BindUart0();
    mConfig.SetPort(&mDevice, UART0);
    EXPECT_EQ(TakeStory(), FindSettings("Uart0"));
    EXPECT_EQ(mConfig.GetRegistered(), SettingsOf("Uart0"));
}

TEST_F(DeviceSerialPortConfigTest, SetPortKeepsWhatWasSavedConfirmedAndListed)
{
    BindUart0();
    mDevice.mEnumerations["Uart0BaudRate"].mEntries = {"Baud9600"};
    mConfig.RefreshSupportedBaudRates();
    mConfig.BackupPortConfig();
    mConfig.SyncBaudRate(false);
    mConfig.mConfiguration.mBaudRate = 19200;
    Bind(KoDeviceSerialUart1);
    EXPECT_STREQ(mConfig.mBackupBaudRate, "Baud9600");
    EXPECT_STREQ(mConfig.mBackupParity, "None");
    EXPECT_STREQ(mConfig.mBackupStopBits, "One");
    EXPECT_EQ(mConfig.GetBaudRate(), 9600U);
    EXPECT_EQ(mConfig.mConfiguration.mBaudRate, 19200U);
    EXPECT_TRUE(mConfig.IsBaudRateSupported(9600));
}

TEST_F(DeviceSerialPortConfigTest, GetParametersFindsTheFeaturesAsTheyAreNow)
{
    BindUart0();
    mDevice.mEnumerations.erase("Uart0Parity");
    mConfig.GetParameters();
    EXPECT_EQ(TakeStory(),
              FindFeature("Uart0BaudRate") + Texts{"IsGenEnumPresent Uart0Parity"} + FindFeature("Uart0NumOfStopBits"));
    ExpectFeatures({"", "", "Uart0BaudRate", "", "Uart0NumOfStopBits"});
    EXPECT_EQ(mConfig.GetRegistered(), (Texts{"Uart0BaudRate", "Uart0NumOfStopBits"}));
}

TEST_F(DeviceSerialPortConfigTest, GetParametersForgetsAllFeaturesBeforeItAsksForTheFirst)
{
    BindBulk3OfSelector("Bulk3");
    bool asked = false;
    mDevice.mOnCall = [&](const std::string&)
    {
        if (!std::exchange(asked, true))
        {
            ExpectFeatures({"", "", "", "", ""});
            EXPECT_TRUE(mConfig.GetRegistered().empty());
        }
    };
    mConfig.GetParameters();
    mDevice.mOnCall = nullptr;
    EXPECT_TRUE(asked);
}

TEST_F(DeviceSerialPortConfigTest, VirtualOperationsKeepTheirPlacesBehindTheDestructor)
{
    EXPECT_EQ(SlotOf(&DeviceSerialPortConfig::GetBaudRate), 2U);
    EXPECT_EQ(SlotOf(&DeviceSerialPortConfig::IsBaudRateValid), 3U);
}

/// Identifiers that are no port of a device.
class NoPortTest : public DeviceSerialPortConfigTest, public ::testing::WithParamInterface<int>
{
protected:
    static KoDeviceSerial NoPort() { return static_cast<KoDeviceSerial>(GetParam()); }
};

TEST_P(NoPortTest, SetPortWarnsAndLooksForTheBareNames)
{
    AddSettings("");
    AddSettings("Bulk");
    Value("BulkSelector") = "Bulk0";
    Value("BulkMode") = "UART";
    mConfig.SetPort(&mDevice, NoPort());
    EXPECT_EQ(TakeStory(), Texts{"[4] Unexpected port identifier."} + FindSettings(""));
    EXPECT_EQ(mHost.mLog.front().mFunction, "GetParameters");
    ExpectFeatures({"", "", "BaudRate", "Parity", "NumOfStopBits"});
    EXPECT_EQ(mConfig.GetRegistered(), SettingsOf(""));
    EXPECT_STREQ(mConfig.mBulkSelectorValue, "");
}

TEST_P(NoPortTest, SetPortWarnsOnlyWhenWarningsAreWanted)
{
    mHost.mEnabledLevel = KuUtilsLib::LOG_ERROR;
    mConfig.SetPort(&mDevice, NoPort());
    EXPECT_EQ(TakeStory(),
              (Texts{"IsGenEnumPresent BaudRate", "IsGenEnumPresent Parity", "IsGenEnumPresent NumOfStopBits"}));
    mHost.mEnabledLevel = KuUtilsLib::LOG_WARNING;
    mConfig.GetParameters();
    EXPECT_EQ(TakeStory().front(), "[4] Unexpected port identifier.");
}

TEST_P(NoPortTest, SetPortDoesWithoutALogger)
{
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    AddSettings("");
    mConfig.SetPort(&mDevice, NoPort());
    EXPECT_EQ(TakeStory(), FindSettings(""));
}

INSTANTIATE_TEST_SUITE_P(Identifiers, NoPortTest, ::testing::Values(-2, -1, 10, 12));

TEST_F(DeviceSerialPortConfigTest, ASettingIsSyncedOnAnIdentifierThatIsNoPortButTheWholeConfigurationIsNot)
{
    AddSettings("");
    mConfig.mConfiguration = KoSerialPortConfiguration(19200, KoParityOdd, 8, 2);
    Bind(KoDeviceSerialInvalid);
    ExpectOk(mConfig.SyncPortConfig());
    ExpectOk(mConfig.BackupPortConfig());
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), Texts{});
    ExpectOk(mConfig.SyncParity());
    EXPECT_EQ(Value("Parity"), "Odd");
    Bind(static_cast<KoDeviceSerial>(12));
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(Value("BaudRate"), "Baud19200");
    EXPECT_EQ(Value("NumOfStopBits"), "Two");
}

/// An object whose end is what is tested, bound to bulk port 3 of a device with selector.
class DeviceSerialPortConfigEndTest : public ConfigTest
{
protected:
    DeviceSerialPortConfigEndTest()
    {
        AddSettings("Bulk");
        Value("BulkMode") = "UART";
        Value("BulkSelector") = "Bulk3";
        mMortal.emplace();
        mMortal->SetPort(&mDevice, BULK3);
        Forget();
    }

    Texts End()
    {
        mMortal.reset();
        return TakeStory();
    }

    const Texts mUnwatch = {"UnregisterGenInvalidator BulkBaudRate", "UnregisterGenInvalidator BulkParity",
                            "UnregisterGenInvalidator BulkNumOfStopBits", "UnregisterGenInvalidator BulkMode"};
    std::optional<TestConfig> mMortal;
};

TEST_F(DeviceSerialPortConfigEndTest, RestoresTheSavedSettingsAndThenStopsWatching)
{
    mMortal->BackupPortConfig();
    mMortal->mConfiguration = KoSerialPortConfiguration(115200, KoParityEven, 8, 2);
    mMortal->SyncPortConfig();
    Value("BulkSelector") = "Bulk1";
    TakeStory();
    EXPECT_EQ(End(), (Texts{"GetGenEnumValue BulkSelector", "SetGenEnumValue BulkSelector Bulk3",
                            "IsGenEnumWritable BulkBaudRate", "SetGenEnumValue BulkBaudRate Baud9600",
                            "IsGenEnumWritable BulkParity", "SetGenEnumValue BulkParity None",
                            "IsGenEnumWritable BulkNumOfStopBits", "SetGenEnumValue BulkNumOfStopBits One",
                            "IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode UART",
                            "SetGenEnumValue BulkSelector Bulk3"}) +
                         mUnwatch);
}

TEST_F(DeviceSerialPortConfigEndTest, WritesOnlyAnEmptyBulkModeWhenNothingWasSaved)
{
    EXPECT_EQ(End(),
              Texts({"GetGenEnumValue BulkSelector", "IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode "}) +
                  mUnwatch);
}

TEST_F(DeviceSerialPortConfigEndTest, StopsWatchingAlsoWhenNothingCanBeRestored)
{
    Value("BulkSelector") = "Bulk1";
    mDevice.FailEvery("SetGenEnumValue");
    mDevice.FailEvery("UnregisterGenInvalidator");
    EXPECT_EQ(End(), Texts({"GetGenEnumValue BulkSelector", "SetGenEnumValue BulkSelector Bulk3",
                            "[3 26] Error setting Bulk selector."}) +
                         mUnwatch);
    EXPECT_EQ(mHost.mLog.back().mFunction, "RestorePortConfig");
}

TEST_F(DeviceSerialPortConfigEndTest, StopsWatchingTheFeaturesOfThePortWhateverWasRegistered)
{
    mMortal->mRegisteredFeatures->clear();
    mMortal->mBulkModeFeature = KoString();
    mMortal->mParityFeature = KoString();
    EXPECT_EQ(End(), (Texts{"GetGenEnumValue BulkSelector", "UnregisterGenInvalidator BulkBaudRate",
                            "UnregisterGenInvalidator BulkNumOfStopBits"}));
}

TEST_F(DeviceSerialPortConfigEndTest, FreesTheLogger)
{
    EXPECT_EQ(mHost.mHeapLoggers, 2);
    End();
    EXPECT_EQ(mHost.mHeapLoggers, 1);
}

TEST_F(DeviceSerialPortConfigEndTest, DoesWithoutALogger)
{
    KuUtilsLib::Logger::Free(mMortal->mLogger);
    End();
    EXPECT_EQ(mHost.mHeapLoggers, 1);
}

TEST_F(DeviceSerialPortConfigEndTest, TouchesNoDeviceWhenNeverBound)
{
    mMortal.emplace();
    Forget();
    EXPECT_EQ(End(), Texts{});
}

TEST_F(DeviceSerialPortConfigEndTest, RestoresNothingOnTheInvalidPortButStopsWatching)
{
    AddSettings("");
    mMortal->SetPort(&mDevice, KoDeviceSerialInvalid);
    TakeStory();
    EXPECT_EQ(End(), (Texts{"UnregisterGenInvalidator BaudRate", "UnregisterGenInvalidator Parity",
                            "UnregisterGenInvalidator NumOfStopBits"}));
}

} // namespace
