#include <KoSim/I2cEeprom.h>

#include <stdexcept>

namespace KoSim
{

I2cEeprom::I2cEeprom(const Kind& aKind, MemoryImage aMemory, Time aWriteTime)
    : mKind(aKind),
      mMemory(std::move(aMemory)),
      mWriteTime(aWriteTime)
{
    if (mMemory.GetSize() != mKind.mSize)
    {
        throw std::invalid_argument("the contents of an EEPROM must have its size");
    }
}

bool I2cEeprom::Start(bool aRead, Time aNow)
{
    mPending.clear();
    mAddressBytesLeft = aRead ? 0 : mKind.mAddressBytes;
    return aNow >= mBusyUntil;
}

bool I2cEeprom::Write(std::uint8_t aByte)
{
    if (mAddressBytesLeft > 0)
    {
        --mAddressBytesLeft;
        mAddress = (mAddress << 8 | aByte) & (mKind.mSize - 1);
        return true;
    }
    mPending[mAddress] = aByte;
    const std::size_t inPage = mKind.mPageSize - 1;
    mAddress = (mAddress & ~inPage) | ((mAddress + 1) & inPage);
    return true;
}

std::uint8_t I2cEeprom::Read()
{
    const std::uint8_t byte = mMemory[mAddress];
    mAddress = (mAddress + 1) & (mKind.mSize - 1);
    return byte;
}

void I2cEeprom::Stop(Time aNow)
{
    if (mPending.empty())
    {
        return;
    }
    for (const auto& [address, byte] : mPending)
    {
        mMemory.Set(address, byte);
    }
    mPending.clear();
    mBusyUntil = aNow + mWriteTime;
}

} // namespace KoSim
