#pragma once

#include <cstdint>
#include <string>

namespace KoTool
{

/// The numbers from mFirst to mLast.
struct NumberRange
{
    std::uint64_t mFirst;
    std::uint64_t mLast;
};

constexpr NumberRange BYTE_VALUES = {0, 0xFF};

/// The times that an option takes, in milliseconds.
constexpr NumberRange MILLISECONDS = {0, 0xFFFFFFFF};

/// Reads a number that is written in decimal ("80"), hexadecimal ("0x50") or binary ("0b1010000"). Every number that
/// the user writes is read by this, so that it means the same everywhere. A decimal number has no leading zero, because
/// "010" is ten for some programs and eight for others.
/// @param aName what the number is, for the message
/// @throws Failure with STATUS_USAGE for a text that is no such number or a number outside the range
std::uint64_t ParseNumber(const std::string& aName, const std::string& aText, NumberRange aRange);

} // namespace KoTool
