#pragma once

#include <KuUtilsLib/Logger.h>

#include <cstdint>
#include <cstring>

class IKoDeviceAdapter;

namespace KoSerialLib
{

/// Addresses in the serial register block of a device; every register is 32 bits wide.
constexpr std::uint32_t DEV_REG_INTENABLE = 0xB838;
constexpr std::uint32_t DEV_REG_UART0_DATA = 0xB84C;
constexpr std::uint32_t DEV_REG_UART1_DATA = 0xB850;
constexpr std::uint32_t DEV_REG_BULK_0_CONFIG = 0xB898;
constexpr std::uint32_t DEV_REG_FUNCTION_CAPS = 0xB8FC;
constexpr std::uint32_t DEV_REG_BULK_0_CLOCK_DIVIDER = 0xB954;
constexpr std::uint32_t DEV_REG_BULK_0_3_CONFIG = 0xB95C;

/// Fields of DEV_REG_FUNCTION_CAPS.
constexpr std::uint32_t FUNCTION_CAPS_IMPLEMENTED = 0x80000000;
constexpr std::uint32_t FUNCTION_CAPS_BULK_0 = 0x00000030;
constexpr std::uint32_t FUNCTION_CAPS_UART_COUNT = 0x00000007;

/// Bits of DEV_REG_BULK_0_3_CONFIG that are both set when bulk port 0 can run I2C.
constexpr std::uint32_t BULK_0_3_CONFIG_I2C = 0x3;

/// Identifiers of the serial interrupt events. The UARTs use the first, bulk port 0 uses both.
constexpr std::uint16_t EVENT_SERIAL_INTERRUPT = 0x9000;
constexpr std::uint16_t EVENT_BULK_INTERRUPT = 0x9001;

constexpr std::uint32_t WORD_SIZE = sizeof(std::uint32_t);

/// The 32-bit word at aBytes, which may lie at any address.
inline std::uint32_t LoadWord(const std::uint8_t* aBytes)
{
    std::uint32_t word = 0;
    std::memcpy(&word, aBytes, sizeof(word));
    return word;
}

/// aValue with the bits of aMask set or cleared.
constexpr std::uint32_t WithBits(std::uint32_t aValue, std::uint32_t aMask, bool aSet)
{
    return aSet ? aValue | aMask : aValue & ~aMask;
}

/// How IsSupported() of the register engines begins: reads the function capabilities of a device that is connected
/// through one of the maker's video interfaces.
/// @param aDevice the device; NULL is refused
/// @param aLogger gets the reason for a refusal
/// @param[out] aCaps value of DEV_REG_FUNCTION_CAPS
/// @return false when the device has no usable register block
bool ReadFunctionCaps(IKoDeviceAdapter* aDevice, KuUtilsLib::Logger& aLogger, std::uint32_t& aCaps);

} // namespace KoSerialLib
