#include <KoSim/I2cThermometer.h>

#include <algorithm>
#include <cmath>

namespace KoSim
{
namespace
{

constexpr std::size_t TEMPERATURE = 0;
constexpr std::size_t CONFIGURATION = 1;
constexpr std::uint8_t POINTER_BITS = 3;
constexpr std::uint8_t SHUTDOWN = 0x01;
constexpr double COLDEST = -55;
constexpr double WARMEST = 125;
constexpr int HALF_DEGREE_SHIFT = 7;

} // namespace

I2cThermometer::I2cThermometer()
    : mRegisters{{{{0x00, 0x00}, 2, {0x00, 0x00}},
                  {{0x00, 0x00}, 1, {0x1F, 0x00}},
                  {{0x4B, 0x00}, 2, {0xFF, 0x80}},
                  {{0x50, 0x00}, 2, {0xFF, 0x80}}}}
{
    SetTemperature(25);
}

void I2cThermometer::SetTemperature(double aCelsius)
{
    mHalfDegrees = static_cast<std::int16_t>(std::lround(2 * std::clamp(aCelsius, COLDEST, WARMEST)));
}

bool I2cThermometer::Start(bool aRead, Time /*aNow*/)
{
    mExpectsPointer = !aRead;
    mByte = 0;
    Measure();
    return true;
}

bool I2cThermometer::Write(std::uint8_t aByte)
{
    if (mExpectsPointer)
    {
        mPointer = aByte & POINTER_BITS;
        mExpectsPointer = false;
        return true;
    }
    Register& target = mRegisters.at(mPointer);
    if (mByte == target.mSize)
    {
        return false;
    }
    const std::uint8_t writable = target.mWritable.at(mByte);
    std::uint8_t& byte = target.mBytes.at(mByte++);
    byte = static_cast<std::uint8_t>((byte & ~writable) | (aByte & writable));
    return true;
}

std::uint8_t I2cThermometer::Read()
{
    const Register& source = mRegisters.at(mPointer);
    return source.mBytes.at(mByte++ % source.mSize);
}

void I2cThermometer::Stop(Time /*aNow*/) {}

/// Brings the temperature up to date, unless the measuring is stopped.
void I2cThermometer::Measure()
{
    if ((mRegisters[CONFIGURATION].mBytes[0] & SHUTDOWN) != 0)
    {
        return;
    }
    const auto word = static_cast<std::uint16_t>(static_cast<unsigned>(mHalfDegrees.load()) << HALF_DEGREE_SHIFT);
    mRegisters[TEMPERATURE].mBytes = {static_cast<std::uint8_t>(word >> 8), static_cast<std::uint8_t>(word)};
}

} // namespace KoSim
