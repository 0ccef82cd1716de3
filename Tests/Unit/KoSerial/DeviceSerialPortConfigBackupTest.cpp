#include "ConfigTest.h"

namespace
{

/// Saving the settings and putting them back.
class DeviceSerialPortConfigBackupTest : public ConfigTest
{
protected:
    Texts GetSaved() const
    {
        return {mConfig.mBackupBaudRate.GetAscii(), mConfig.mBackupParity.GetAscii(),
                mConfig.mBackupStopBits.GetAscii(), mConfig.mBackupBulkMode.GetAscii()};
    }

    void Save(const char* aBaudRate, const char* aParity, const char* aStopBits, const char* aBulkMode)
    {
        mConfig.mBackupBaudRate = KoString(aBaudRate);
        mConfig.mBackupParity = KoString(aParity);
        mConfig.mBackupStopBits = KoString(aStopBits);
        mConfig.mBackupBulkMode = KoString(aBulkMode);
    }

    const Texts mSettings = {"Bulk3BaudRate", "Bulk3Parity", "Bulk3NumOfStopBits", "BulkMode"};
};

TEST_F(DeviceSerialPortConfigBackupTest, BackupReadsTheFourSettings)
{
    BindBulk3();
    ExpectOk(mConfig.BackupPortConfig());
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumReadable Bulk3BaudRate", "GetGenEnumValue Bulk3BaudRate",
                                  "IsGenEnumReadable Bulk3Parity", "GetGenEnumValue Bulk3Parity",
                                  "IsGenEnumReadable Bulk3NumOfStopBits", "GetGenEnumValue Bulk3NumOfStopBits",
                                  "IsGenEnumReadable BulkMode", "GetGenEnumValue BulkMode"}));
    EXPECT_EQ(GetSaved(), (Texts{"Baud9600", "None", "One", "UART"}));
}

TEST_F(DeviceSerialPortConfigBackupTest, BackupReplacesWhatWasSavedBefore)
{
    BindBulk3();
    ExpectOk(mConfig.BackupPortConfig());
    Value("Bulk3Parity") = "Odd";
    ExpectOk(mConfig.BackupPortConfig());
    EXPECT_EQ(GetSaved(), (Texts{"Baud9600", "Odd", "One", "UART"}));
}

TEST_F(DeviceSerialPortConfigBackupTest, BackupKeepsWhatWasSavedOfASettingThatCannotBeRead)
{
    BindBulk3();
    for (std::size_t i = 0; i < mSettings.size(); ++i)
    {
        Save("a", "b", "c", "d");
        mDevice.mEnumerations[mSettings[i]].mReadable = false;
        Forget();
        ExpectOk(mConfig.BackupPortConfig());
        mDevice.mEnumerations[mSettings[i]].mReadable = true;
        Texts expected = {"Baud9600", "None", "One", "UART"};
        expected[i] = Texts{"a", "b", "c", "d"}[i];
        EXPECT_EQ(GetSaved(), expected);
        EXPECT_EQ(TakeStory().size(), 7U);
    }
}

