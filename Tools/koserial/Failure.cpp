#include "Failure.h"

#include <algorithm>
#include <cctype>
#include <system_error>

namespace KoTool
{

namespace
{

/// A message may quote what a file holds, which must not end it early or speak to the terminal.
std::string ReplaceControlCharacters(std::string aMessage)
{
    std::replace_if(
        aMessage.begin(), aMessage.end(),
        [](char aCharacter) { return aCharacter != '\n' && std::iscntrl(static_cast<unsigned char>(aCharacter)) != 0; },
        '?');
    return aMessage;
}

} // namespace

Failure::Failure(const std::string& aMessage, int aExitStatus)
    : std::runtime_error(ReplaceControlCharacters(aMessage)),
      mExitStatus(aExitStatus)
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
