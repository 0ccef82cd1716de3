#include "ConfigTest.h"

#include <functional>
#include <ostream>

namespace
{

/// An operation that selects its port first.
struct Operation
{
    std::string mName;
    std::function<KuUtilsLib::Result(TestConfig&)> mRun;
    Texts mStory;             ///< what it does on a selected port that has the wanted settings
    std::string mFailingCall; ///< a call after the selection that makes it fail; empty: there is none
    Texts mFailure;           ///< what it does then
};

void PrintTo(const Operation& aOperation, std::ostream* aStream)
{
    *aStream << aOperation.mName;
}

std::string GetName(const ::testing::TestParamInfo<Operation>& aInfo)
{
    return aInfo.param.mName;
}

const char* const LOOK = "GetGenEnumValue BulkSelector";
const char* const SWITCH = "SetGenEnumValue BulkSelector Bulk3";

const Operation REFRESH = {"RefreshSupportedBaudRates",
                           [](TestConfig& aConfig) { return aConfig.RefreshSupportedBaudRates(); },
                           {"IsGenEnumWritable BulkBaudRate", "GetGenEnumEntries BulkBaudRate"},
                           "GetGenEnumEntries",
                           {"IsGenEnumWritable BulkBaudRate", "GetGenEnumEntries BulkBaudRate",
                            "[3 25] Error reading device port baud rates count."}};

const Operation SYNC_PORT_CONFIG = {"SyncPortConfig",
                                    [](TestConfig& aConfig) { return aConfig.SyncPortConfig(); },
                                    {LOOK, "GetGenEnumValue BulkMode", LOOK, "IsGenEnumWritable BulkParity",
                                     "GetGenEnumValue BulkParity", LOOK, "IsGenEnumWritable BulkNumOfStopBits",
                                     "GetGenEnumValue BulkNumOfStopBits", LOOK, "GetGenEnumValue BulkBaudRate",
                                     "[6] Device port speed changed to 9600 bps"},
                                    "",
                                    {}};

const Operation SYNC_BAUD_RATE = {
    "SyncBaudRate",
    [](TestConfig& aConfig) { return aConfig.SyncBaudRate(false); },
    {"GetGenEnumValue BulkBaudRate", "[6] Device port speed changed to 9600 bps"},
    "GetGenEnumValue BulkBaudRate",
    {"GetGenEnumValue BulkBaudRate", "[3 26] Error setting device serial port baud rate."}};

const Operation SYNC_PARITY = {
    "SyncParity",
    [](TestConfig& aConfig) { return aConfig.SyncParity(); },
    {"IsGenEnumWritable BulkParity", "GetGenEnumValue BulkParity"},
    "GetGenEnumValue BulkParity",
    {"IsGenEnumWritable BulkParity", "GetGenEnumValue BulkParity", "[3 26] Error reading device serial port parity."}};

const Operation SYNC_STOP_BITS = {"SyncStopBits",
                                  [](TestConfig& aConfig) { return aConfig.SyncStopBits(); },
                                  {"IsGenEnumWritable BulkNumOfStopBits", "GetGenEnumValue BulkNumOfStopBits"},
                                  "GetGenEnumValue BulkNumOfStopBits",
                                  {"IsGenEnumWritable BulkNumOfStopBits", "GetGenEnumValue BulkNumOfStopBits",
                                   "[3 26] Error reading device serial port parity."}};

const Operation SYNC_BULK_MODE = {"SyncBulkMode",
                                  [](TestConfig& aConfig) { return aConfig.SyncBulkMode(); },
                                  {"GetGenEnumValue BulkMode"},
                                  "GetGenEnumValue BulkMode",
                                  {"GetGenEnumValue BulkMode", "[3 26] Error reading device serial bulk port mode."}};

const Operation BACKUP = {"BackupPortConfig",
                          [](TestConfig& aConfig) { return aConfig.BackupPortConfig(); },
                          {"IsGenEnumReadable BulkBaudRate", "GetGenEnumValue BulkBaudRate",
                           "IsGenEnumReadable BulkParity", "GetGenEnumValue BulkParity",
                           "IsGenEnumReadable BulkNumOfStopBits", "GetGenEnumValue BulkNumOfStopBits",
                           "IsGenEnumReadable BulkMode", "GetGenEnumValue BulkMode"},
                          "",
                          {}};

const Operation RESTORE = {"RestorePortConfig",
                           [](TestConfig& aConfig) { return aConfig.RestorePortConfig(); },
                           {"IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode "},
                           "",
                           {}};

/// Operations on bulk port 3 of a device with a selector.
class DeviceSerialPortConfigSelectionTest : public ConfigTest, public ::testing::WithParamInterface<Operation>
{
protected:
    DeviceSerialPortConfigSelectionTest() { mDevice.mRefusal = KoResult(4711, KoString("The device is on fire.")); }

