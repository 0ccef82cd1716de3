#include "TerminalInput.h"

#include <algorithm>

namespace KoTool
{
namespace
{

constexpr std::uint8_t CTRL_RIGHT_BRACKET = 0x1D;

} // namespace

std::optional<std::size_t> TerminalInput::Read(std::uint8_t* aBuffer, std::size_t aSize, int aTimeoutMs)
{
    if (mLeft)
    {
        return 0;
    }
    const std::optional<std::size_t> count = InputFile::Read(aBuffer, aSize, aTimeoutMs);
    if (!count)
    {
        return std::nullopt;
    }
    const std::uint8_t* const end = aBuffer + *count;
    const std::uint8_t* const leave = std::find<const std::uint8_t*>(aBuffer, end, CTRL_RIGHT_BRACKET);
    mLeft = leave != end;
    return static_cast<std::size_t>(leave - aBuffer);
}

} // namespace KoTool
