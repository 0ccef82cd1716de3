#include "DeviceSerialPortConfig.h"

#include "Logging.h"
#include "StateStack.h"

#include <KoStringList.h>

#include <algorithm>
#include <cstdio>

namespace KoSerialLib
{
namespace
{

/// The entry of a parity; NULL for a value that has none.
const char* GetParityEntry(KoParity aParity)
{
    switch (aParity)
    {
    case KoParityNone:
        return "None";
    case KoParityEven:
        return "Even";
    case KoParityOdd:
        return "Odd";
    }
    return nullptr;
}

/// The entry of a number of stop bits; NULL for a number that has none.
const char* GetStopBitsEntry(std::uint32_t aStopBits)
{
    switch (aStopBits)
    {
    case 1:
        return "One";
    case 2:
        return "Two";
    default:
        return nullptr;
    }
}

/// Fails with aText, which holds no conversion. The empty argument keeps compilers from warning of a format that is not
/// a literal. aLogger is NULL when there is none.
KuUtilsLib::Result Fail(KuUtilsLib::Logger* aLogger, const char* aFunction, const char* aText)
{
    return KO_FAIL_RESULT_IN(aFunction, aLogger, KoResult::NOT_SUPPORTED, aText, "");
}

} // namespace

/// Runs aAction() while the port is selected; its result is there before the selection is written once more. Every
/// operation that touches the device does so; aFunction is its name.
template <typename Action>
KuUtilsLib::Result DeviceSerialPortConfig::WithSelectedPort(const char* aFunction, Action aAction)
{
    StateStack stack(mDevice);
    if (mBulkSelectorFeature.GetLength() != 0 &&
        stack.SetValue(mBulkSelectorFeature, mBulkSelectorValue).GetCode() != KoResult::OK)
    {
        return KO_FAIL_RESULT_IN(aFunction, mLogger, KoResult::NOT_SUPPORTED, "Error setting Bulk selector.");
    }
    return aAction();
}

DeviceSerialPortConfig::DeviceSerialPortConfig() : mLogger(KuUtilsLib::Logger::Create(KO_LOG_CATEGORY, nullptr, 0))
{
    try
    {
        mSupportedBaudRates = std::make_unique<std::vector<std::uint32_t>>();
        mRegisteredFeatures = std::make_unique<std::vector<KoString>>();
    }
    catch (...)
    {
        KuUtilsLib::Logger::Free(mLogger);
        throw;
    }
}

DeviceSerialPortConfig::~DeviceSerialPortConfig()
{
    RestorePortConfig();
    UnwatchFeature(mBaudRateFeature);
    UnwatchFeature(mParityFeature);
    UnwatchFeature(mStopBitsFeature);
    UnwatchFeature(mBulkModeFeature);
    mRegisteredFeatures.reset();
    mSupportedBaudRates.reset();
    if (mLogger != nullptr)
    {
        KuUtilsLib::Logger::Free(mLogger);
    }
}

std::uint32_t DeviceSerialPortConfig::GetBaudRate() const
{
    return mCurrentBaudRate;
}

bool DeviceSerialPortConfig::IsBaudRateValid(int /*aRate*/)
{
    return true;
}

void DeviceSerialPortConfig::SetPort(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    mDevice = aDevice;
    mPort = aPort;
    GetParameters();
}

void DeviceSerialPortConfig::GetParameters()
{
    mBulkSelectorFeature = KoString();
    mBulkModeFeature = KoString();
    mBaudRateFeature = KoString();
    mParityFeature = KoString();
    mStopBitsFeature = KoString();
    mRegisteredFeatures->clear();

    std::string prefix;
    if (mPort == KoDeviceSerialUart0 || mPort == KoDeviceSerialUart1)
    {
        prefix = "Uart" + std::to_string(mPort);
    }
    else if (mPort >= KoDeviceSerialBulk0 && mPort <= KoDeviceSerialBulk7)
    {
        prefix = FindBulkFeatures();
    }
    else if (mLogger != nullptr && mLogger->IsPriorityEnabled(KuUtilsLib::LOG_WARNING))
    {
        KO_LOG(*mLogger, LOG_WARNING, "Unexpected port identifier.");
    }
    mBaudRateFeature = WatchFeature(prefix + "BaudRate");
    mParityFeature = WatchFeature(prefix + "Parity");
    mStopBitsFeature = WatchFeature(prefix + "NumOfStopBits");
}

/// Finds what only bulk ports have; yields how the names of the other features begin.
std::string DeviceSerialPortConfig::FindBulkFeatures()
{
    const std::string port = "Bulk" + std::to_string(mPort - KoDeviceSerialBulk0);
    mBulkSelectorFeature = FindFeature("BulkSelector");
    mBulkModeFeature = WatchFeature("BulkMode");
    mBulkSelectorValue = KoString(port.c_str());
    return mBulkSelectorFeature.GetLength() != 0 ? "Bulk" : port;
}

/// The name, or an empty one when the device has no such feature.
KoString DeviceSerialPortConfig::FindFeature(const std::string& aName)
{
    const KoString name(aName.c_str());
    return mDevice->IsGenEnumPresent(name) ? name : KoString();
}

KoString DeviceSerialPortConfig::WatchFeature(const std::string& aName)
{
    KoString name = FindFeature(aName);
    if (name.GetLength() != 0)
    {
        mDevice->RegisterGenInvalidator(name);
        mRegisteredFeatures->push_back(name);
    }
    return name;
}

void DeviceSerialPortConfig::UnwatchFeature(const KoString& aName)
{
    if (aName.GetLength() != 0)
    {
        mDevice->UnregisterGenInvalidator(aName);
    }
}

KuUtilsLib::Result DeviceSerialPortConfig::RefreshSupportedBaudRates()
{
    mSupportedBaudRates->clear();
    return WithSelectedPort(__func__, [this] { return ListBaudRates("RefreshSupportedBaudRates"); });
}

KuUtilsLib::Result DeviceSerialPortConfig::ListBaudRates(const char* aFunction)
{
    // Rates that cannot be chosen are of no use, so it is writing that counts.
    if (mBaudRateFeature.GetLength() == 0 || !mDevice->IsGenEnumWritable(mBaudRateFeature))
    {
        return KO_FAIL_RESULT_IN(aFunction, mLogger, KoResult::NOT_FOUND, "Device port baud rate is not readable.");
    }
    KoStringList entries;
    if (!mDevice->GetGenEnumEntries(mBaudRateFeature, entries).IsOK())
    {
        return KO_FAIL_RESULT_IN(aFunction, mLogger, KoResult::NOT_FOUND,
                                 "Error reading device port baud rates count.");
    }
    for (const KoString* entry = entries.GetFirst(); entry != nullptr; entry = entries.GetNext())
    {
        int rate = 0;
        if (std::sscanf(entry->GetAscii(), "Baud%i", &rate) == 1 && IsBaudRateValid(rate))
        {
            mSupportedBaudRates->push_back(static_cast<std::uint32_t>(rate));
        }
    }
    return KuUtilsLib::Result(KoResult::OK);
}

std::uint32_t DeviceSerialPortConfig::GetSupportedBaudRate(std::uint32_t aIndex) const
{
    return mSupportedBaudRates->at(aIndex);
}

bool DeviceSerialPortConfig::IsBaudRateSupported(std::uint32_t aRate) const
{
    return std::find(mSupportedBaudRates->begin(), mSupportedBaudRates->end(), aRate) != mSupportedBaudRates->end();
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncPortConfig()
{
    if (mPort == KoDeviceSerialInvalid)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    if (static_cast<const char*>(mConfiguration.IsValid()) == nullptr)
    {
        return KO_FAIL_RESULT(mLogger, KoResult::INVALID_PARAMETER,
                              "Could not configure device serial port, serial configuration is not valid.");
    }
    return WithSelectedPort(__func__,
                            [this]
                            {
                                SyncBulkMode();
                                SyncParity();
                                SyncStopBits();
                                SyncBaudRate(false);
                                return KuUtilsLib::Result(KoResult::OK);
                            });
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncBaudRate(bool aOnlyIfChanged)
{
    const bool isKnown = aOnlyIfChanged && mConfiguration.mBaudRate == mCurrentBaudRate;
    if (mBaudRateFeature.GetLength() == 0 || isKnown)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    return WithSelectedPort(__func__, [this] { return SyncBaudRateFeature("SyncBaudRate"); });
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncBaudRateFeature(const char* aFunction)
{
    const std::string entry = "Baud" + std::to_string(mConfiguration.mBaudRate);
    const char* const failure = "Error setting device serial port baud rate.";
    KuUtilsLib::Result synced = SyncFeature(aFunction, mBaudRateFeature, KoString(entry.c_str()), failure, failure);
    if (synced.GetCode() != KoResult::OK)
    {
        return synced;
    }
    if (mLogger != nullptr && mLogger->IsPriorityEnabled(KuUtilsLib::LOG_INFO))
    {
        KO_LOG_IN(aFunction, *mLogger, LOG_INFO, "Device port speed changed to %d bps", mConfiguration.mBaudRate);
    }
    mCurrentBaudRate = mConfiguration.mBaudRate;
    return KuUtilsLib::Result(KoResult::OK);
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncParity()
{
    return SyncFraming(__func__, mParityFeature, GetParityEntry(mConfiguration.mParity), "Unexpected parity value.");
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncStopBits()
{
    return SyncFraming(__func__, mStopBitsFeature, GetStopBitsEntry(mConfiguration.mStopBits),
                       "Unexpected stop bits value.");
}

KuUtilsLib::Result DeviceSerialPortConfig::SyncBulkMode()
{
    if (mBulkModeFeature.GetLength() == 0)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    return WithSelectedPort(__func__,
                            [this]
                            {
                                return SyncFeature("SyncBulkMode", mBulkModeFeature, KoString("UART"),
                                                   "Error reading device serial bulk port mode.",
                                                   "Error setting device serial bulk port to UART mode.");
                            });
}

KuUtilsLib::Result DeviceSerialPortConfig::BackupPortConfig()
{
    if (mPort == KoDeviceSerialInvalid)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    return WithSelectedPort(__func__,
                            [this]
                            {
                                BackupFeature(mBaudRateFeature, mBackupBaudRate);
                                BackupFeature(mParityFeature, mBackupParity);
                                BackupFeature(mStopBitsFeature, mBackupStopBits);
                                BackupFeature(mBulkModeFeature, mBackupBulkMode);
                                return KuUtilsLib::Result(KoResult::OK);
                            });
}

KuUtilsLib::Result DeviceSerialPortConfig::RestorePortConfig()
{
    if (mPort == KoDeviceSerialInvalid)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    return WithSelectedPort(__func__,
                            [this]
                            {
                                RestoreSavedFeature(mBaudRateFeature, mBackupBaudRate);
                                RestoreSavedFeature(mParityFeature, mBackupParity);
                                RestoreSavedFeature(mStopBitsFeature, mBackupStopBits);
                                RestoreFeature(mBulkModeFeature, mBackupBulkMode);
                                return KuUtilsLib::Result(KoResult::OK);
                            });
}

/// Parity and stop bits: a feature that the device does not let us change is left alone. aEntry is NULL for a value
/// that has no entry.
KuUtilsLib::Result DeviceSerialPortConfig::SyncFraming(const char* aFunction, const KoString& aFeature,
                                                       const char* aEntry, const char* aUnexpected)
{
    if (aFeature.GetLength() == 0)
    {
        return KuUtilsLib::Result(KoResult::OK);
    }
    return WithSelectedPort(aFunction,
                            [&]
                            {
                                if (!mDevice->IsGenEnumWritable(aFeature))
                                {
                                    return KuUtilsLib::Result(KoResult::OK);
                                }
                                if (aEntry == nullptr)
                                {
                                    return Fail(mLogger, aFunction, aUnexpected);
                                }
                                return SyncFeature(aFunction, aFeature, KoString(aEntry),
                                                   "Error reading device serial port parity.",
                                                   "Error setting device serial port parity.");
                            });
}

/// Writes a setting that the device does not show yet.
KuUtilsLib::Result DeviceSerialPortConfig::SyncFeature(const char* aFunction, const KoString& aFeature,
                                                       const KoString& aEntry, const char* aReadFailure,
                                                       const char* aWriteFailure)
{
    KoString current;
    if (!mDevice->GetGenEnumValue(aFeature, current).IsOK())
    {
        return Fail(mLogger, aFunction, aReadFailure);
    }
    if (current != aEntry && !mDevice->SetGenEnumValue(aFeature, aEntry).IsOK())
    {
        return Fail(mLogger, aFunction, aWriteFailure);
    }
    return KuUtilsLib::Result(KoResult::OK);
}

void DeviceSerialPortConfig::BackupFeature(const KoString& aFeature, KoString& aBackup)
{
    if (aFeature.GetLength() != 0 && mDevice->IsGenEnumReadable(aFeature))
    {
        mDevice->GetGenEnumValue(aFeature, aBackup);
    }
}

void DeviceSerialPortConfig::RestoreFeature(const KoString& aFeature, const KoString& aBackup)
{
    if (aFeature.GetLength() != 0 && mDevice->IsGenEnumWritable(aFeature))
    {
        mDevice->SetGenEnumValue(aFeature, aBackup);
    }
}

void DeviceSerialPortConfig::RestoreSavedFeature(const KoString& aFeature, const KoString& aBackup)
{
    if (aBackup.GetLength() != 0)
    {
        RestoreFeature(aFeature, aBackup);
    }
}

} // namespace KoSerialLib
