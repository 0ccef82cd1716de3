#pragma once

#include <cstdint>

namespace KoSim
{

/// The serial register block of the device.
constexpr std::uint32_t REG_INTERRUPT_ENABLE = 0xB838;
constexpr std::uint32_t REG_UART0_DATA = 0xB84C;
constexpr std::uint32_t REG_UART1_DATA = 0xB850;
constexpr std::uint32_t REG_BULK_0_CONFIG = 0xB898;
constexpr std::uint32_t REG_FUNCTION_CAPS = 0xB8FC;
constexpr std::uint32_t REG_BULK_0_CLOCK_DIVIDER = 0xB954;
constexpr std::uint32_t REG_BULK_0_3_CONFIG = 0xB95C;

/// Bits of REG_INTERRUPT_ENABLE and of the status word of an event. Those of UART1 lie UART_INTERRUPT_BITS higher.
constexpr std::uint32_t INTERRUPT_UART_TX = 0x1;
constexpr std::uint32_t INTERRUPT_UART_RX = 0x2;
constexpr std::uint32_t UART_INTERRUPT_BITS = 2;

constexpr std::uint32_t INTERRUPT_BULK_RX = 0x0700;
constexpr std::uint32_t INTERRUPT_BULK_TX_EMPTY = 0x0800;
constexpr std::uint32_t INTERRUPT_BULK_TX_PARTIAL = 0x1000;

/// Bits of the data registers, read.
constexpr std::uint32_t UART_DATA_RX_VALID = 0x00010000;
constexpr std::uint32_t UART_DATA_TX_BUSY = 0x00800000;

constexpr std::uint32_t BULK_CONFIG_RESET = 0x800;
constexpr std::uint32_t BULK_0_3_CONFIG_I2C = 0x3;

constexpr std::uint32_t FUNCTION_CAPS_IMPLEMENTED = 0x80000000;
constexpr std::uint32_t FUNCTION_CAPS_BULK_0 = 0x30;

constexpr std::uint16_t EVENT_SERIAL_INTERRUPT = 0x9000;
constexpr std::uint16_t EVENT_BULK_INTERRUPT = 0x9001;

} // namespace KoSim
