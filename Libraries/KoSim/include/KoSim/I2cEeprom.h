#pragma once

#include <KoSim/II2cSlave.h>
#include <KoSim/KoSimExport.h>
#include <KoSim/MemoryImage.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>

namespace KoSim
{

/// A serial EEPROM, as its kind is described in data sheets.
///
/// A write begins with the memory address, most significant byte first; the bytes after it go into one page, at whose
/// end the address wraps to its beginning. The stop condition starts the write cycle, during which the chip does not
/// acknowledge; a repeated start instead drops the bytes. A read takes bytes from where the address counter stands, and
/// wraps at the end of the memory.
class KO_SIM_API I2cEeprom : public II2cSlave
{
public:
    /// What distinguishes one EEPROM from another.
    struct Kind
    {
        std::size_t mSize;         ///< bytes; a power of 2
        std::size_t mAddressBytes; ///< length of a memory address
        std::size_t mPageSize;     ///< bytes; a power of 2
    };

    /// 32 KiB with two-byte addresses and pages of 64 bytes.
    static constexpr Kind LARGE = {32768, 2, 64};

    /// 256 bytes with one-byte addresses and pages of 8 bytes.
    static constexpr Kind SMALL = {256, 1, 8};

    static constexpr Time TYPICAL_WRITE_TIME = std::chrono::milliseconds(5);

    /// @param aMemory its contents, of the size of its kind
    /// @param aWriteTime how long a write cycle takes
    /// @throws std::invalid_argument when the contents have another size
    I2cEeprom(const Kind& aKind, MemoryImage aMemory, Time aWriteTime = TYPICAL_WRITE_TIME);

    bool Start(bool aRead, Time aNow) override;
    bool Write(std::uint8_t aByte) override;
    std::uint8_t Read() override;
    void Stop(Time aNow) override;

private:
    const Kind mKind;
    MemoryImage mMemory;
    const Time mWriteTime;
    std::size_t mAddressBytesLeft = 0;              ///< of the write that is under way
    std::size_t mAddress = 0;                       ///< the address counter
    std::map<std::size_t, std::uint8_t> mPending{}; ///< bytes of the write that is under way, by address
    Time mBusyUntil{0};
};

} // namespace KoSim
