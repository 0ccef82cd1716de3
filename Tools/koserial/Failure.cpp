#include "Failure.h"

#include <system_error>

namespace KoTool
{

Failure::Failure(const std::string& aMessage, int aExitStatus) : std::runtime_error(aMessage), mExitStatus(aExitStatus)
{
}

Failure MakeUsageFailure(const std::string& aMessage)
{
    return Failure(aMessage, STATUS_USAGE);
}

Failure MakeDeviceFailure(const std::string& aWhat, const KoResult& aResult)
{
    std::string message = aWhat + ": " + aResult.GetCodeString();
    if (aResult.GetDescription().GetLength() > 0)
    {
        message += std::string(": ") + aResult.GetDescription().GetAscii();
    }
    return Failure(message);
}

Failure MakeSystemFailure(const std::string& aWhat, int aErrorNumber)
{
    return Failure(aWhat + ": " + std::generic_category().message(aErrorNumber));
}

} // namespace KoTool
