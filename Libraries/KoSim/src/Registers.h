#pragma once

#include <cstdint>

namespace KoSim
{

/// The serial register block of the device.
constexpr std::uint32_t REG_INTERRUPT_ENABLE = 0xB838;
constexpr std::uint32_t REG_UART0_DATA = 0xB84C;
constexpr std::uint32_t REG_UART1_DATA = 0xB850;
constexpr std::uint32_t REG_FUNCTION_CAPS = 0xB8FC;

/// Bits of REG_INTERRUPT_ENABLE and of the status word of an event. Those of UART1 lie UART_INTERRUPT_BITS higher.
constexpr std::uint32_t INTERRUPT_UART_TX = 0x1;
constexpr std::uint32_t INTERRUPT_UART_RX = 0x2;
constexpr std::uint32_t UART_INTERRUPT_BITS = 2;

/// Bits of the data registers, read.
constexpr std::uint32_t UART_DATA_RX_VALID = 0x00010000;
constexpr std::uint32_t UART_DATA_TX_BUSY = 0x00800000;

constexpr std::uint32_t FUNCTION_CAPS_IMPLEMENTED = 0x80000000;

constexpr std::uint16_t EVENT_SERIAL_INTERRUPT = 0x9000;

} // namespace KoSim
