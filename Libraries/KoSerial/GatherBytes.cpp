#include "GatherBytes.h"

#include "SerialRegisters.h"

#include <cstddef>
#include <cstring>

namespace KoSerialLib
{
namespace
{

constexpr std::uint32_t GATHER_BLOCK = 16; ///< words, the bytes of which make a vector

/// A register full of bytes, for the compilers' vector instructions.
using Vector = std::uint8_t __attribute__((vector_size(16)));

Vector LoadVector(const std::uint8_t* aFrom)
{
    Vector vector;
    std::memcpy(&vector, aFrom, sizeof(vector));
    return vector;
}

/// Every other byte, beginning with the first one.
Vector TakeEven(Vector aLow, Vector aHigh)
{
    return __builtin_shufflevector(aLow, aHigh, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}

/// Copies the first bytes of GATHER_BLOCK words.
void GatherBlock(std::uint8_t* aTo, const std::uint8_t* aFrom)
{
    const Vector low = TakeEven(LoadVector(aFrom), LoadVector(aFrom + 16));
    const Vector high = TakeEven(LoadVector(aFrom + 32), LoadVector(aFrom + 48));
    const Vector bytes = TakeEven(low, high);
    std::memcpy(aTo, &bytes, sizeof(bytes));
}

} // namespace

void GatherBytes(std::uint8_t* aTo, const std::uint8_t* aFrom, std::uint32_t aCount, std::uint32_t aStride)
{
    if (aStride == 1)
    {
        std::memcpy(aTo, aFrom, aCount);
        return;
    }
    std::uint32_t done = 0;
    for (; aCount - done >= GATHER_BLOCK; done += GATHER_BLOCK)
    {
        GatherBlock(aTo + done, aFrom + static_cast<std::size_t>(done) * WORD_SIZE);
    }
    for (; done < aCount; ++done)
    {
        aTo[done] = aFrom[static_cast<std::size_t>(done) * WORD_SIZE];
    }
}

} // namespace KoSerialLib
