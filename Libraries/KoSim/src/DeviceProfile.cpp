#include <KoSim/DeviceProfile.h>

namespace KoSim
{

DeviceProfile DeviceProfile::FullDevice()
{
    return DeviceProfile();
}

DeviceProfile DeviceProfile::UartOnly()
{
    DeviceProfile profile;
    profile.mBulk0InRegisters = false;
    for (BulkFeatures& features : profile.mBulkFeatures)
    {
        features.mPresent = false;
    }
    return profile;
}

DeviceProfile DeviceProfile::NoBulkSelector()
{
    DeviceProfile profile;
    profile.mHasBulkSelector = false;
    return profile;
}

DeviceProfile DeviceProfile::NotGigEVision()
{
    DeviceProfile profile;
    profile.mGigEVision = false;
    return profile;
}

DeviceProfile DeviceProfile::TinyDownstreamRegister()
{
    DeviceProfile profile;
    for (BulkFeatures& features : profile.mBulkFeatures)
    {
        features.mDownstreamLength = 30;
    }
    return profile;
}

} // namespace KoSim
