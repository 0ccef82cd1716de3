#include "SpiFlash.h"

#include "Failure.h"
#include "OpenSpiBus.h"

#include <algorithm>
#include <string>
#include <thread>

namespace KoTool
{
namespace
{

constexpr std::uint8_t PAGE_PROGRAM = 0x02;
constexpr std::uint8_t READ = 0x03;
constexpr std::uint8_t READ_STATUS = 0x05;
constexpr std::uint8_t WRITE_ENABLE = 0x06;
constexpr std::uint8_t SECTOR_ERASE = 0x20;
constexpr std::uint8_t READ_ID = 0x9F;

constexpr std::uint8_t STATUS_BUSY = 0x01;

constexpr std::uint32_t COMMAND_SIZE = 4;
constexpr std::uint32_t LONGEST_READ = 255;

/// 64 KiB and 2 GiB.
constexpr std::uint8_t SMALLEST_CAPACITY = 0x10;
constexpr std::uint8_t LARGEST_CAPACITY = 0x1F;

/// The slowest chips take some hundred milliseconds to erase a sector.
constexpr auto PATIENCE = std::chrono::seconds(5);
constexpr auto POLL_PERIOD = std::chrono::milliseconds(1);

Bytes MakeCommand(std::uint8_t aCommand, std::uint32_t aAddress)
{
    return {aCommand, static_cast<std::uint8_t>(aAddress >> 16), static_cast<std::uint8_t>(aAddress >> 8),
            static_cast<std::uint8_t>(aAddress)};
}

/// The largest part of a page, with a power of two of them in it, that fits in a transfer after the command.
std::uint32_t GetPieceSize(std::uint32_t aLongestWrite)
{
    std::uint32_t size = SpiFlash::PAGE_SIZE;
    while (size > 1 && COMMAND_SIZE + size > aLongestWrite)
    {
        size /= 2;
    }
    return size;
}

} // namespace

SpiFlash::SpiFlash(OpenSpiBus& aBus)
    : SpiFlash([&aBus](const Bytes& aData, std::uint32_t aReadLength) { return aBus.Transfer(aData, aReadLength); },
               aBus.GetLongestWrite(), PATIENCE)
{
}

SpiFlash::SpiFlash(const Transfer& aTransfer, std::uint32_t aLongestWrite, std::chrono::milliseconds aPatience)
    : mTransfer(aTransfer),
      mPieceSize(GetPieceSize(aLongestWrite)),
      mPatience(aPatience)
{
}

SpiFlash::Id SpiFlash::ReadId()
{
    const Bytes id = mTransfer({READ_ID}, 3);
    const bool isSilent = std::count(id.begin(), id.end(), id.front()) == 3;
    if (isSilent)
    {
        throw Failure("no flash answers: its id would be " + FormatBytes(id));
    }
    const std::uint8_t capacity = id[2];
    if (capacity < SMALLEST_CAPACITY || capacity > LARGEST_CAPACITY)
    {
        throw Failure("the id of the flash does not tell its size: " + FormatBytes(id));
    }
    return {id[0], id[1], capacity, 1U << capacity};
}

std::uint32_t SpiFlash::GetSize()
{
    return std::min(ReadId().mSize, LARGEST_SIZE);
}

void SpiFlash::CheckRange(std::uint32_t aAddress, std::uint64_t aCount)
{
    const std::uint32_t size = GetSize();
    if (aAddress > size || aCount > size - aAddress)
    {
        throw Failure(std::to_string(aCount) + " bytes at address " + std::to_string(aAddress) +
                      " would go beyond the end of the flash at " + std::to_string(size));
    }
}

Bytes SpiFlash::Read(std::uint32_t aAddress, std::uint32_t aCount)
{
    Bytes bytes;
    while (bytes.size() < aCount)
    {
        const auto done = static_cast<std::uint32_t>(bytes.size());
        const Bytes part = mTransfer(MakeCommand(READ, aAddress + done), std::min(LONGEST_READ, aCount - done));
        bytes.insert(bytes.end(), part.begin(), part.end());
    }
    return bytes;
}

void SpiFlash::EraseSector(std::uint32_t aAddress)
{
    EnableWriting();
    mTransfer(MakeCommand(SECTOR_ERASE, aAddress), 0);
    AwaitIdle();
}

void SpiFlash::ProgramPage(std::uint32_t aAddress, const std::uint8_t* aPage)
{
    for (std::uint32_t done = 0; done < PAGE_SIZE; done += mPieceSize)
    {
        ProgramPiece(aAddress + done, aPage + done);
    }
}

void SpiFlash::ProgramPiece(std::uint32_t aAddress, const std::uint8_t* aData)
{
    Bytes command = MakeCommand(PAGE_PROGRAM, aAddress);
    command.reserve(command.size() + mPieceSize);
    command.insert(command.end(), aData, aData + mPieceSize);
    EnableWriting();
    mTransfer(command, 0);
    AwaitIdle();
}

void SpiFlash::EnableWriting()
{
    mTransfer({WRITE_ENABLE}, 0);
}

void SpiFlash::AwaitIdle()
{
    const auto deadline = std::chrono::steady_clock::now() + mPatience;
    while ((mTransfer({READ_STATUS}, 1).front() & STATUS_BUSY) != 0)
    {
        if (std::chrono::steady_clock::now() >= deadline)
        {
            throw Failure("the flash is still busy after " + std::to_string(mPatience.count()) + " ms");
        }
        std::this_thread::sleep_for(POLL_PERIOD);
    }
}

} // namespace KoTool
