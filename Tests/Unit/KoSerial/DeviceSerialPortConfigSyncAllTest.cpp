#include "ConfigTest.h"

namespace
{

const char* const INVALID = "Could not configure device serial port, serial configuration is not valid.";

/// All settings at once.
class DeviceSerialPortConfigSyncAllTest : public ConfigTest
{
protected:
    DeviceSerialPortConfigSyncAllTest()
    {
        mConfig.mConfiguration = KoSerialPortConfiguration(115200, KoParityOdd, 7, 2);
    }
};

TEST_F(DeviceSerialPortConfigSyncAllTest, WritesParityStopBitsAndAtLastTheBaudRateOfAUart)
{
    BindUart0();
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(TakeStory(),
              (Texts{"IsGenEnumWritable Uart0Parity", "GetGenEnumValue Uart0Parity", "SetGenEnumValue Uart0Parity Odd",
                     "IsGenEnumWritable Uart0NumOfStopBits", "GetGenEnumValue Uart0NumOfStopBits",
                     "SetGenEnumValue Uart0NumOfStopBits Two", "GetGenEnumValue Uart0BaudRate",
                     "SetGenEnumValue Uart0BaudRate Baud115200", "[6] Device port speed changed to 115200 bps"}));
    EXPECT_EQ(mConfig.GetBaudRate(), 115200U);
}

TEST_F(DeviceSerialPortConfigSyncAllTest, PutsABulkPortInUartModeFirst)
{
    BindBulk3();
    Value("BulkMode") = "I2C";
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(TakeStory(),
              (Texts{"GetGenEnumValue BulkMode", "SetGenEnumValue BulkMode UART", "IsGenEnumWritable Bulk3Parity",
                     "GetGenEnumValue Bulk3Parity", "SetGenEnumValue Bulk3Parity Odd",
                     "IsGenEnumWritable Bulk3NumOfStopBits", "GetGenEnumValue Bulk3NumOfStopBits",
                     "SetGenEnumValue Bulk3NumOfStopBits Two", "GetGenEnumValue Bulk3BaudRate",
                     "SetGenEnumValue Bulk3BaudRate Baud115200", "[6] Device port speed changed to 115200 bps"}));
}

TEST_F(DeviceSerialPortConfigSyncAllTest, SwitchesTheSelectorOnceAndWritesItAgainAfterTheSettings)
{
    BindBulk3OfSelector("Bulk0");
    Value("BulkMode") = "SPI";
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(TakeStory(),
              (Texts{"GetGenEnumValue BulkSelector", "SetGenEnumValue BulkSelector Bulk3",
                     "GetGenEnumValue BulkSelector", "GetGenEnumValue BulkMode", "SetGenEnumValue BulkMode UART",
                     "GetGenEnumValue BulkSelector", "IsGenEnumWritable BulkParity", "GetGenEnumValue BulkParity",
                     "SetGenEnumValue BulkParity Odd", "GetGenEnumValue BulkSelector",
                     "IsGenEnumWritable BulkNumOfStopBits", "GetGenEnumValue BulkNumOfStopBits",
                     "SetGenEnumValue BulkNumOfStopBits Two", "GetGenEnumValue BulkSelector",
                     "GetGenEnumValue BulkBaudRate", "SetGenEnumValue BulkBaudRate Baud115200",
                     "[6] Device port speed changed to 115200 bps", "SetGenEnumValue BulkSelector Bulk3"}));
    EXPECT_EQ(Value("BulkSelector"), "Bulk3");
}

TEST_F(DeviceSerialPortConfigSyncAllTest, ReadsTheBaudRateAlsoWhenItIsTheConfirmedOne)
{
    BindUart0();
    ExpectOk(mConfig.SyncPortConfig());
    Value("Uart0BaudRate") = "Baud300";
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud115200");
}

TEST_F(DeviceSerialPortConfigSyncAllTest, NeverTouchesTheDataBits)
{
    BindUart0();
    Value("Uart0NumOfDataBits") = "Eight";
    Value("Uart0ByteSize") = "Eight";
    ExpectOk(mConfig.SyncPortConfig());
    for (const std::string& call : mDevice.TakeCalls())
    {
        EXPECT_EQ(call.find("DataBits"), std::string::npos);
        EXPECT_EQ(call.find("ByteSize"), std::string::npos);
    }
}

TEST_F(DeviceSerialPortConfigSyncAllTest, StopsAtAConfigurationThatIsNotValidBeforeItTouchesTheDevice)
{
    BindBulk3OfSelector("Bulk0");
    mConfig.mConfiguration.mStopBits = 3;
    ExpectFailure(mConfig.SyncPortConfig(), KoResult::INVALID_PARAMETER, "SyncPortConfig", INVALID);
    EXPECT_EQ(TakeStory(), (Texts{"[3 16385] Invalid number of stop bits. 1 and 2 supported.",
                                  std::string("[3 16385] ") + INVALID}));
    EXPECT_EQ(mHost.mLog.front().mFunction, "IsValid");

    ExpectFailure(mConfig.SyncStopBits(), KoResult::NOT_SUPPORTED, "SyncStopBits", "Unexpected stop bits value.");
}

TEST_F(DeviceSerialPortConfigSyncAllTest, DoesNotStopOnAHostWhoseFailuresConvertToATextToo)
{
    BindUart0();
    mHost.mFailuresConvertToText = true;
    mConfig.mConfiguration.mByteSize = 9;
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Invalid number of bits per byte. 7 and 8 supported."});
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud115200");
}

TEST_F(DeviceSerialPortConfigSyncAllTest, StopsAtEveryKindOfInvalidConfiguration)
{
    BindUart0();
    const auto odd = KoParityOdd;
    for (const KoSerialPortConfiguration& bad :
         {KoSerialPortConfiguration(300, odd, 8, 1), KoSerialPortConfiguration(9600, static_cast<KoParity>(3), 8, 1),
          KoSerialPortConfiguration(9600, odd, 9, 1), KoSerialPortConfiguration(9600, odd, 8, 0)})
    {
        mConfig.mConfiguration = bad;
        EXPECT_EQ(mConfig.SyncPortConfig().GetCode(), KoResult::INVALID_PARAMETER);
    }
    EXPECT_EQ(mDevice.TakeCalls(), Texts{});
}

TEST_F(DeviceSerialPortConfigSyncAllTest, StopsAtAnInvalidConfigurationWithTheCodeAloneWhenThereIsNoLogger)
{
    BindUart0();
    KuUtilsLib::Logger::Free(mConfig.mLogger);
    mConfig.mConfiguration.MakeInvalid();
    ExpectBareFailure(mConfig.SyncPortConfig(), KoResult::INVALID_PARAMETER);
    EXPECT_EQ(mHost.mLog.size(), 1U) << "the check of the configuration tells its reason itself";
}

TEST_F(DeviceSerialPortConfigSyncAllTest, GoesOnToTheOtherSettingsWhenOneFails)
{
    BindBulk3();
    Value("BulkMode") = "I2C";
    mDevice.FailEvery("SetGenEnumValue");
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(
        TakeStory(),
        (Texts{"GetGenEnumValue BulkMode", "SetGenEnumValue BulkMode UART",
               "[3 26] Error setting device serial bulk port to UART mode.", "IsGenEnumWritable Bulk3Parity",
               "GetGenEnumValue Bulk3Parity", "SetGenEnumValue Bulk3Parity Odd",
               "[3 26] Error setting device serial port parity.", "IsGenEnumWritable Bulk3NumOfStopBits",
               "GetGenEnumValue Bulk3NumOfStopBits", "SetGenEnumValue Bulk3NumOfStopBits Two",
               "[3 26] Error setting device serial port parity.", "GetGenEnumValue Bulk3BaudRate",
               "SetGenEnumValue Bulk3BaudRate Baud115200", "[3 26] Error setting device serial port baud rate."}));
    Texts functions;
    for (const LogEntry& entry : mHost.mLog)
    {
        functions.push_back(entry.mFunction);
    }
    EXPECT_EQ(functions, (Texts{"SyncBulkMode", "SyncParity", "SyncStopBits", "SyncBaudRate"}));
}

TEST_F(DeviceSerialPortConfigSyncAllTest, SyncsStopBitsAndBaudRateWhenTheParityFails)
{
    BindUart0();
    mDevice.FailCall("SetGenEnumValue Uart0Parity");
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(mHost.GetTexts(KuUtilsLib::LOG_ERROR), Texts{"Error setting device serial port parity."});
    EXPECT_EQ(Value("Uart0Parity"), "None");
    EXPECT_EQ(Value("Uart0NumOfStopBits"), "Two");
    EXPECT_EQ(Value("Uart0BaudRate"), "Baud115200");
}

TEST_F(DeviceSerialPortConfigSyncAllTest, TouchesOnlyTheFeaturesThatAreThere)
{
    Value("Uart0NumOfStopBits") = "One";
    Bind(UART0);
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Uart0NumOfStopBits", "GetGenEnumValue Uart0NumOfStopBits",
                                  "SetGenEnumValue Uart0NumOfStopBits Two"}));
}

} // namespace
