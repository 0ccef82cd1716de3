#include "Bytes.h"

#include "Failure.h"

#include <array>
#include <charconv>
#include <cstdio>

namespace KoTool
{
namespace
{

bool IsSeparator(char aCharacter)
{
    return aCharacter == ' ' || aCharacter == ':';
}

Failure MakeFailure(const std::string& aName, const std::string& aText)
{
    return MakeUsageFailure(aName + " cannot be '" + aText +
                            "': it can be bytes of two hexadecimal digits each, such as 9f0010 or '9f 00 10'");
}

} // namespace

Bytes ParseHexBytes(const std::string& aName, const std::string& aText)
{
    Bytes bytes;
    const char* const end = aText.data() + aText.size();
    for (const char* next = aText.data(); next != end;)
    {
        if (IsSeparator(*next))
        {
            ++next;
            continue;
        }
        std::uint8_t byte = 0;
        const char* const byteEnd = end - next < 2 ? end : next + 2;
        const std::from_chars_result parsed = std::from_chars(next, byteEnd, byte, 16);
        if (parsed.ec != std::errc() || parsed.ptr != next + 2)
        {
            throw MakeFailure(aName, aText);
        }
        bytes.push_back(byte);
        next = parsed.ptr;
    }
    return bytes;
}

std::string FormatByte(std::uint8_t aByte)
{
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), "0x%02x", static_cast<unsigned>(aByte));
    return text.data();
}

std::string FormatBytes(const Bytes& aBytes)
{
    std::string text;
    for (const std::uint8_t byte : aBytes)
    {
        text += (text.empty() ? "" : " ") + FormatByte(byte);
    }
    return text;
}

} // namespace KoTool
