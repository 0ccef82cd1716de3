#include "RegisterReader.h"

#include "Interruption.h"

#include <algorithm>

namespace KoTool
{
namespace
{

/// Registers that are read in one piece; between two pieces the command can be interrupted.
constexpr std::uint32_t PIECE_SIZE = 256;

constexpr unsigned MOST_ATTEMPTS = 4;

/// What has come after the last attempt. An attempt goes on after what the one before it got.
Bytes ReadPiece(const RegisterSource& aSource, std::uint32_t aFirst, std::uint32_t aCount)
{
    Bytes piece;
    for (unsigned attempt = 0; piece.size() < aCount && attempt < MOST_ATTEMPTS; ++attempt)
    {
        Interruption::ThrowIfRequested();
        const auto done = static_cast<std::uint32_t>(piece.size());
        const Bytes part = aSource(aFirst + done, aCount - done);
        piece.insert(piece.end(), part.begin(), part.end());
    }
    return piece;
}

} // namespace

Registers ReadRegisters(const RegisterSource& aSource, std::uint32_t aFirst, std::uint32_t aCount)
{
    Registers registers;
    while (registers.size() < aCount)
    {
        const auto done = static_cast<std::uint32_t>(registers.size());
        const std::uint32_t wanted = std::min(PIECE_SIZE, aCount - done);
        const Bytes piece = ReadPiece(aSource, aFirst + done, wanted);
        registers.insert(registers.end(), piece.begin(), piece.end());
        registers.resize(piece.empty() ? aCount : done + wanted);
    }
    return registers;
}

} // namespace KoTool
