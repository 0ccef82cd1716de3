#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace KoTool
{

using Bytes = std::vector<std::uint8_t>;

/// Reads bytes that are written with two hexadecimal digits each. Between two bytes there may be spaces or a colon:
/// "9f0000", "9f 00 00", "9F:00:00".
/// @param aName what the text is, for the message
/// @throws Failure with STATUS_USAGE for anything else
Bytes ParseHexBytes(const std::string& aName, const std::string& aText);

/// "0x5f"
std::string FormatByte(std::uint8_t aByte);

/// "0x00 0x10 0x5f"; empty when there are none.
std::string FormatBytes(const Bytes& aBytes);

} // namespace KoTool
