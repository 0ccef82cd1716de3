#pragma once

#include <IKoDeviceAdapter.h>
#include <KoDeviceSerial.h>
#include <KoSerialExport.h>
#include <KoSerialPortConfiguration.h>
#include <KoString.h>
#include <KuUtilsLib/Logger.h>
#include <KuUtilsLib/Result.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace KoSerialLib
{

/// Reads and changes the settings of one of the device's own serial ports through its GenICam enumerations.
///
/// Construct, SetPort(), BackupPortConfig(), fill mConfiguration, SyncPortConfig(), use the port through an engine, and
/// destroy while the device can still be used: the destructor puts the saved settings back.
///
/// A device with "BulkSelector" has one set of features for all bulk ports, a device without it has a set per port. On
/// the former every operation that touches the device first selects its port and leaves it selected; it fails with
/// NOT_SUPPORTED "Error setting Bulk selector." when that cannot be done. A feature that the device does not have is
/// left out without an error.
///
/// Failures are logged, and the text of the log entry is the description of the result. One thread at a time; no lock
/// is taken, and nothing keeps another client of the device from moving the selector in between.
class KO_SERIAL_API DeviceSerialPortConfig
{
public:
    DeviceSerialPortConfig();

    /// Does RestorePortConfig(), then stops watching the features of the port.
    virtual ~DeviceSerialPortConfig();

    DeviceSerialPortConfig(const DeviceSerialPortConfig&) = delete;
    DeviceSerialPortConfig& operator=(const DeviceSerialPortConfig&) = delete;

    /// The rate in bit/s that SyncBaudRate() has last seen on the device; 0 before that.
    virtual std::uint32_t GetBaudRate() const;

    /// Whether RefreshSupportedBaudRates() may list a rate that the device offers: any, unless a derived class is
    /// choosier.
    virtual bool IsBaudRateValid(int aRate);

    /// Binds the object to a port and finds out its features. Nothing is checked.
    /// @param aDevice not owned; must not be NULL and must outlive this object
    void SetPort(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Finds out which features the port has and watches them; those found before are forgotten, still watched. An
    /// identifier that is no port of a device is logged and gets the features without a prefix.
    void GetParameters();

    /// Lists the baud rates that the device offers for the port, in its order; after a failure the list is empty.
    /// @return OK; NOT_SUPPORTED when the port cannot be selected; NOT_FOUND when the baud rate feature is absent or
    ///         cannot be written, or its entries cannot be read
    KuUtilsLib::Result RefreshSupportedBaudRates();

    /// How many rates RefreshSupportedBaudRates() has listed.
    std::uint32_t GetSupportedBaudRateCount() const { return static_cast<std::uint32_t>(mSupportedBaudRates->size()); }

    /// One of the listed rates in bit/s. Throws std::out_of_range for an index past the end.
    std::uint32_t GetSupportedBaudRate(std::uint32_t aIndex) const;

    /// True for a rate in bit/s that is listed.
    bool IsBaudRateSupported(std::uint32_t aRate) const;

    /// Puts bulk mode, parity, stop bits and baud rate of mConfiguration on the device. A setting that cannot be
    /// written is logged and does not keep the others from being written.
    /// @return OK, also when a setting failed and for an object without a port; INVALID_PARAMETER for a configuration
    ///         that is not valid, before the device is touched; NOT_SUPPORTED when the port cannot be selected
    KuUtilsLib::Result SyncPortConfig();

    /// Puts the baud rate of mConfiguration on the device.
    /// @param aOnlyIfChanged true: leaves the device alone when GetBaudRate() is that rate already
    /// @return OK; NOT_SUPPORTED when the port cannot be selected or the rate cannot be read or written
    KuUtilsLib::Result SyncBaudRate(bool aOnlyIfChanged);

    /// Puts the parity of mConfiguration on the device.
    /// @return OK, also when the parity cannot be changed at present; NOT_SUPPORTED when the port cannot be selected,
    ///         the parity is no KoParity, or a read or a write fails
    KuUtilsLib::Result SyncParity();

    /// Puts the stop bits of mConfiguration on the device.
    /// @return OK, also when the stop bits cannot be changed at present; NOT_SUPPORTED when the port cannot be
    ///         selected, the stop bits are neither 1 nor 2, or a read or a write fails, with the texts of the parity
    KuUtilsLib::Result SyncStopBits();

    /// Puts a bulk port in UART mode.
    /// @return OK; NOT_SUPPORTED when the port cannot be selected or the mode cannot be read or written
    KuUtilsLib::Result SyncBulkMode();

    /// Saves the settings of the device as far as they can be read; the others keep what was saved before.
    /// @return OK, also for an object without a port; NOT_SUPPORTED when the port cannot be selected
    KuUtilsLib::Result BackupPortConfig();

    /// Writes the saved settings back, as far as they can be written; they stay saved. Failed writes are ignored. The
    /// bulk mode is written even when none was saved, as an empty entry.
    /// @return OK, also for an object without a port; NOT_SUPPORTED when the port cannot be selected
    KuUtilsLib::Result RestorePortConfig();

protected:
    KuUtilsLib::Logger* mLogger; ///< may be NULL: then nothing is logged and results have no description
    IKoDeviceAdapter* mDevice = nullptr;
    KoDeviceSerial mPort = KoDeviceSerialInvalid;

public:
    KoSerialPortConfiguration mConfiguration; ///< the wanted settings; the data bits never go to the device

protected:
    std::uint32_t mCurrentBaudRate = 0;
    std::unique_ptr<std::vector<std::uint32_t>> mSupportedBaudRates;
    KoString mBaudRateFeature; ///< the name of a feature is empty when the device does not have it
    KoString mParityFeature;
    KoString mStopBitsFeature;
    KoString mBulkModeFeature;
    KoString mBulkSelectorValue; ///< the entry of the last bulk port that was set
    KoString mBulkSelectorFeature;
    std::unique_ptr<std::vector<KoString>> mRegisteredFeatures; ///< in the order of registration
    KoString mBackupBaudRate;
    KoString mBackupParity;
    KoString mBackupStopBits;
    KoString mBackupBulkMode;

private:
    std::string FindBulkFeatures();
    KoString FindFeature(const std::string& aName);
    KoString WatchFeature(const std::string& aName);
    void UnwatchFeature(const KoString& aName);
    template <typename Action>
    KuUtilsLib::Result WithSelectedPort(const char* aFunction, Action aAction);
    KuUtilsLib::Result ListBaudRates(const char* aFunction);
    KuUtilsLib::Result SyncBaudRateFeature(const char* aFunction);
    KuUtilsLib::Result SyncFraming(const char* aFunction, const KoString& aFeature, const char* aEntry,
                                   const char* aUnexpected);
    KuUtilsLib::Result SyncFeature(const char* aFunction, const KoString& aFeature, const KoString& aEntry,
                                   const char* aReadFailure, const char* aWriteFailure);
    void BackupFeature(const KoString& aFeature, KoString& aBackup);
    void RestoreFeature(const KoString& aFeature, const KoString& aBackup);
    void RestoreSavedFeature(const KoString& aFeature, const KoString& aBackup);
};

} // namespace KoSerialLib
