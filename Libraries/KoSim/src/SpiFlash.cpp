#include <KoSim/SpiFlash.h>

#include <stdexcept>

namespace KoSim
{
namespace
{

constexpr std::uint8_t NO_COMMAND = 0x00;
constexpr std::uint8_t PAGE_PROGRAM = 0x02;
constexpr std::uint8_t READ = 0x03;
constexpr std::uint8_t WRITE_DISABLE = 0x04;
constexpr std::uint8_t READ_STATUS = 0x05;
constexpr std::uint8_t WRITE_ENABLE = 0x06;
constexpr std::uint8_t SECTOR_ERASE = 0x20;
constexpr std::uint8_t READ_ID = 0x9F;

constexpr std::uint8_t STATUS_BUSY = 0x01;
constexpr std::uint8_t STATUS_WRITE_ENABLED = 0x02;

constexpr std::array<std::uint8_t, 3> JEDEC_ID = {0xEF, 0x40, 0x14};

constexpr std::uint8_t ERASED_BYTE = 0xFF;

/// What a master reads while the chip drives nothing.
constexpr std::uint8_t IDLE = 0xFF;

constexpr std::size_t COMMAND_AND_ADDRESS = 4;

} // namespace

SpiFlash::SpiFlash(MemoryImage aMemory, const Timing& aTiming) : mMemory(std::move(aMemory)), mTiming(aTiming)
{
    if (mMemory.GetSize() != SIZE)
    {
        throw std::invalid_argument("the contents of a flash must have its size");
    }
}

void SpiFlash::Select()
{
    mCommand = NO_COMMAND;
    mByteCount = 0;
    mAddress = 0;
    mPage.clear();
}

std::uint8_t SpiFlash::Exchange(std::uint8_t aByte, Time aNow)
{
    if (mByteCount++ == 0)
    {
        const bool isBusy = aNow < mBusyUntil;
        mCommand = isBusy && aByte != READ_STATUS ? NO_COMMAND : aByte;
        return IDLE;
    }
    return Answer(aByte, aNow);
}

void SpiFlash::Deselect(Time aNow)
{
    switch (mCommand)
    {
    case WRITE_ENABLE:
        mWriteEnabled = true;
        break;
    case WRITE_DISABLE:
        mWriteEnabled = false;
        break;
    case PAGE_PROGRAM:
        ProgramPage(aNow);
        break;
    case SECTOR_ERASE:
        EraseSector(aNow);
        break;
    default:
        break;
    }
}

/// Takes a byte after the command and gives the one that comes out meanwhile.
std::uint8_t SpiFlash::Answer(std::uint8_t aByte, Time aNow)
{
    if (mCommand == READ_STATUS)
    {
        return GetStatus(aNow);
    }
    if (mCommand == READ_ID)
    {
        return JEDEC_ID.at((mByteCount - 2) % JEDEC_ID.size());
    }
    if (mByteCount <= COMMAND_AND_ADDRESS)
    {
        mAddress = (mAddress << 8 | aByte) % SIZE;
        return IDLE;
    }
    if (mCommand == READ)
    {
        const std::uint8_t byte = mMemory[mAddress];
        mAddress = (mAddress + 1) % SIZE;
        return byte;
    }
    if (mCommand == PAGE_PROGRAM)
    {
        mPage[mAddress] = aByte;
        mAddress = mAddress / PAGE_SIZE * PAGE_SIZE + (mAddress + 1) % PAGE_SIZE;
    }
    return IDLE;
}

std::uint8_t SpiFlash::GetStatus(Time aNow) const
{
    if (aNow < mBusyUntil)
    {
        return STATUS_BUSY | STATUS_WRITE_ENABLED;
    }
    return mWriteEnabled ? STATUS_WRITE_ENABLED : 0;
}

void SpiFlash::ProgramPage(Time aNow)
{
    if (!mWriteEnabled || mPage.empty())
    {
        return;
    }
    for (const auto& [address, byte] : mPage)
    {
        mMemory.Set(address, mMemory[address] & byte);
    }
    mWriteEnabled = false;
    mBusyUntil = aNow + mTiming.mPageProgram;
}

void SpiFlash::EraseSector(Time aNow)
{
    // A command with more or fewer bytes than it has is none.
    if (!mWriteEnabled || mByteCount != COMMAND_AND_ADDRESS)
    {
        return;
    }
    const std::size_t sector = mAddress / SECTOR_SIZE * SECTOR_SIZE;
    for (std::size_t address = sector; address < sector + SECTOR_SIZE; ++address)
    {
        mMemory.Set(address, ERASED_BYTE);
    }
    mWriteEnabled = false;
    mBusyUntil = aNow + mTiming.mSectorErase;
}

} // namespace KoSim
