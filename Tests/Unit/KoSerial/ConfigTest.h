#pragma once

#include "StoryTest.h"

#include <DeviceSerialPortConfig.h>

constexpr auto UART0 = KoDeviceSerialUart0;
constexpr auto BULK3 = KoDeviceSerialBulk3;

/// The configuration object with its state laid open.
class TestConfig : public KoSerialLib::DeviceSerialPortConfig
{
public:
    using DeviceSerialPortConfig::mBackupBaudRate;
    using DeviceSerialPortConfig::mBackupBulkMode;
    using DeviceSerialPortConfig::mBackupParity;
    using DeviceSerialPortConfig::mBackupStopBits;
    using DeviceSerialPortConfig::mBaudRateFeature;
    using DeviceSerialPortConfig::mBulkModeFeature;
    using DeviceSerialPortConfig::mBulkSelectorFeature;
    using DeviceSerialPortConfig::mBulkSelectorValue;
    using DeviceSerialPortConfig::mCurrentBaudRate;
    using DeviceSerialPortConfig::mDevice;
    using DeviceSerialPortConfig::mLogger;
    using DeviceSerialPortConfig::mParityFeature;
    using DeviceSerialPortConfig::mPort;
    using DeviceSerialPortConfig::mRegisteredFeatures;
    using DeviceSerialPortConfig::mStopBitsFeature;
    using DeviceSerialPortConfig::mSupportedBaudRates;

    /// The names of the features that it has asked the device to watch.
    Texts GetRegistered() const
    {
        Texts names;
        for (const KoString& name : *mRegisteredFeatures)
        {
            names.emplace_back(name.GetAscii());
        }
        return names;
    }

    /// The baud rates that it lists.
    std::vector<std::uint32_t> GetRates() const
    {
        std::vector<std::uint32_t> rates;
        for (std::uint32_t i = 0; i < GetSupportedBaudRateCount(); ++i)
        {
            rates.push_back(GetSupportedBaudRate(i));
        }
        return rates;
    }
};

/// The configuration object on a scripted device whose ports are at 9600 bit/s without parity and with one stop bit.
class ConfigTest : public StoryTest
{
protected:
    /// Gives the device the settings whose names begin with aPrefix.
    void AddSettings(const std::string& aPrefix)
    {
        Value(aPrefix + "BaudRate") = "Baud9600";
        Value(aPrefix + "Parity") = "None";
        Value(aPrefix + "NumOfStopBits") = "One";
    }

    /// Binds the object to UART 0, which has all settings.
    void BindUart0()
    {
        AddSettings("Uart0");
        Bind(UART0);
    }

    /// Binds the object to bulk port 3 of a device that has all settings for each bulk port and no selector.
    void BindBulk3()
    {
        AddSettings("Bulk3");
        Value("BulkMode") = "UART";
        Bind(BULK3);
    }

    /// Binds the object to bulk port 3 of a device that has all settings behind a selector, which shows aSelected.
    void BindBulk3OfSelector(const std::string& aSelected)
    {
        AddSettings("Bulk");
        Value("BulkMode") = "UART";
        Value("BulkSelector") = aSelected;
        Bind(BULK3);
    }

    void Bind(KoDeviceSerial aPort)
    {
        mConfig.SetPort(&mDevice, aPort);
        Forget();
    }

    /// What an enumeration of the device shows; makes one that is not there.
    std::string& Value(const std::string& aFeature) { return mDevice.mEnumerations[aFeature].mValue; }

    using StoryTest::ExpectFailure;

    void ExpectFailure(const KuUtilsLib::Result& aResult, std::uint32_t aCode, const char* aFunction,
                       const std::string& aText)
    {
        ASSERT_NE(aResult.GetDescription(), nullptr);
        ExpectFailure(KoResult(aResult.GetCode(), KoString(aResult.GetDescription())), aCode, aFunction, aText);
    }

    static void ExpectBareFailure(const KuUtilsLib::Result& aResult, std::uint32_t aCode)
    {
        EXPECT_EQ(aResult.GetCode(), aCode);
        EXPECT_EQ(aResult.GetDescription(), nullptr);
    }

    static void ExpectOk(const KuUtilsLib::Result& aResult) { ExpectBareFailure(aResult, KoResult::OK); }

    TestConfig mConfig;
};
