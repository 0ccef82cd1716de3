#pragma once

#include "Bytes.h"

#include <cstdint>

namespace KoTool
{

class SpiFlash;

/// Writes bytes into one sector of a flash and keeps the others there. It erases the sector only when a bit must become
/// 1 again, programs only the pages that change, and reads the sector back.
/// @param aAddress where the first byte goes
/// @param aData no more bytes than there are up to the end of the sector
/// @return false when everything was there already, so that nothing was written
/// @throws Failure, also when what is read back differs
bool WriteIntoSector(SpiFlash& aFlash, std::uint32_t aAddress, const Bytes& aData);

} // namespace KoTool
