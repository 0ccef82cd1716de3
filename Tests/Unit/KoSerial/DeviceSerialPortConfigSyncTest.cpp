#include "ConfigTest.h"

#include <functional>
#include <ostream>
#include <utility>

namespace
{

const char* const BAUD_RATE_FAILURE = "Error setting device serial port baud rate.";
const char* const READ_FAILURE = "Error reading device serial port parity.";
const char* const WRITE_FAILURE = "Error setting device serial port parity.";

/// One setting at a time, mostly on UART 0.
class DeviceSerialPortConfigSyncTest : public ConfigTest
{
protected:
    DeviceSerialPortConfigSyncTest() { mDevice.mRefusal = KoResult(4711, KoString("The device is on fire.")); }
};

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateWritesARateThatTheDeviceDoesNotShow)
{
    BindUart0();
    mConfig.mConfiguration.mBaudRate = 115200;
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue Uart0BaudRate", "SetGenEnumValue Uart0BaudRate Baud115200",
                                  "[6] Device port speed changed to 115200 bps"}));
    EXPECT_EQ(mHost.mLog.back().mFunction, "SyncBaudRate");
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud115200");
    EXPECT_EQ(mConfig.GetBaudRate(), 115200U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateTellsAndConfirmsARateThatTheDeviceShowsAlready)
{
    BindUart0();
    Value("Uart0BaudRate") = "Baud115200";
    mConfig.mConfiguration.mBaudRate = 115200;
    ExpectOk(mConfig.SyncBaudRate(true));
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue Uart0BaudRate", "[6] Device port speed changed to 115200 bps"}));
    EXPECT_EQ(mConfig.GetBaudRate(), 115200U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateTellsTheRateOnlyWhenThatIsWanted)
{
    BindUart0();
    mHost.mEnabledLevel = KuUtilsLib::LOG_WARNING;
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_TRUE(mHost.mLog.empty());
    EXPECT_EQ(mConfig.GetBaudRate(), 9600U);
    mHost.mEnabledLevel = KuUtilsLib::LOG_INFO;
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_INFO), Texts{"Device port speed changed to 9600 bps"});
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateIfChangedLeavesTheDeviceAloneAtTheConfirmedRate)
{
    BindUart0();
    ExpectOk(mConfig.SyncBaudRate(true));
    Forget();
    ExpectOk(mConfig.SyncBaudRate(true));
    EXPECT_EQ(TakeStory(), Texts{});
    mConfig.mConfiguration.mBaudRate = 19200;
    ExpectOk(mConfig.SyncBaudRate(true));
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud19200");
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateIfChangedSelectsNoPortAtTheConfirmedRate)
{
    BindBulk3OfSelector("Bulk3");
    ExpectOk(mConfig.SyncBaudRate(true));
    Value("BulkSelector") = "Bulk0";
    Forget();
    ExpectOk(mConfig.SyncBaudRate(true));
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateOtherwiseAlwaysLooksAtTheDevice)
{
    BindUart0();
    ExpectOk(mConfig.SyncBaudRate(false));
    Value("Uart0BaudRate") = "Baud57600";
    Forget();
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue Uart0BaudRate", "SetGenEnumValue Uart0BaudRate Baud9600",
                                  "[6] Device port speed changed to 9600 bps"}));
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateWritesAnyRateInUnsignedDecimal)
{
    BindUart0();
    mConfig.mConfiguration.mBaudRate = 4000000000;
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud4000000000");
    EXPECT_EQ(mHost.mLog.back().mText, "Device port speed changed to -294967296 bps");
    EXPECT_EQ(mConfig.GetBaudRate(), 4000000000U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateDoesNotAskWhetherTheRateCanBeWritten)
{
    BindUart0();
    mDevice.mEnumerations["Uart0BaudRate"].mWritable = false;
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue Uart0BaudRate", "[6] Device port speed changed to 9600 bps"}));
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateFailsWithTheWordsForAWriteWhenTheRateCannotBeRead)
{
    BindUart0();
    ExpectOk(mConfig.SyncBaudRate(false));
    mConfig.mConfiguration.mBaudRate = 19200;
    Forget();
    mDevice.FailCall("GetGenEnumValue");
    ExpectFailure(mConfig.SyncBaudRate(false), KoResult::NOT_SUPPORTED, "SyncBaudRate", BAUD_RATE_FAILURE);
    EXPECT_EQ(TakeStory(),
              (Texts{"GetGenEnumValue Uart0BaudRate", "[3 26] Error setting device serial port baud rate."}));
    EXPECT_EQ(mConfig.GetBaudRate(), 9600U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateFailsAndKeepsTheConfirmedRateWhenTheRateCannotBeWritten)
{
    BindUart0();
    ExpectOk(mConfig.SyncBaudRate(false));
    mConfig.mConfiguration.mBaudRate = 19200;
    Forget();
    mDevice.FailCall("SetGenEnumValue");
    ExpectFailure(mConfig.SyncBaudRate(true), KoResult::NOT_SUPPORTED, "SyncBaudRate", BAUD_RATE_FAILURE);
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue Uart0BaudRate", "SetGenEnumValue Uart0BaudRate Baud19200",
                                  "[3 26] Error setting device serial port baud rate."}));
    EXPECT_EQ(mConfig.GetBaudRate(), 9600U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateKeepsTheConfirmedRateWhenThePortCannotBeSelected)
{
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall("SetGenEnumValue BulkSelector");
    EXPECT_EQ(mConfig.SyncBaudRate(false).GetCode(), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(mConfig.GetBaudRate(), 0U);
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBaudRateConfirmsNothingWithoutABaudRateFeature)
{
    Value("BulkSelector") = "Bulk0";
    Bind(BULK3);
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(TakeStory(), Texts{});
    EXPECT_EQ(mConfig.GetBaudRate(), 0U);
}

/// What the two settings with a writable test share.
struct Framing
{
    std::string mName;
    std::string mFeature;
    std::function<KuUtilsLib::Result(TestConfig&)> mRun;
    std::function<void(KoSerialPortConfiguration&, std::uint32_t)> mWant;
    std::vector<std::pair<std::uint32_t, std::string>> mEntries; ///< the values and their entries
    std::vector<std::uint32_t> mBadValues;
    std::string mBadValueText;
};

void PrintTo(const Framing& aFraming, std::ostream* aStream)
{
    *aStream << aFraming.mName;
}

const Framing PARITY = {"SyncParity",
                        "Uart0Parity",
                        [](TestConfig& aConfig) { return aConfig.SyncParity(); },
                        [](KoSerialPortConfiguration& aConfiguration, std::uint32_t aValue)
                        { aConfiguration.mParity = static_cast<KoParity>(aValue); },
                        {{0, "None"}, {1, "Even"}, {2, "Odd"}},
                        {3, 0xFFFFFFFF},
                        "Unexpected parity value."};

const Framing STOP_BITS = {"SyncStopBits",
                           "Uart0NumOfStopBits",
                           [](TestConfig& aConfig) { return aConfig.SyncStopBits(); },
                           [](KoSerialPortConfiguration& aConfiguration, std::uint32_t aValue)
                           { aConfiguration.mStopBits = aValue; },
                           {{1, "One"}, {2, "Two"}},
                           {0, 3, 0xFFFFFFFF},
                           "Unexpected stop bits value."};

class DeviceSerialPortConfigFramingTest : public DeviceSerialPortConfigSyncTest,
                                          public ::testing::WithParamInterface<Framing>
{
protected:
    DeviceSerialPortConfigFramingTest()
    {
        BindUart0();
        Value(mFeature) = "Mark";
    }

    void Want(std::uint32_t aValue) { GetParam().mWant(mConfig.mConfiguration, aValue); }
    KuUtilsLib::Result Run() { return GetParam().mRun(mConfig); }

    const std::string mFeature = GetParam().mFeature;
    const std::string mAsk = "IsGenEnumWritable " + mFeature;
    const std::string mRead = "GetGenEnumValue " + mFeature;
    const std::string mWrite = "SetGenEnumValue " + mFeature;
};

TEST_P(DeviceSerialPortConfigFramingTest, WritesTheEntryOfTheWantedValue)
{
    for (const auto& [value, entry] : GetParam().mEntries)
    {
        Value(mFeature) = "Mark";
        Want(value);
        ExpectOk(Run());
        EXPECT_EQ(TakeStory(), (Texts{mAsk, mRead, mWrite + ' ' + entry}));
        EXPECT_EQ(Value(mFeature), entry);
    }
}

TEST_P(DeviceSerialPortConfigFramingTest, WritesNothingThatTheDeviceShowsAlready)
{
    for (const auto& [value, entry] : GetParam().mEntries)
    {
        Value(mFeature) = entry;
        Want(value);
        ExpectOk(Run());
        EXPECT_EQ(TakeStory(), (Texts{mAsk, mRead}));
    }
}

TEST_P(DeviceSerialPortConfigFramingTest, TouchesNothingWithoutTheFeature)
{
    mDevice.mEnumerations.erase(mFeature);
    Bind(UART0);
    for (const std::uint32_t value : GetParam().mBadValues)
    {
        Want(value);
        ExpectOk(Run());
    }
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_P(DeviceSerialPortConfigFramingTest, LeavesAFeatureAloneThatCannotBeWrittenWhateverIsWanted)
{
    mDevice.mEnumerations[mFeature].mWritable = false;
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts{mAsk});
    Want(GetParam().mBadValues.front());
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts{mAsk});
}

