#include "HexDump.h"

#include <algorithm>
#include <array>
#include <cstdio>

namespace KoTool
{
namespace
{

constexpr std::uint32_t COLUMNS = 16;
constexpr const char* TEXT_MARGIN = "    ";

char ToText(std::optional<std::uint8_t> aRegister)
{
    if (!aRegister)
    {
        return 'X';
    }
    return *aRegister >= ' ' && *aRegister <= '~' ? static_cast<char>(*aRegister) : '.';
}

std::string ToCell(std::optional<std::uint8_t> aRegister)
{
    return aRegister ? FormatCell(*aRegister) : " XX";
}

/// An even number of digits, two at least, in which the offset can be written.
int GetDigits(std::uint32_t aOffset)
{
    int digits = 2;
    while (digits < 8 && aOffset >> (4 * digits) != 0)
    {
        digits += 2;
    }
    return digits;
}

/// The cells and the text of a row. What lies before the first one is blank, and so are cells after the last one.
std::string FormatRow(std::uint32_t aRow, std::uint32_t aStart, const Registers& aRegisters)
{
    std::string cells;
    std::string text;
    for (std::uint32_t offset = aRow; offset < aRow + COLUMNS; ++offset)
    {
        const bool isInside = offset >= aStart && offset - aStart < aRegisters.size();
        cells += isInside ? ToCell(aRegisters[offset - aStart]) : "   ";
        if (isInside)
        {
            text += ToText(aRegisters[offset - aStart]);
        }
        else if (offset < aStart)
        {
            text += ' ';
        }
    }
    return cells + TEXT_MARGIN + text;
}

} // namespace

std::string FormatColumnNumbers(int aDigits)
{
    std::string line(static_cast<std::size_t>(aDigits) + 1, ' ');
    for (const char digit : std::string("0123456789abcdef"))
    {
        line += std::string("  ") + digit;
    }
    return line;
}

std::string FormatRowLabel(std::uint32_t aOffset, int aDigits)
{
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), "%0*x:", aDigits, aOffset);
    return text.data();
}

std::string FormatCell(std::uint8_t aByte)
{
    std::array<char, 8> text{};
    std::snprintf(text.data(), text.size(), " %02x", static_cast<unsigned>(aByte));
    return text.data();
}

std::string FormatHexDump(std::uint32_t aStart, const Registers& aRegisters)
{
    const auto end = static_cast<std::uint32_t>(aStart + aRegisters.size());
    const int digits = GetDigits(end - 1);
    std::string dump = FormatColumnNumbers(digits) + TEXT_MARGIN + "0123456789abcdef\n";
    for (std::uint32_t row = aStart - aStart % COLUMNS; row < end; row += COLUMNS)
    {
        dump += FormatRowLabel(row, digits) + FormatRow(row, aStart, aRegisters) + '\n';
    }
    return dump;
}

} // namespace KoTool
