#include "Numbers.h"

#include "Failure.h"

#include <array>
#include <charconv>
#include <cinttypes>
#include <cstdio>
#include <optional>

#include <strings.h>

namespace KoTool
{
namespace
{

bool HasPrefix(const std::string& aText, const char* aPrefix)
{
    return ::strncasecmp(aText.c_str(), aPrefix, 2) == 0;
}

bool HasLeadingZero(const std::string& aText)
{
    return aText.size() > 1 && aText[0] == '0' && aText.find_first_not_of("0123456789") == std::string::npos;
}

std::optional<std::uint64_t> Parse(const std::string& aText)
{
    if (HasLeadingZero(aText))
    {
        return std::nullopt;
    }
    const bool isHexadecimal = HasPrefix(aText, "0x");
    const bool isBinary = HasPrefix(aText, "0b");
    const char* const first = aText.data() + (isHexadecimal || isBinary ? 2 : 0);
    const char* const end = aText.data() + aText.size();
    std::uint64_t number = 0;
    const std::from_chars_result parsed = std::from_chars(first, end, number, isHexadecimal ? 16 : (isBinary ? 2 : 10));
    return parsed.ec == std::errc() && parsed.ptr == end ? std::optional(number) : std::nullopt;
}

/// "255 (0xff)": whoever writes a number may think of it in either way.
std::string Describe(std::uint64_t aNumber)
{
    if (aNumber < 10)
    {
        return std::to_string(aNumber);
    }
    std::array<char, 24> hexadecimal{};
    std::snprintf(hexadecimal.data(), hexadecimal.size(), "0x%" PRIx64, aNumber);
    return std::to_string(aNumber) + " (" + hexadecimal.data() + ")";
}

} // namespace

std::uint64_t ParseNumber(const std::string& aName, const std::string& aText, NumberRange aRange)
{
    const std::optional<std::uint64_t> number = Parse(aText);
    if (!number || *number < aRange.mFirst || *number > aRange.mLast)
    {
        throw MakeUsageFailure(aName + " cannot be '" + aText + "': it can be a number from " +
                               Describe(aRange.mFirst) + " to " + Describe(aRange.mLast) +
                               (HasLeadingZero(aText) ? ", without a leading zero" : ""));
    }
    return *number;
}

} // namespace KoTool
