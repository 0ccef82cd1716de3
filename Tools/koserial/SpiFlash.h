#pragma once

#include "Bytes.h"

#include <chrono>
#include <cstdint>
#include <functional>

namespace KoTool
{

class OpenSpiBus;

/// A NOR flash on an SPI bus, with the commands that such chips have in common: addresses of three bytes, pages of 256
/// bytes, sectors of 4 KiB that can be erased.
class SpiFlash
{
public:
    static constexpr std::uint32_t PAGE_SIZE = 256;
    static constexpr std::uint32_t SECTOR_SIZE = 4096;

    /// Number of bytes that three bytes of address reach.
    static constexpr std::uint32_t LARGEST_SIZE = 1U << 24;

    /// Writes bytes and then reads a number of bytes, in one transfer.
    using Transfer = std::function<Bytes(const Bytes& aData, std::uint32_t aReadLength)>;

    /// What the chip says that it is.
    struct Id
    {
        std::uint8_t mManufacturer;
        std::uint8_t mType;
        std::uint8_t mCapacity; ///< its size is 2 to the power of this, in bytes
        std::uint32_t mSize;
    };

    /// @param aBus must outlive the object
    explicit SpiFlash(OpenSpiBus& aBus);

    /// @param aTransfer how to reach the chip
    /// @param aLongestWrite most bytes that a transfer can write
    /// @param aPatience longest time that the chip may be busy
    SpiFlash(const Transfer& aTransfer, std::uint32_t aLongestWrite, std::chrono::milliseconds aPatience);

    /// @throws Failure, also when there is no chip or it does not tell its size
    Id ReadId();

    /// Number of bytes that can be reached.
    /// @throws Failure as ReadId() does
    std::uint32_t GetSize();

    /// @throws Failure when that many bytes from that address on are not all there
    void CheckRange(std::uint32_t aAddress, std::uint64_t aCount);

    Bytes Read(std::uint32_t aAddress, std::uint32_t aCount);

    /// Sets all bits of the sector that begins at that address. Blocks until the chip has done it.
    /// @throws Failure, also when that takes too long
    void EraseSector(std::uint32_t aAddress);

    /// Clears the bits of a page that are 0 in the data. Blocks until the chip has done it.
    /// @param aAddress where the page begins
    /// @param aPage PAGE_SIZE bytes
    /// @throws Failure, also when that takes too long
    void ProgramPage(std::uint32_t aAddress, const std::uint8_t* aPage);

private:
    void ProgramPiece(std::uint32_t aAddress, const std::uint8_t* aData);
    void EnableWriting();
    void AwaitIdle();

    const Transfer mTransfer;
    const std::uint32_t mPieceSize;
    const std::chrono::milliseconds mPatience;
};

} // namespace KoTool
