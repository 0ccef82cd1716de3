#pragma once

#include "PortSettings.h"

#include <DeviceSerialPortConfig.h>
#include <KoDeviceSerial.h>

#include <cstdint>
#include <string>
#include <vector>

class IKoDeviceAdapter;

namespace KoTool
{

/// The settings of one of a device's own ports, to be shown and changed.
class PortSetup : private KoSerialLib::DeviceSerialPortConfig
{
public:
    /// @param aDevice must outlive the object
    /// @throws Failure when the device does not offer that port, so that its settings are of no use, or has no settings
    ///         for it
    PortSetup(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort);

    /// What the device shows now.
    /// @throws Failure
    PortSettings Read();

    /// The baud rates that the device offers, in bit/s; empty when the rate cannot be changed.
    const std::vector<std::uint32_t>& GetRates() const { return mRates; }

    /// Changes settings; whether the device has taken each of them only Read() tells.
    /// @throws Failure before the device is touched when it does not offer the baud rate, or when what it shows
    ///         together with the changes is nothing that a line can be set to
    void Apply(const PortSettings& aChanges);

private:
    void CheckRate(std::uint32_t aRate) const;
    std::optional<std::string> ReadFeature(const KoString& aFeature);

    const std::string mName;
    std::vector<std::uint32_t> mRates;
};

} // namespace KoTool
