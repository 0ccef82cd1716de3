#pragma once

#include "Bytes.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <vector>

namespace KoTool
{

/// Contents of registers that follow one another; nothing for one that could not be read.
using Registers = std::vector<std::optional<std::uint8_t>>;

/// Reads up to aCount registers from aFirst on: fewer when not all bytes have come in time.
using RegisterSource = std::function<Bytes(std::uint32_t aFirst, std::uint32_t aCount)>;

/// Reads registers in pieces of 256, up to four times where bytes are late. A piece of which nothing comes then is the
/// last one that is tried.
/// @throws Failure when a signal has come, and what aSource throws
Registers ReadRegisters(const RegisterSource& aSource, std::uint32_t aFirst, std::uint32_t aCount);

} // namespace KoTool
