#pragma once

#include "RegisterReader.h"

#include <cstdint>
#include <string>

namespace KoTool
{

/// The numbers of sixteen columns, after row labels of that many digits:
/// "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f"
std::string FormatColumnNumbers(int aDigits);

/// The start of a row of sixteen columns: "50:"
std::string FormatRowLabel(std::uint32_t aOffset, int aDigits);

/// A cell of such a row: " 5f"
std::string FormatCell(std::uint8_t aByte);

/// Registers as rows of sixteen, under a line with column numbers, in hexadecimal and as text. A byte that cannot be
/// printed is a dot; a register that could not be read is XX, and X in the text. Rows begin at multiples of sixteen.
/// @param aStart offset of the first register
/// @param aRegisters one at least
std::string FormatHexDump(std::uint32_t aStart, const Registers& aRegisters);

} // namespace KoTool
