// The settings of ports of each device, with a fault at every call that the library makes to the device.

#include "FaultSweep.h"

#include <DeviceSerialPortConfig.h>

#include <map>
#include <memory>
#include <tuple>

using KoSerialLib::DeviceSerialPortConfig;
using KoSim::DeviceProfile;

namespace
{

constexpr std::size_t RATE_COUNT = 10;

const std::string SELECTOR = "BulkSelector";
const std::string OTHER_PORT = "Bulk3";

/// The enumerations of a device as its clients see them.
class Enumerations
{
public:
    /// Reads what aDevice shows of the features, with each of the selections.
    Enumerations(IKoDeviceAdapter& aDevice, const std::vector<std::string>& aNames,
                 const std::vector<std::string>& aSelections)
        : mHasSelector(aDevice.IsGenEnumPresent(SELECTOR.c_str()))
    {
        for (const std::string& selection : aSelections)
        {
            aDevice.SetGenEnumValue(SELECTOR.c_str(), selection.c_str());
            mSelection = mHasSelector ? selection : "";
            std::map<std::string, std::string>& values = mValues[mSelection];
            for (const std::string& name : aNames)
            {
                KoString value;
                if (aDevice.GetGenEnumValue(name.c_str(), value).IsOK())
                {
                    values[name] = value.GetAscii();
                }
            }
        }
    }

    bool Has(const std::string& aName) const
    {
        return aName == SELECTOR ? mHasSelector : mValues.begin()->second.count(aName) != 0;
    }

    std::string Get(const std::string& aName) const
    {
        return aName == SELECTOR ? mSelection : mValues.at(mSelection).at(aName);
    }

    /// An entry without a name is no entry.
    bool Set(const std::string& aName, const std::string& aValue)
    {
        if (aValue.empty())
        {
            return false;
        }
        if (aName == SELECTOR)
        {
            mSelection = aValue;
            return true;
        }
        // What has no "Bulk" in front is not switched by the selector.
        for (auto& [selection, values] : mValues)
        {
            if (selection == mSelection || aName.rfind("Bulk", 0) != 0)
            {
                values[aName] = aValue;
            }
        }
        return true;
    }

    bool operator==(const Enumerations& aOther) const { return mValues == aOther.mValues; }

private:
    const bool mHasSelector;
    std::string mSelection;
    std::map<std::string, std::map<std::string, std::string>> mValues; ///< by selection and name
};

/// What the library does with the settings of a port, told from the calls that failed.
class PortConfigModel
{
public:
    using Calls = FaultSweepCalls;

    PortConfigModel(Enumerations aDevice, KoDeviceSerial aPort) : mDevice(std::move(aDevice)), mPort(aPort) {}

    /// A feature that seems to be absent is left out from now on.
    void SetPort(Calls& aCalls)
    {
        std::string prefix = "Uart" + std::to_string(mPort);
        if (mPort >= KoDeviceSerialBulk0)
        {
            mOwnEntry = "Bulk" + std::to_string(mPort - KoDeviceSerialBulk0);
            mSelector = Find(aCalls, SELECTOR);
            mBulkMode.mName = Watch(aCalls, "BulkMode");
            prefix = mSelector.empty() ? mOwnEntry : "Bulk";
        }
        mBaudRate.mName = Watch(aCalls, prefix + "BaudRate");
        mParity.mName = Watch(aCalls, prefix + "Parity");
        mStopBits.mName = Watch(aCalls, prefix + "NumOfStopBits");
    }

    FaultSweepResult RefreshSupportedBaudRates(Calls& aCalls)
    {
        mRateCount = 0;
        const auto refresh = [&]() -> FaultSweepResult
        {
            if (mBaudRate.mName.empty() || !aCalls.Ok("IsGenEnumWritable " + mBaudRate.mName))
            {
                return {KoResult::NOT_FOUND, "Device port baud rate is not readable.", ""};
            }
            if (!aCalls.Ok("GetGenEnumEntries " + mBaudRate.mName))
            {
                return {KoResult::NOT_FOUND, "Error reading device port baud rates count.", ""};
            }
            mRateCount = RATE_COUNT;
            return {};
        };
        return Selected(aCalls, refresh);
    }

