#pragma once

#include <KoDeviceSerial.h>
#include <KoString.h>

#include <optional>

class IKoDeviceAdapter;

namespace KoTool
{

/// Puts a bulk port into another mode for as long as the object lives, and then back. It does so with the features
/// "BulkMode" and, where there is one, "BulkSelector"; a device that does not offer the mode there is left as it is.
class BulkModeScope
{
public:
    /// @param aDevice the device; must outlive the object
    /// @param aPort a bulk port
    /// @param aMode the mode: "I2C" or "SPI"
    /// @throws Failure when the device refuses; everything is as before then
    BulkModeScope(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, const char* aMode);

    BulkModeScope(const BulkModeScope&) = delete;
    BulkModeScope& operator=(const BulkModeScope&) = delete;

private:
    /// An enumeration that has another entry for a while.
    class Setting
    {
    public:
        Setting(IKoDeviceAdapter& aDevice, const KoString& aName, const KoString& aEntry);
        ~Setting();

        Setting(const Setting&) = delete;
        Setting& operator=(const Setting&) = delete;

    private:
        IKoDeviceAdapter& mDevice;
        const KoString mName;
        KoString mFormerEntry; ///< empty when it had the right one already
    };

    // The selector says which port the mode is about: it is set first and put back last.
    std::optional<Setting> mSelector;
    std::optional<Setting> mMode;
};

} // namespace KoTool
