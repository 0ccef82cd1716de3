#pragma once

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <string>

/// "0xB84C" for 0xB84C.
inline std::string HexText(std::uint32_t aValue)
{
    char text[16];
    std::snprintf(text, sizeof(text), "0x%X", aValue);
    return text;
}

/// "41 0A" for two bytes; "" for none.
inline std::string HexText(const std::uint8_t* aData, std::size_t aLength)
{
    std::string text;
    for (std::size_t i = 0; i < aLength; ++i)
    {
        char byte[8];
        std::snprintf(byte, sizeof(byte), i == 0 ? "%02X" : " %02X", aData[i]);
        text += byte;
    }
    return text;
}