    /// A setting that cannot be written does not keep the others from being written, and is no failure.
    FaultSweepResult SyncPortConfig(Calls& aCalls)
    {
        const auto sync = [&]
        {
            SyncBulkMode(aCalls);
            SyncParity(aCalls);
            SyncStopBits(aCalls);
            SyncBaudRate(aCalls, false);
            return FaultSweepResult();
        };
        return Selected(aCalls, sync);
    }

    FaultSweepResult SyncBaudRate(Calls& aCalls, bool aOnlyIfChanged)
    {
        if (mBaudRate.mName.empty() || (aOnlyIfChanged && mWantedRate == mConfirmedRate))
        {
            return {};
        }
        const std::string text = "Error setting device serial port baud rate.";
        const auto sync = [&]
        {
            const FaultSweepResult synced =
                Sync(aCalls, mBaudRate.mName, "Baud" + std::to_string(mWantedRate), text, text);
            mConfirmedRate = synced.IsOk() ? mWantedRate : mConfirmedRate;
            return synced;
        };
        return Selected(aCalls, sync);
    }

    FaultSweepResult SyncParity(Calls& aCalls) { return SyncFraming(aCalls, mParity.mName, mWantedParity); }

    FaultSweepResult SyncStopBits(Calls& aCalls) { return SyncFraming(aCalls, mStopBits.mName, mWantedStopBits); }

    FaultSweepResult SyncBulkMode(Calls& aCalls)
    {
        if (mBulkMode.mName.empty())
        {
            return {};
        }
        const auto sync = [&]
        {
            return Sync(aCalls, mBulkMode.mName, "UART", "Error reading device serial bulk port mode.",
                        "Error setting device serial bulk port to UART mode.");
        };
        return Selected(aCalls, sync);
    }

    /// What cannot be read keeps the value that was saved before.
    FaultSweepResult Backup(Calls& aCalls)
    {
        const auto backup = [&]
        {
            for (Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mBulkMode})
            {
                const std::string& name = setting->mName;
                if (!name.empty() && aCalls.Ok("IsGenEnumReadable " + name) && aCalls.Ok("GetGenEnumValue " + name))
                {
                    setting->mSaved = mDevice.Get(name);
                }
            }
            return FaultSweepResult();
        };
        return Selected(aCalls, backup);
    }

    /// Only the bulk mode is written when nothing was saved.
    FaultSweepResult Restore(Calls& aCalls)
    {
        const auto restore = [&]
        {
            for (const Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mBulkMode})
            {
                const bool isDue = !setting->mName.empty() && (!setting->mSaved.empty() || setting == &mBulkMode);
                if (isDue && aCalls.Ok("IsGenEnumWritable " + setting->mName))
                {
                    Set(aCalls, setting->mName, setting->mSaved);
                }
            }
            return FaultSweepResult();
        };
        return Selected(aCalls, restore);
    }

    void Destroy(Calls& aCalls)
    {
        Restore(aCalls);
        for (const Setting* const setting : {&mBaudRate, &mParity, &mStopBits, &mBulkMode})
        {
            if (!setting->mName.empty())
            {
                aCalls.Ok("UnregisterGenInvalidator " + setting->mName);
            }
        }
    }

    Enumerations mDevice;
    std::uint32_t mWantedRate = 9600;
    std::string mWantedParity = "None";
    std::string mWantedStopBits = "One";
    std::uint32_t mConfirmedRate = 0;
    std::size_t mRateCount = 0;

