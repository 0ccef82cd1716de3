#include "SectorWrite.h"

#include "Failure.h"
#include "SpiFlash.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <string>

namespace KoTool
{
namespace
{

constexpr std::uint8_t ERASED = 0xFF;

bool MustErase(const Bytes& aPresent, const Bytes& aWanted)
{
    return !std::equal(aPresent.begin(), aPresent.end(), aWanted.begin(),
                       [](std::uint8_t aOld, std::uint8_t aNew) { return (aOld & aNew) == aNew; });
}

void ProgramChangedPages(SpiFlash& aFlash, std::uint32_t aSector, const Bytes& aPresent, const Bytes& aWanted)
{
    for (std::uint32_t offset = 0; offset < SpiFlash::SECTOR_SIZE; offset += SpiFlash::PAGE_SIZE)
    {
        const std::uint8_t* const page = aWanted.data() + offset;
        if (!std::equal(page, page + SpiFlash::PAGE_SIZE, aPresent.data() + offset))
        {
            aFlash.ProgramPage(aSector + offset, page);
        }
    }
}

void Verify(SpiFlash& aFlash, std::uint32_t aSector, const Bytes& aWanted)
{
    const Bytes written = aFlash.Read(aSector, SpiFlash::SECTOR_SIZE);
    const auto [found, wanted] = std::mismatch(written.begin(), written.end(), aWanted.begin());
    if (found == written.end())
    {
        return;
    }
    std::array<char, 16> address{};
    std::snprintf(address.data(), address.size(), "0x%06x",
                  static_cast<unsigned>(aSector + static_cast<std::uint32_t>(found - written.begin())));
    throw Failure("the flash holds " + FormatByte(*found) + " instead of " + FormatByte(*wanted) + " at " +
                  address.data() + " after writing");
}

} // namespace

bool WriteIntoSector(SpiFlash& aFlash, std::uint32_t aAddress, const Bytes& aData)
{
    const std::uint32_t offset = aAddress % SpiFlash::SECTOR_SIZE;
    const std::uint32_t sector = aAddress - offset;
    Bytes present = aFlash.Read(sector, SpiFlash::SECTOR_SIZE);
    Bytes wanted = present;
    std::copy(aData.begin(), aData.end(), wanted.begin() + offset);
    if (wanted == present)
    {
        return false;
    }
    if (MustErase(present, wanted))
    {
        aFlash.EraseSector(sector);
        present.assign(SpiFlash::SECTOR_SIZE, ERASED);
    }
    ProgramChangedPages(aFlash, sector, present, wanted);
    Verify(aFlash, sector, wanted);
    return true;
}

} // namespace KoTool
