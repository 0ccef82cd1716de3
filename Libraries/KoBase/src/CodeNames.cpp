#include "CodeNames.h"

#include <KoResult.h>

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
        return "UNKNOWN_ERROR";
    }
}