private:
    struct Setting
    {
        std::string mName;
        std::string mSaved;
    };

    std::string Find(Calls& aCalls, const std::string& aName) const
    {
        return aCalls.Ok("IsGenEnumPresent " + aName) && mDevice.Has(aName) ? aName : "";
    }

    std::string Watch(Calls& aCalls, const std::string& aName) const
    {
        const std::string name = Find(aCalls, aName);
        if (!name.empty())
        {
            aCalls.Ok("RegisterGenInvalidator " + name);
        }
        return name;
    }

    bool Set(Calls& aCalls, const std::string& aName, const std::string& aValue)
    {
        return aCalls.Ok("SetGenEnumValue " + aName + ' ' + aValue) && mDevice.Set(aName, aValue);
    }

    /// Does aOperation with the port selected. A selector that cannot be read is taken for the right one; one that had
    /// to be moved is set once more in the end.
    template <typename Operation>
    FaultSweepResult Selected(Calls& aCalls, Operation aOperation)
    {
        const bool mustMove =
            !mSelector.empty() && aCalls.Ok("GetGenEnumValue " + SELECTOR) && mDevice.Get(SELECTOR) != mOwnEntry;
        if (mustMove && !Set(aCalls, SELECTOR, mOwnEntry))
        {
            return {KoResult::NOT_SUPPORTED, "Error setting Bulk selector.", ""};
        }
        const FaultSweepResult result = aOperation();
        if (mustMove)
        {
            Set(aCalls, SELECTOR, mOwnEntry);
        }
        return result;
    }

    /// Parity and stop bits have the same texts.
    FaultSweepResult SyncFraming(Calls& aCalls, const std::string& aName, const std::string& aValue)
    {
        if (aName.empty())
        {
            return {};
        }
        const auto sync = [&]
        {
            return aCalls.Ok("IsGenEnumWritable " + aName)
                       ? Sync(aCalls, aName, aValue, "Error reading device serial port parity.",
                              "Error setting device serial port parity.")
                       : FaultSweepResult();
        };
        return Selected(aCalls, sync);
    }

    FaultSweepResult Sync(Calls& aCalls, const std::string& aName, const std::string& aValue,
                          const std::string& aReadFailure, const std::string& aWriteFailure)
    {
        if (!aCalls.Ok("GetGenEnumValue " + aName))
        {
            return {KoResult::NOT_SUPPORTED, aReadFailure, ""};
        }
        if (mDevice.Get(aName) != aValue && !Set(aCalls, aName, aValue))
        {
            return {KoResult::NOT_SUPPORTED, aWriteFailure, ""};
        }
        return {};
    }

    const KoDeviceSerial mPort;
    std::string mOwnEntry;
    std::string mSelector;
    Setting mBaudRate;
    Setting mParity;
    Setting mStopBits;
    Setting mBulkMode;
};

/// What a tool does with the settings of a port, while another one moves the selector.
class PortConfigRun : public FaultSweepRun
{
public:
    PortConfigRun(const DeviceProfile& aProfile, KoDeviceSerial aPort, const Plan& aPlan)
        : FaultSweepRun(aProfile, aPlan),
          mPort(aPort)
    {
        const std::string number = std::to_string(aPort < KoDeviceSerialBulk0 ? aPort : aPort - KoDeviceSerialBulk0);
        const std::string bulk = "Bulk" + number;
        mSelections = {bulk, OTHER_PORT};
        for (const std::string& prefix : {"Uart" + number, std::string("Bulk"), bulk})
        {
            for (const char* const suffix : {"BaudRate", "Parity", "NumOfStopBits"})
            {
                mNames.push_back(prefix + suffix);
            }
        }
        mNames.emplace_back("BulkMode");
        mDevice.SetGenEnumValue(SELECTOR.c_str(), bulk.c_str());
        mDevice.SetGenEnumValue("BulkMode", "USRT");
        mModel = std::make_unique<PortConfigModel>(Enumerations(mDevice, mNames, mSelections), mPort);
    }

    std::uint64_t Run()
    {
        using Config = DeviceSerialPortConfig;
        using Model = PortConfigModel;
        SetPort();
        Call("RefreshSupportedBaudRates", &Config::RefreshSupportedBaudRates, &Model::RefreshSupportedBaudRates);
        Call("BackupPortConfig", &Config::BackupPortConfig, &Model::Backup);
        Want(19200, KoParityEven, 2);
        Call("SyncPortConfig", &Config::SyncPortConfig, &Model::SyncPortConfig);
        Call("SyncBaudRate", &Config::SyncBaudRate, &Model::SyncBaudRate, true);
        Want(38400, KoParityOdd, 1);
        Call("SyncBaudRate", &Config::SyncBaudRate, &Model::SyncBaudRate, true);
        Call("SyncBaudRate", &Config::SyncBaudRate, &Model::SyncBaudRate, false);
        Call("SyncParity", &Config::SyncParity, &Model::SyncParity);
        Call("SyncStopBits", &Config::SyncStopBits, &Model::SyncStopBits);
        Call("SyncBulkMode", &Config::SyncBulkMode, &Model::SyncBulkMode);
        mFaulty.Reconnect();
        Call("RestorePortConfig", &Config::RestorePortConfig, &Model::Restore);
        Call("SyncPortConfig", &Config::SyncPortConfig, &Model::SyncPortConfig);
        Destroy();
        EXPECT_TRUE(Enumerations(mDevice, mNames, mSelections) == mModel->mDevice) << "the device has other settings";
        return GetFaultCount();
    }

private:
    using Calls = FaultSweepCalls;