    KuUtilsLib::Result Run() { return GetParam().mRun(mConfig); }
};

TEST_P(DeviceSerialPortConfigSelectionTest, WritesNoSelectorThatShowsThePortAlready)
{
    BindBulk3OfSelector("Bulk3");
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts{LOOK} + GetParam().mStory);
}

TEST_P(DeviceSerialPortConfigSelectionTest, SwitchesTheSelectorAndWritesItOnceMoreAtTheEnd)
{
    BindBulk3OfSelector("Bulk0");
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts({LOOK, SWITCH}) + GetParam().mStory + Texts{SWITCH});
    EXPECT_EQ(Value("BulkSelector"), "Bulk3");
}

TEST_P(DeviceSerialPortConfigSelectionTest, IgnoresThatTheSelectorCannotBeWrittenAtTheEnd)
{
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall(SWITCH, 2);
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts({LOOK, SWITCH}) + GetParam().mStory + Texts{SWITCH});
}

TEST_P(DeviceSerialPortConfigSelectionTest, FailsWithItsOwnCodeWhenTheSelectorCannotBeWritten)
{
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall(SWITCH);
    ExpectFailure(Run(), KoResult::NOT_SUPPORTED, GetParam().mName.c_str(), "Error setting Bulk selector.");
    EXPECT_EQ(TakeStory(), (Texts{LOOK, SWITCH, "[3 26] Error setting Bulk selector."}));
}

TEST_P(DeviceSerialPortConfigSelectionTest, FailsWithTheCodeAloneWhenThereIsNoLogger)
{
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall(SWITCH);
    ExpectBareFailure(Run(), KoResult::NOT_SUPPORTED);
    EXPECT_EQ(TakeStory(), (Texts{LOOK, SWITCH}));
}

TEST_P(DeviceSerialPortConfigSelectionTest, GoesOnWhenTheSelectorCannotBeRead)
{
    BindBulk3OfSelector("Bulk0");
    mDevice.FailEvery(LOOK);
    ExpectOk(Run());
    EXPECT_EQ(TakeStory(), Texts{LOOK} + GetParam().mStory);
    EXPECT_EQ(Value("BulkSelector"), "Bulk0");
}

TEST_P(DeviceSerialPortConfigSelectionTest, SelectsNothingOnADeviceWithoutASelector)
{
    BindBulk3();
    ExpectOk(Run());
    Texts expected;
    for (std::string step : GetParam().mStory)
    {
        if (step == LOOK)
        {
            continue;
        }
        const std::size_t setting = step.find("Bulk");
        if (setting != std::string::npos && step.find("BulkMode") == std::string::npos)
        {
            step.insert(setting + 4, "3");
        }
        expected.push_back(step);
    }
    EXPECT_EQ(TakeStory(), expected);
}

INSTANTIATE_TEST_SUITE_P(Operations, DeviceSerialPortConfigSelectionTest,
                         ::testing::Values(REFRESH, SYNC_PORT_CONFIG, SYNC_BAUD_RATE, SYNC_PARITY, SYNC_STOP_BITS,
                                           SYNC_BULK_MODE, BACKUP, RESTORE),
                         GetName);

/// Those of the operations that can fail once their port is selected.
class DeviceSerialPortConfigFailureTest : public DeviceSerialPortConfigSelectionTest
{
};

TEST_P(DeviceSerialPortConfigFailureTest, WritesTheSelectorOnceMoreAlsoAfterAFailure)
{
    BindBulk3OfSelector("Bulk0");
    mDevice.FailCall(GetParam().mFailingCall);
    EXPECT_NE(Run().GetCode(), KoResult::OK);
    EXPECT_EQ(mHost.mLog.back().mFunction, GetParam().mName);
    EXPECT_EQ(TakeStory(), Texts({LOOK, SWITCH}) + GetParam().mFailure + Texts{SWITCH});
}

INSTANTIATE_TEST_SUITE_P(Operations, DeviceSerialPortConfigFailureTest,
                         ::testing::Values(REFRESH, SYNC_BAUD_RATE, SYNC_PARITY, SYNC_STOP_BITS, SYNC_BULK_MODE),
                         GetName);

} // namespace
