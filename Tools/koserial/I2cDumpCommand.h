#pragma once

#include "I2cOptions.h"

#include <cstdint>
#include <optional>

namespace KoTool
{

class OpenI2cBus;

struct DumpOptions : I2cOptions
{
    std::uint32_t mStart = 0;
    std::optional<std::uint32_t> mCount;
};

/// Prints aCount registers of a slave, also when not all of them could be read.
/// @throws Failure when not all could be read; nothing is printed when none could
void DumpRegisters(OpenI2cBus& aBus, const DumpOptions& aOptions, std::uint32_t aCount);

} // namespace KoTool