TEST_P(DeviceSerialPortConfigFramingTest, RefusesAValueWithoutAnEntry)
{
    for (const std::uint32_t value : GetParam().mBadValues)
    {
        Want(value);
        ExpectFailure(Run(), KoResult::NOT_SUPPORTED, GetParam().mName.c_str(), GetParam().mBadValueText);
        EXPECT_EQ(TakeStory(), (Texts{mAsk, "[3 26] " + GetParam().mBadValueText}));
    }
}

TEST_P(DeviceSerialPortConfigFramingTest, FailsWithTheWordsForTheParityWhenItCannotBeRead)
{
    mDevice.FailCall(mRead);
    ExpectFailure(Run(), KoResult::NOT_SUPPORTED, GetParam().mName.c_str(), READ_FAILURE);
    EXPECT_EQ(TakeStory(), (Texts{mAsk, mRead, "[3 26] Error reading device serial port parity."}));
    EXPECT_EQ(Value(mFeature), "Mark");
}

TEST_P(DeviceSerialPortConfigFramingTest, FailsWithTheWordsForTheParityWhenItCannotBeWritten)
{
    mDevice.FailCall(mWrite);
    ExpectFailure(Run(), KoResult::NOT_SUPPORTED, GetParam().mName.c_str(), WRITE_FAILURE);
    EXPECT_EQ(TakeStory(), (Texts{mAsk, mRead, mWrite + ' ' + (GetParam().mName == "SyncParity" ? "None" : "One"),
                                  "[3 26] Error setting device serial port parity."}));
}

