#include "FramePayload.h"

#include <IKoDeviceAdapter.h>

#include <algorithm>
#include <string>

namespace KoTool
{

std::uint32_t GetFramePayload(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, std::uint32_t aHeaderSize,
                              std::uint32_t aLimit)
{
    const KoString name(("Bulk" + std::to_string(aPort - KoDeviceSerialBulk0) + "DownstreamData").c_str());
    std::int64_t length = 0;
    if (!aDevice.IsGenRegisterPresent(name) || !aDevice.GetGenRegisterLength(name, length).IsOK())
    {
        return aLimit;
    }
    return static_cast<std::uint32_t>(std::clamp<std::int64_t>(length - aHeaderSize, 0, aLimit));
}

} // namespace KoTool
