#include "CheckProperty.h"
#include "ConfigModel.h"
#include "ConfigTest.h"

#include <optional>
#include <tuple>

namespace
{

using Outcome = ConfigModel::Outcome;

/// What happens next: a kind and two numbers whose meaning depends on it.
using Step = std::tuple<int, int, int>;

enum Kind
{
    SET_PORT,
    GET_PARAMETERS,
    SYNC_PORT_CONFIG,
    SYNC_BAUD_RATE,
    SYNC_PARITY,
    SYNC_STOP_BITS,
    SYNC_BULK_MODE,
    BACKUP,
    RESTORE,
    REFRESH,
    WANT_RATE,
    WANT_PARITY,
    WANT_BYTE_SIZE,
    WANT_STOP_BITS,
    SOMEBODY_WRITES,
    ACCESS_CHANGES,
    KIND_COUNT,
};

const std::vector<std::string> FEATURES = []
{
    std::vector<std::string> names = {"BulkSelector", "BulkMode"};
    for (const char* const prefix : {"", "Uart0", "Uart1", "Bulk", "Bulk0", "Bulk1", "Bulk7"})
    {
        for (const char* const suffix : {"BaudRate", "Parity", "NumOfStopBits"})
        {
            names.push_back(std::string(prefix) + suffix);
        }
    }
    return names;
}();

std::vector<std::string> GetEntries(const std::string& aFeature)
{
    if (aFeature == "BulkSelector")
    {
        return {"Bulk0", "Bulk1", "Bulk7", "All"};
    }
    if (aFeature == "BulkMode")
    {
        return {"I2C", "UART", "SPI"};
    }
    if (aFeature.find("BaudRate") != std::string::npos)
    {
        return {"Baud9600", "Custom", "Baud115200", "Baud0x10", "Baud9600", "Baud010"};
    }
    return aFeature.find("Parity") != std::string::npos ? std::vector<std::string>{"None", "Odd", "Mark"}
                                                        : std::vector<std::string>{"Two", "One"};
}

template <typename Value, std::size_t count>
Value Choose(const Value (&aValues)[count], int aNumber)
{
    return aValues[static_cast<std::size_t>(aNumber) % count];
}

const std::string& ChooseFeature(int aNumber)
{
    return FEATURES[static_cast<std::size_t>(aNumber) % FEATURES.size()];
}

/// What a random case begins with.
struct Start
{
    std::uint32_t mPresent;
    std::uint32_t mReadable;
    std::uint32_t mWritable;
    std::set<std::size_t> mFailing;
    bool mSpoilsOutput;
    bool mHasLogger;
    KuUtilsLib::PriorityLevel mLevel;
};

EnumerationWorld MakeWorld(const Start& aStart)
{
    EnumerationWorld world;
    for (std::size_t i = 0; i < FEATURES.size(); ++i)
    {
        const std::uint32_t bit = 1U << i;
        world.mFeatures[FEATURES[i]] = {(aStart.mPresent & bit) != 0, (aStart.mReadable & bit) != 0,
                                        (aStart.mWritable & bit) != 0, GetEntries(FEATURES[i])};
    }
    world.mFailing = aStart.mFailing;
    world.mSpoilsOutput = aStart.mSpoilsOutput;
    return world;
}

/// An object and its model, each with a device of its own; the two devices begin alike.
class Twins
{
public:
    explicit Twins(const Start& aStart)
        : mHasLogger(aStart.mHasLogger),
          mWorld(MakeWorld(aStart)),
          mModelWorld(mWorld),
          mModel(mModelWorld, aStart.mHasLogger, aStart.mLevel)
    {
        mHost.mEnabledLevel = aStart.mLevel;
        mConfig.emplace();
        if (!mHasLogger)
        {
            KuUtilsLib::Logger::Free(mConfig->mLogger);
        }
    }

    void Do(const Step& aStep)
    {
        const auto [kind, number, other] = aStep;
        Want(kind, number);
        RC_ASSERT(Act(kind, number, other) == ActInModel(kind, number, other));
        Disturb(mWorld, kind, number, other);
        Disturb(mModelWorld, kind, number, other);
        CompareWorlds();
        CompareStates();
    }

