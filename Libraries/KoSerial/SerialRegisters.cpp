#include "SerialRegisters.h"

#include "FunctionCaps.h"
#include "Logging.h"

#include <IKoDeviceAdapter.h>

namespace KoSerialLib
{

bool ReadFunctionCaps(IKoDeviceAdapter* aDevice, KuUtilsLib::Logger& aLogger, std::uint32_t& aCaps)
{
    if (aDevice == nullptr)
    {
        KO_LOG_IN("IsSupported", aLogger, LOG_ERROR, "Device pointer is NULL.");
        return false;
    }
    if (!aDevice->IsConnected())
    {
        KO_LOG_IN("IsSupported", aLogger, LOG_ERROR, "The device is not currently connected.");
        return false;
    }
    if (!aDevice->IsTavricVideoInterface())
    {
        KO_LOG_IN("IsSupported", aLogger, LOG_INFO, "The device is not on a Tavric video interface.");
        return false;
    }
    KoString identity;
    aDevice->GetDeviceId(identity);
    if (IsFunctionCapsNS(identity.GetAscii()))
    {
        KO_LOG_IN("IsSupported", aLogger, LOG_INFO,
                  "Not reading DEV_REG_FUNCTION_CAPS, already know it is now supported.");
        return false;
    }
    if (!aDevice->IsGigEVision())
    {
        KO_LOG_IN("IsSupported", aLogger, LOG_INFO, "The device is not a GigE Vision device.");
        return false;
    }
    aCaps = 0;
    if (!aDevice->ReadRegister(DEV_REG_FUNCTION_CAPS, &aCaps).IsOK())
    {
        ReportFunctionCapsNS(identity.GetAscii());
        KO_LOG_IN("IsSupported", aLogger, LOG_INFO, "Could not read device function capabilities register.");
        return false;
    }
    return (aCaps & FUNCTION_CAPS_IMPLEMENTED) != 0;
}

} // namespace KoSerialLib
