#include "CodeNames.h"

#include <KoResult.h>

namespace
{

constexpr const char* NO_NAME = "UNKNOWN_ERROR";

} // namespace

const char* KoBase::GetCodeName(std::uint32_t aCode)
{
    switch (aCode)
    {
    case KoResult::OK:
        return "OK";
    case KoResult::NOT_CONNECTED:
        return "NOT_CONNECTED";
    case KoResult::NOT_FOUND:
        return "NOT_FOUND";
    case KoResult::NOT_SUPPORTED:
        return "NOT_SUPPORTED";
    case KoResult::BUFFER_TOO_SMALL:
        return "BUFFER_TOO_SMALL";
    case KoResult::STATE_ERROR:
        return "STATE_ERROR";
    case KoResult::TIMEOUT:
        return "TIMEOUT";
    case KoResult::NOT_OPENED:
        return "NOT_OPENED";
    case KoResult::GENERIC_ERROR:
        return "GENERIC_ERROR";
    case KoResult::INVALID_PARAMETER:
        return "INVALID_PARAMETER";
    default:
        return NO_NAME;
    }
}

std::ostream& KoBase::WriteCode(std::ostream& aStream, std::uint32_t aCode, const char* aDescription)
{
    const char* const name = GetCodeName(aCode);
    aStream << name;
    if (name == NO_NAME)
    {
        aStream << ' ' << aCode;
    }
    if (aDescription != nullptr && *aDescription != '\0')
    {
        aStream << ": " << aDescription;
    }
    return aStream;
}