    void End()
    {
        mConfig.reset();
        mModel.End();
        CompareWorlds();
        RC_ASSERT(mHost.mHeapLoggers == 0);
    }

private:
    static Outcome ToOutcome(const KuUtilsLib::Result& aResult)
    {
        const char* const text = aResult.GetDescription();
        return {aResult.GetCode(), text == nullptr ? "" : text};
    }

    static int ChoosePort(int aNumber) { return Choose({0, 1, 2, 3, 9, 2, 3, -1, 12, 4}, aNumber); }

    Outcome Act(int aKind, int aNumber, int aOther)
    {
        switch (aKind)
        {
        case SET_PORT:
            mConfig->SetPort(&mDevice, static_cast<KoDeviceSerial>(ChoosePort(aNumber)));
            return {};
        case GET_PARAMETERS:
            mConfig->GetParameters();
            return {};
        case SYNC_PORT_CONFIG:
            return ToOutcome(mConfig->SyncPortConfig());
        case SYNC_BAUD_RATE:
            return ToOutcome(mConfig->SyncBaudRate(aOther % 2 == 1));
        case SYNC_PARITY:
            return ToOutcome(mConfig->SyncParity());
        case SYNC_STOP_BITS:
            return ToOutcome(mConfig->SyncStopBits());
        case SYNC_BULK_MODE:
            return ToOutcome(mConfig->SyncBulkMode());
        case BACKUP:
            return ToOutcome(mConfig->BackupPortConfig());
        case RESTORE:
            return ToOutcome(mConfig->RestorePortConfig());
        case REFRESH:
            return ToOutcome(mConfig->RefreshSupportedBaudRates());
        default:
            return {};
        }
    }

    Outcome ActInModel(int aKind, int aNumber, int aOther)
    {
        switch (aKind)
        {
        case SET_PORT:
            mModel.SetPort(ChoosePort(aNumber));
            return {};
        case GET_PARAMETERS:
            mModel.Discover();
            return {};
        case SYNC_PORT_CONFIG:
            return mModel.SyncPortConfig();
        case SYNC_BAUD_RATE:
            return mModel.SyncBaudRate(aOther % 2 == 1);
        case SYNC_PARITY:
            return mModel.SyncParity();
        case SYNC_STOP_BITS:
            return mModel.SyncStopBits();
        case SYNC_BULK_MODE:
            return mModel.SyncBulkMode();
        case BACKUP:
            return mModel.Backup();
        case RESTORE:
            return mModel.Restore();
        case REFRESH:
            return mModel.Refresh();
        default:
            return {};
        }
    }

    void Want(int aKind, int aNumber)
    {
        KoSerialPortConfiguration& wanted = mConfig->mConfiguration;
        switch (aKind)
        {
        case WANT_RATE:
            wanted.mBaudRate = mModel.mWantedRate = Choose({9600U, 115200U, 16U, 19200U, 0U}, aNumber);
            break;
        case WANT_PARITY:
            mModel.mWantedParity = Choose({0, 2, 1, 3, -1}, aNumber);
            wanted.mParity = static_cast<KoParity>(mModel.mWantedParity);
            break;
        case WANT_BYTE_SIZE:
            wanted.mByteSize = mModel.mWantedByteSize = Choose({8U, 7U, 8U, 7U, 6U, 9U}, aNumber);
            break;
        case WANT_STOP_BITS:
            wanted.mStopBits = mModel.mWantedStopBits = Choose({1U, 2U, 3U, 0U}, aNumber);
            break;
        default:
            break;
        }
    }

    /// What the object has no part in.
    static void Disturb(EnumerationWorld& aWorld, int aKind, int aNumber, int aOther)
    {
        const std::string& name = ChooseFeature(aNumber);
        EnumerationWorld::Feature& feature = aWorld.mFeatures[name];
        if (aKind == SOMEBODY_WRITES)
        {
            aWorld.Write(name, feature.mEntries[static_cast<std::size_t>(aOther) % feature.mEntries.size()]);
        }
        if (aKind == ACCESS_CHANGES)
        {
            bool* const flags[] = {&feature.mReadable, &feature.mWritable, &feature.mPresent};
            bool& flag = *Choose(flags, aOther);
            flag = !flag;
        }
    }