    void SetPort()
    {
        MoveSelector();
        const auto act = [&]
        {
            mConfig->SetPort(&mFaulty, mPort);
            return std::string();
        };
        const auto predict = [&](Calls& aCalls)
        {
            mModel->SetPort(aCalls);
            return std::string();
        };
        Do("SetPort", act, predict);
    }

    template <typename Operation, typename Prediction, typename... Arguments>
    void Call(const char* aName, Operation aOperation, Prediction aPrediction, Arguments... aArguments)
    {
        MoveSelector();
        const auto act = [&]
        {
            const KuUtilsLib::Result result = ((*mConfig).*aOperation)(aArguments...);
            const char* const description = result.GetDescription();
            return ToText(result.GetCode(), description == nullptr ? "" : description);
        };
        const auto predict = [&](Calls& aCalls)
        {
            const FaultSweepResult result = ((*mModel).*aPrediction)(aCalls, aArguments...);
            return ToText(result.mCode, result.mDescription);
        };
        Do(aName, act, predict);
    }

    void Destroy()
    {
        MoveSelector();
        const auto act = [&]
        {
            mConfig.reset();
            return std::string();
        };
        const auto predict = [&](Calls& aCalls)
        {
            mModel->Destroy(aCalls);
            return std::string();
        };
        Do("the destructor", act, predict);
    }

    void Want(std::uint32_t aRate, KoParity aParity, std::uint32_t aStopBits)
    {
        mConfig->mConfiguration = KoSerialPortConfiguration(aRate, aParity, 8, aStopBits);
        mModel->mWantedRate = aRate;
        mModel->mWantedParity = aParity == KoParityEven ? "Even" : "Odd";
        mModel->mWantedStopBits = aStopBits == 1 ? "One" : "Two";
    }

    /// As another client of the device.
    void MoveSelector()
    {
        if (mDevice.SetGenEnumValue(SELECTOR.c_str(), OTHER_PORT.c_str()).IsOK())
        {
            mModel->mDevice.Set(SELECTOR, OTHER_PORT);
        }
    }

    std::string Observe() override
    {
        return mConfig == nullptr ? "" : Describe(mConfig->GetBaudRate(), mConfig->GetSupportedBaudRateCount());
    }

    std::string Expect() override
    {
        return mConfig == nullptr ? "" : Describe(mModel->mConfirmedRate, mModel->mRateCount);
    }

    static std::string Describe(std::uint32_t aRate, std::size_t aCount)
    {
        return "\n  rate " + std::to_string(aRate) + " of " + std::to_string(aCount);
    }

    std::uint32_t TakeStatedWaitMs() override { return 0; }

    const KoDeviceSerial mPort;
    std::vector<std::string> mNames;
    std::vector<std::string> mSelections;
    std::unique_ptr<PortConfigModel> mModel;
    std::unique_ptr<DeviceSerialPortConfig> mConfig = std::make_unique<DeviceSerialPortConfig>();
};

using ProfileAndPort = std::tuple<FaultSweepProfile, KoDeviceSerial>;

class FaultSweepPortConfig : public ::testing::TestWithParam<ProfileAndPort>
{
};

} // namespace

TEST_P(FaultSweepPortConfig, EveryFaultHasTheStatedConsequences)
{
    const auto [profile, port] = GetParam();
    SweepFaults("DeviceSerialPortConfig", [made = profile.mMake(), port = port](const FaultSweepRun::Plan& aPlan)
                { return PortConfigRun(made, port, aPlan).Run(); });
}

INSTANTIATE_TEST_SUITE_P(Ports, FaultSweepPortConfig,
                         ::testing::Combine(::testing::ValuesIn(FAULT_SWEEP_PROFILES),
                                            ::testing::Values(KoDeviceSerialUart0, KoDeviceSerialUart1,
                                                              KoDeviceSerialBulk0, KoDeviceSerialBulk7)),
                         [](const ::testing::TestParamInfo<ProfileAndPort>& aInfo)
                         { return GetSweptPortName(std::get<0>(aInfo.param), std::get<1>(aInfo.param)); });
