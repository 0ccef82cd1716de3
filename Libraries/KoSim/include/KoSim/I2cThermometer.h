#pragma once

#include <KoSim/II2cSlave.h>
#include <KoSim/KoSimExport.h>

#include <array>
#include <atomic>
#include <cstddef>
#include <cstdint>

namespace KoSim
{

/// A digital thermometer, as its kind is described in data sheets: a pointer register chooses among four others, which
/// are written and read most significant byte first.
///
/// | pointer | register | bytes | at power-up |
/// |---|---|---|---|
/// | 0 | temperature, read-only | 2 | |
/// | 1 | configuration; bit 0 stops the measuring | 1 | 0x00 |
/// | 2 | hysteresis | 2 | 0x4B00, 75 degrees |
/// | 3 | limit | 2 | 0x5000, 80 degrees |
///
/// Temperatures have the sign and the degrees (Celsius) in their first byte and a half degree in the top bit of the
/// second one. A read goes on with the first byte of the register after the last one.
class KO_SIM_API I2cThermometer : public II2cSlave
{
public:
    /// It measures 25 degrees.
    I2cThermometer();

    /// Makes it warmer or colder. Any thread may call this.
    /// @param aCelsius is rounded to half degrees and kept within -55 to 125
    void SetTemperature(double aCelsius);

    bool Start(bool aRead, Time aNow) override;
    bool Write(std::uint8_t aByte) override;
    std::uint8_t Read() override;
    void Stop(Time aNow) override;

private:
    struct Register
    {
        std::array<std::uint8_t, 2> mBytes;
        std::size_t mSize;
        std::array<std::uint8_t, 2> mWritable; ///< bits that a master can change
    };

    void Measure();

    std::array<Register, 4> mRegisters;
    std::atomic<std::int16_t> mHalfDegrees{0};
    bool mExpectsPointer = false;
    std::size_t mPointer = 0;
    std::size_t mByte = 0; ///< of the register, to be written or read next
};

} // namespace KoSim