    void CompareWorlds()
    {
        RC_ASSERT(mWorld.TakeCalls() == mModelWorld.TakeCalls());
        RC_ASSERT(mWorld.mValues == mModelWorld.mValues);
        std::vector<std::string> log;
        for (const LogEntry& entry : std::exchange(mHost.mLog, {}))
        {
            if (entry.mFunction != "IsValid")
            {
                const std::string code = entry.mCode == 0 ? "" : ' ' + std::to_string(entry.mCode);
                log.push_back(entry.mFunction + " [" + std::to_string(entry.mLevel) + code + "] " + entry.mText);
            }
        }
        RC_ASSERT(log == std::exchange(mModel.mLog, {}));
    }

    void CompareStates() const
    {
        RC_ASSERT(mConfig->mPort == mModel.mPort);
        RC_ASSERT(mConfig->GetBaudRate() == mModel.mConfirmedRate);
        RC_ASSERT(mConfig->mBulkSelectorFeature.GetAscii() == mModel.mSelector);
        RC_ASSERT(mConfig->mBulkSelectorValue.GetAscii() == mModel.mEntry);
        RC_ASSERT(mConfig->mBaudRateFeature.GetAscii() == mModel.mBaudRate.mFeature);
        RC_ASSERT(mConfig->mParityFeature.GetAscii() == mModel.mParity.mFeature);
        RC_ASSERT(mConfig->mStopBitsFeature.GetAscii() == mModel.mStopBits.mFeature);
        RC_ASSERT(mConfig->mBulkModeFeature.GetAscii() == mModel.mMode.mFeature);
        RC_ASSERT(mConfig->mBackupBaudRate.GetAscii() == mModel.mBaudRate.mSaved);
        RC_ASSERT(mConfig->mBackupParity.GetAscii() == mModel.mParity.mSaved);
        RC_ASSERT(mConfig->mBackupStopBits.GetAscii() == mModel.mStopBits.mSaved);
        RC_ASSERT(mConfig->mBackupBulkMode.GetAscii() == mModel.mMode.mSaved);
        RC_ASSERT(mConfig->GetRegistered() == mModel.mWatched);
        RC_ASSERT(mConfig->GetRates() == mModel.mRates);
    }

    HostRecorder mHost;
    const bool mHasLogger;
    EnumerationWorld mWorld;
    EnumerationWorld mModelWorld;
    EnumerationAdapter mDevice{mWorld};
    ConfigModel mModel;
    std::optional<TestConfig> mConfig;
};

/// Numbers below aEnd, all equally likely whatever the size of the case.
rc::Gen<int> Below(int aEnd)
{
    return rc::gen::resize(rc::kNominalSize, rc::gen::inRange(0, aEnd));
}

/// Three features in four.
std::uint32_t DrawMask(const char* aName)
{
    const auto bits = rc::gen::resize(rc::kNominalSize, rc::gen::arbitrary<std::uint32_t>());
    const auto first = *bits.as(std::string(aName) + " of one half");
    const auto second = *bits.as(std::string(aName) + " of the other half");
    return first | second;
}

Start DrawStart()
{
    Start start{};
    start.mPresent = DrawMask("present features");
    start.mReadable = DrawMask("readable features");
    start.mWritable = DrawMask("writable features");
    const auto failing = *rc::gen::scale(0.2, rc::gen::container<std::vector<int>>(Below(100))).as("failing calls");
    start.mFailing.insert(failing.begin(), failing.end());
    start.mSpoilsOutput = *rc::gen::arbitrary<bool>().as("reads that fail spoil their output");
    start.mHasLogger = *Below(8).as("without a logger when 0") != 0;
    start.mLevel = Choose({KuUtilsLib::LOG_ERROR, KuUtilsLib::LOG_WARNING, KuUtilsLib::LOG_INFO, KuUtilsLib::LOG_DEBUG},
                          *Below(4).as("log level"));
    return start;
}

TEST(DeviceSerialPortConfigPropertyTest, DoesAtAllTimesWhatItsModelDoes)
{
    CheckProperty(10000,
                  []
                  {
                      const Start start = DrawStart();
                      const auto step = rc::gen::tuple(Below(KIND_COUNT), Below(40), Below(8));
                      const auto steps = *rc::gen::scale(0.3, rc::gen::container<std::vector<Step>>(step)).as("steps");
                      Twins twins(start);
                      twins.Do({SET_PORT, *Below(10).as("first port"), 0});
                      for (const Step& next : steps)
                      {
                          twins.Do(next);
                      }
                      twins.End();
                  });
}

} // namespace