TEST_P(DeviceSerialPortConfigFramingTest, FailsWithTheCodeAloneWhenThereIsNoLogger)
{
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    mDevice.FailCall(mRead);
    ExpectBareFailure(Run(), KoResult::NOT_SUPPORTED);
    mDevice.FailCall(mWrite);
    ExpectBareFailure(Run(), KoResult::NOT_SUPPORTED);
    Want(GetParam().mBadValues.front());
    ExpectBareFailure(Run(), KoResult::NOT_SUPPORTED);
    EXPECT_TRUE(mHost.mLog.empty());
}

INSTANTIATE_TEST_SUITE_P(Settings, DeviceSerialPortConfigFramingTest, ::testing::Values(PARITY, STOP_BITS),
                         [](const ::testing::TestParamInfo<Framing>& aInfo) { return aInfo.param.mName; });

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModePutsThePortInUartMode)
{
    BindBulk3();
    Value("BulkMode") = "SPI";
    mDevice.mEnumerations["BulkMode"].mWritable = false;
    ExpectOk(mConfig.SyncBulkMode());
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue BulkMode", "SetGenEnumValue BulkMode UART"}));
    EXPECT_EQ(Value("BulkMode"), "UART");
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModeWritesNothingInUartMode)
{
    BindBulk3();
    ExpectOk(mConfig.SyncBulkMode());
    EXPECT_EQ(TakeStory(), Texts{"GetGenEnumValue BulkMode"});
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModeTouchesNothingOnAUart)
{
    Value("BulkMode") = "I2C";
    Value("BulkSelector") = "Bulk0";
    BindUart0();
    ExpectOk(mConfig.SyncBulkMode());
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModeSelectsNothingWithoutTheFeature)
{
    Value("BulkSelector") = "Bulk0";
    AddSettings("Bulk");
    Bind(BULK3);
    ExpectOk(mConfig.SyncBulkMode());
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModeFailsWhenTheModeCannotBeRead)
{
    BindBulk3();
    mDevice.FailCall("GetGenEnumValue");
    ExpectFailure(mConfig.SyncBulkMode(), KoResult::NOT_SUPPORTED, "SyncBulkMode",
                  "Error reading device serial bulk port mode.");
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue BulkMode", "[3 26] Error reading device serial bulk port mode."}));
}

TEST_F(DeviceSerialPortConfigSyncTest, SyncBulkModeFailsWhenTheModeCannotBeWritten)
{
    BindBulk3();
    Value("BulkMode") = "I2C";
    mDevice.FailCall("SetGenEnumValue");
    ExpectFailure(mConfig.SyncBulkMode(), KoResult::NOT_SUPPORTED, "SyncBulkMode",
                  "Error setting device serial bulk port to UART mode.");
    EXPECT_EQ(TakeStory(), (Texts{"GetGenEnumValue BulkMode", "SetGenEnumValue BulkMode UART",
                                  "[3 26] Error setting device serial bulk port to UART mode."}));
}

TEST_F(DeviceSerialPortConfigSyncTest, BaudRateAndBulkModeDoWithoutALogger)
{
    BindBulk3();
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    ExpectOk(mConfig.SyncBaudRate(false));
    EXPECT_EQ(mConfig.GetBaudRate(), 9600U);
    mDevice.FailEvery("GetGenEnumValue");
    ExpectBareFailure(mConfig.SyncBaudRate(false), KoResult::NOT_SUPPORTED);
    ExpectBareFailure(mConfig.SyncBulkMode(), KoResult::NOT_SUPPORTED);
    EXPECT_TRUE(mHost.mLog.empty());
}

} // namespace