TEST_F(DeviceSerialPortConfigBackupTest, BackupKeepsWhatWasSavedOfASettingThatIsNotThere)
{
    Bind(BULK3);
    Save("a", "b", "c", "d");
    ExpectOk(mConfig.BackupPortConfig());
    EXPECT_EQ(GetSaved(), (Texts{"a", "b", "c", "d"}));
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_F(DeviceSerialPortConfigBackupTest, BackupIgnoresAReadThatFails)
{
    BindBulk3();
    Save("a", "b", "c", "d");
    mDevice.FailCall("GetGenEnumValue Bulk3BaudRate");
    mDevice.FailCall("GetGenEnumValue Bulk3NumOfStopBits");
    ExpectOk(mConfig.BackupPortConfig());
    EXPECT_EQ(GetSaved(), (Texts{"a", "None", "c", "UART"}));
    EXPECT_TRUE(mHost.mLog.empty());
}

/// A device whose reads fail, but only after they have spoilt their output.
class SloppyDevice : public ScriptedAdapter
{
public:
    using ScriptedAdapter::ScriptedAdapter;

    KoResult GetGenEnumValue(const KoString& /*aName*/, KoString& aValue) override
    {
        aValue = KoString("Rubbish");
        return KoResult(KoResult::GENERIC_ERROR);
    }
};

TEST_F(DeviceSerialPortConfigBackupTest, BackupKeepsWhatAFailedReadLeaves)
{
    SloppyDevice device("Sloppy");
    device.mEnumerations["Uart0Parity"].mValue = "None";
    TestConfig config;
    config.SetPort(&device, UART0);
    ExpectOk(config.BackupPortConfig());
    EXPECT_STREQ(config.mBackupParity, "Rubbish");
    EXPECT_STREQ(config.mBackupBaudRate, "");
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreWritesWhatWasSavedWithoutALookAtTheDevice)
{
    BindBulk3();
    ExpectOk(mConfig.BackupPortConfig());
    Forget();
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Bulk3BaudRate", "SetGenEnumValue Bulk3BaudRate Baud9600",
                                  "IsGenEnumWritable Bulk3Parity", "SetGenEnumValue Bulk3Parity None",
                                  "IsGenEnumWritable Bulk3NumOfStopBits", "SetGenEnumValue Bulk3NumOfStopBits One",
                                  "IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode UART"}));
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreUndoesASync)
{
    BindBulk3OfSelector("Bulk3");
    Value("BulkMode") = "I2C";
    ExpectOk(mConfig.BackupPortConfig());
    mConfig.mConfiguration = KoSerialPortConfiguration(57600, KoParityEven, 8, 2);
    ExpectOk(mConfig.SyncPortConfig());
    EXPECT_EQ(Value("BulkBaudRate"), "Baud57600");
    EXPECT_EQ(Value("BulkMode"), "UART");
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(Value("BulkBaudRate"), "Baud9600");
    EXPECT_EQ(Value("BulkParity"), "None");
    EXPECT_EQ(Value("BulkNumOfStopBits"), "One");
    EXPECT_EQ(Value("BulkMode"), "I2C");
    EXPECT_EQ(mConfig.GetBaudRate(), 57600U) << "the confirmed rate is that of the last sync";
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreAgainWritesTheSameAgain)
{
    BindBulk3();
    Save("a", "b", "c", "d");
    ExpectOk(mConfig.RestorePortConfig());
    const Texts first = TakeStory();
    EXPECT_EQ(first.size(), 8U);
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), first);
    EXPECT_EQ(GetSaved(), (Texts{"a", "b", "c", "d"}));
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreLeavesASettingAloneThatCannotBeWritten)
{
    BindBulk3();
    for (const std::string& setting : mSettings)
    {
        Save("a", "b", "c", "d");
        mDevice.mEnumerations[setting].mWritable = false;
        Forget();
        ExpectOk(mConfig.RestorePortConfig());
        mDevice.mEnumerations[setting].mWritable = true;
        const Texts story = TakeStory();
        EXPECT_EQ(story.size(), 7U);
        for (const std::string& call : story)
        {
            EXPECT_NE(call.find("SetGenEnumValue " + setting), 0U);
        }
    }
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreTouchesNothingThatIsNotThere)
{
    Bind(BULK3);
    Save("a", "b", "c", "d");
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), Texts{});
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreWithoutABackupWritesAnEmptyBulkModeOnlyAndIgnoresItsFailure)
{
    BindBulk3();
    mDevice.FailEvery("SetGenEnumValue");
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode "}));
}

TEST_F(DeviceSerialPortConfigBackupTest, RestoreGoesOnToTheOtherSettingsWhenOneFails)
{
    BindBulk3();
    Save("a", "b", "c", "d");
    mDevice.FailEvery("SetGenEnumValue");
    ExpectOk(mConfig.RestorePortConfig());
    EXPECT_EQ(TakeStory(), (Texts{"IsGenEnumWritable Bulk3BaudRate", "SetGenEnumValue Bulk3BaudRate a",
                                  "IsGenEnumWritable Bulk3Parity", "SetGenEnumValue Bulk3Parity b",
                                  "IsGenEnumWritable Bulk3NumOfStopBits", "SetGenEnumValue Bulk3NumOfStopBits c",
                                  "IsGenEnumWritable BulkMode", "SetGenEnumValue BulkMode d"}));
}

} // namespace
