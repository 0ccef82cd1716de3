#pragma once

#include <KoSim/ISpiSlave.h>
#include <KoSim/KoSimExport.h>
#include <KoSim/MemoryImage.h>

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

namespace KoSim
{

/// A NOR flash of 1 MiB, as its kind is described in data sheets.
///
/// | command | bytes after it | effect |
/// |---|---|---|
/// | 0x9F | | answers EF 40 14 |
/// | 0x03 | address, 3 bytes | answers the memory from there, wrapping at its end |
/// | 0x05 | | answers the status: bit 0 busy, bit 1 write enabled |
/// | 0x06, 0x04 | | enables and disables writing |
/// | 0x02 | address, data | clears bits of one page of 256 bytes, at whose end the address wraps |
/// | 0x20 | address | sets every bit of the sector of 4096 bytes |
///
/// The last two begin when chip select becomes inactive and take their time; meanwhile the chip answers its status
/// only. They need writing to be enabled, and disable it.
class KO_SIM_API SpiFlash : public ISpiSlave
{
public:
    static constexpr std::size_t SIZE = 1U << 20;
    static constexpr std::size_t PAGE_SIZE = 256;
    static constexpr std::size_t SECTOR_SIZE = 4096;

    /// How long the memory takes.
    struct Timing
    {
        Time mPageProgram = std::chrono::microseconds(700);
        Time mSectorErase = std::chrono::milliseconds(45);
    };

    /// @param aMemory its contents
    /// @throws std::invalid_argument when the contents do not have SIZE bytes
    SpiFlash(MemoryImage aMemory, const Timing& aTiming);

    void Select() override;
    std::uint8_t Exchange(std::uint8_t aByte, Time aNow) override;
    void Deselect(Time aNow) override;

private:
    std::uint8_t Answer(std::uint8_t aByte, Time aNow);
    std::uint8_t GetStatus(Time aNow) const;
    void ProgramPage(Time aNow);
    void EraseSector(Time aNow);

    MemoryImage mMemory;
    const Timing mTiming;
    std::uint8_t mCommand = 0;
    std::size_t mByteCount = 0; ///< since chip select became active
    std::size_t mAddress = 0;
    std::map<std::size_t, std::uint8_t> mPage{}; ///< bytes to program, by address
    bool mWriteEnabled = false;
    Time mBusyUntil{0};
};

} // namespace KoSim
