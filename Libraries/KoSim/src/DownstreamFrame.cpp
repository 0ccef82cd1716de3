#include "DownstreamFrame.h"

#include <algorithm>

namespace KoSim
{
namespace
{

constexpr std::size_t BULK_HEADER_SIZE = 8;
constexpr std::size_t SPI_HEADER_SIZE = 12;
constexpr std::uint32_t SPI_COMMAND_SIZE = 4;
constexpr std::uint32_t CONTROL_RESERVED = 0x0FFFFFFF;

std::uint32_t LoadHeaderWord(const std::uint8_t* aData, bool aBigEndian)
{
    std::uint32_t word = 0;
    for (std::uint32_t i = 0; i < 4; ++i)
    {
        word |= std::uint32_t{aData[i]} << 8 * (aBigEndian ? 3 - i : i);
    }
    return word;
}

/// True when a frame of aLength bytes is what a header and aPayload bytes, padded, take.
bool Matches(std::size_t aLength, std::size_t aHeader, std::uint64_t aPayload)
{
    return (aHeader + aPayload + 3) / 4 * 4 == aLength;
}

} // namespace

std::optional<DownstreamFrame> ParseBulkFrame(const std::uint8_t* aData, std::size_t aLength, bool aBigEndian)
{
    if (aLength < BULK_HEADER_SIZE)
    {
        return std::nullopt;
    }
    DownstreamFrame frame;
    frame.mControl = LoadHeaderWord(aData, aBigEndian);
    const std::uint32_t payload = LoadHeaderWord(aData + 4, aBigEndian);
    if ((frame.mControl & CONTROL_RESERVED) != 0 || !Matches(aLength, BULK_HEADER_SIZE, payload))
    {
        return std::nullopt;
    }
    frame.mPayload.assign(aData + BULK_HEADER_SIZE, aData + BULK_HEADER_SIZE + payload);
    return frame;
}

std::optional<DownstreamFrame> ParseSpiFrame(const std::uint8_t* aData, std::size_t aLength, bool aBigEndian)
{
    if (aLength < SPI_HEADER_SIZE || LoadHeaderWord(aData, aBigEndian) != 0)
    {
        return std::nullopt;
    }
    const std::uint32_t counted = LoadHeaderWord(aData + 4, aBigEndian);
    if (counted < SPI_COMMAND_SIZE || !Matches(aLength, SPI_HEADER_SIZE, counted - SPI_COMMAND_SIZE))
    {
        return std::nullopt;
    }
    const std::uint8_t* const payload = aData + SPI_HEADER_SIZE;
    const std::uint8_t* const payloadEnd = payload + (counted - SPI_COMMAND_SIZE);
    const bool paddingIsZero = std::all_of(payloadEnd, aData + aLength, [](std::uint8_t aByte) { return aByte == 0; });

    DownstreamFrame frame;
    frame.mPayload.assign(payload, payloadEnd);
    frame.mSimultaneous = aData[10] != 0;
    frame.mReadCount = aData[9];
    frame.mSpiControl = aData[11] != 0;
    const auto count = static_cast<std::uint8_t>(frame.mPayload.size());
    const bool countsMatch =
        frame.mSimultaneous ? aData[8] == 0 && aData[9] == 0 && aData[10] == count : aData[8] == count;
    if (!paddingIsZero || !countsMatch || aData[11] > 1)
    {
        return std::nullopt;
    }
    return frame;
}

} // namespace KoSim
