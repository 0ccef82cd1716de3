#pragma once

#include <cstdint>
#include <string>

namespace KoTool
{

/// The numbers from mFirst to mLast.
struct NumberRange
{
    std::uint32_t mFirst;
    std::uint32_t mLast;
};

constexpr NumberRange BYTE_VALUES = {0, 0xFF};

/// Reads a number that is written in decimal ("80"), hexadecimal ("0x50") or binary ("0b1010000").
/// @param aName what the number is, for the message
/// @throws Failure with STATUS_USAGE for a text that is no such number or a number outside the range
std::uint32_t ParseNumber(const std::string& aName, const std::string& aText, NumberRange aRange);

} // namespace KoTool
