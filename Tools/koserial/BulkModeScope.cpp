#include "BulkModeScope.h"

#include "Failure.h"

#include <IKoDeviceAdapter.h>

#include <string>

namespace KoTool
{
namespace
{

const char* const SELECTOR = "BulkSelector";
const char* const MODE = "BulkMode";

} // namespace

BulkModeScope::BulkModeScope(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, const char* aMode)
{
    const KoString selector(SELECTOR);
    const KoString mode(MODE);
    if (aDevice.IsGenEnumPresent(selector))
    {
        const KoString port(("Bulk" + std::to_string(aPort - KoDeviceSerialBulk0)).c_str());
        if (!aDevice.IsGenEnumEntryAvailable(selector, port))
        {
            return;
        }
        mSelector.emplace(aDevice, selector, port);
    }
    if (aDevice.IsGenEnumPresent(mode) && aDevice.IsGenEnumEntryAvailable(mode, KoString(aMode)))
    {
        mMode.emplace(aDevice, mode, KoString(aMode));
    }
}

BulkModeScope::Setting::Setting(IKoDeviceAdapter& aDevice, const KoString& aName, const KoString& aEntry)
    : mDevice(aDevice),
      mName(aName)
{
    KoString present;
    const KoResult got = mDevice.GetGenEnumValue(mName, present);
    if (!got.IsOK())
    {
        throw MakeDeviceFailure(std::string("cannot read ") + mName.GetAscii(), got);
    }
    if (present == aEntry)
    {
        return;
    }
    const KoResult set = mDevice.SetGenEnumValue(mName, aEntry);
    if (!set.IsOK())
    {
        throw MakeDeviceFailure(std::string("cannot set ") + mName.GetAscii() + " to " + aEntry.GetAscii(), set);
    }
    mFormerEntry = present;
}

BulkModeScope::Setting::~Setting()
{
    if (mFormerEntry.GetLength() > 0)
    {
        mDevice.SetGenEnumValue(mName, mFormerEntry);
    }
}

} // namespace KoTool
