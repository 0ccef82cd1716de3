#pragma once

#include <cstdint>

namespace KoSerialLib
{

/// Copies aCount bytes that lie aStride bytes apart, 1 or 4, to one run of bytes. All aStride bytes of each must be
/// there.
void GatherBytes(std::uint8_t* aTo, const std::uint8_t* aFrom, std::uint32_t aCount, std::uint32_t aStride);

} // namespace KoSerialLib
