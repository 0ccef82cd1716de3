#pragma once

#include <cstdint>

/// Parity of a serial line.
enum KoParity : std::int32_t
{
    KoParityNone = 0,
    KoParityEven = 1,
    KoParityOdd = 2,
};
