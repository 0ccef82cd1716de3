#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace KoSim
{

/// What a host has written into the downstream register of a bulk port, taken apart.
struct DownstreamFrame
{
    std::vector<std::uint8_t> mPayload;

    /// @name Bulk and I2C frames
    /// @{
    std::uint32_t mControl = 0; ///< option flags in bits 31 to 28
    /// @}
    /// @name SPI frames
    /// @{
    std::uint8_t mReadCount = 0; ///< bytes to clock back after the payload
    bool mSimultaneous = false;  ///< clocks a byte back for each byte of the payload
    bool mSpiControl = false;
    /// @}
};

/// Parses a bulk or I2C frame: control word, payload length, payload, padding up to a multiple of 4.
/// @return nothing when the frame is malformed: reserved bits set, or a length that does not match
std::optional<DownstreamFrame> ParseBulkFrame(const std::uint8_t* aData, std::size_t aLength, bool aBigEndian);

/// Parses an SPI frame: zero word, payload length + 4, write, read and simultaneous count, control byte, payload,
/// padding of zeros up to a multiple of 4.
/// @return nothing when the frame is malformed: a reserved word or padding that is not zero, or counts and length that
/// do
///         not match
std::optional<DownstreamFrame> ParseSpiFrame(const std::uint8_t* aData, std::size_t aLength, bool aBigEndian);

} // namespace KoSim
