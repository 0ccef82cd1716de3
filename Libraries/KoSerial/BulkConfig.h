#pragma once

#include <cstdint>

namespace KoSerialLib
{

/// Bits of DEV_REG_BULK_0_CONFIG.
constexpr std::uint32_t BULK_CONFIG_DOUBLE_TIME = 0x400;
constexpr std::uint32_t BULK_CONFIG_RESET = 0x800;
constexpr std::uint32_t BULK_CONFIG_RATE_SHIFT = 5;
constexpr std::uint32_t BULK_CONFIG_INTERFACE_SHIFT = 12;
constexpr std::uint32_t BULK_CONFIG_RESERVE_SHIFT = 24;
constexpr std::uint32_t BULK_CONFIG_FIELD_MASK = 7;

/// Its interface field.
constexpr std::uint32_t BULK_INTERFACE_USRT = 0;
constexpr std::uint32_t BULK_INTERFACE_UART = 1;
constexpr std::uint32_t BULK_INTERFACE_I2C = 2;

/// For an interface that is not known.
constexpr double DEFAULT_TIME_PER_BYTE_MS = 0.03000000003;

} // namespace KoSerialLib
