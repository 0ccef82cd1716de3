#pragma once

#include <KoSim/II2cSlave.h>
#include <KoSim/ISpiSlave.h>

#include <cstddef>
#include <cstdint>
#include <string>

namespace KoSim
{

/// "0A" for 10.
inline std::string ByteText(std::uint8_t aByte)
{
    constexpr const char* DIGITS = "0123456789ABCDEF";
    return {DIGITS[aByte >> 4], DIGITS[aByte & 0xF]};
}

/// Writes down what happens to it: "S" and "Sr" for a start to write and to read, "P" for a stop, bytes written, "?"
/// for a byte read. It answers 1, 2, 3 and so on.
class RecordingI2cSlave : public II2cSlave
{
public:
    bool Start(bool aRead, Time /*aNow*/) override
    {
        mLog += aRead ? "Sr " : "S ";
        return mAcknowledges;
    }
    bool Write(std::uint8_t aByte) override
    {
        mLog += ByteText(aByte) + " ";
        return mAcceptedBytes-- > 0;
    }
    std::uint8_t Read() override
    {
        mLog += "? ";
        return mNext++;
    }
    void Stop(Time aNow) override
    {
        mLog += "P ";
        mStopped = aNow;
    }

    std::string mLog;
    Time mStopped{0};
    bool mAcknowledges = true;
    int mAcceptedBytes = 1000;
    std::uint8_t mNext = 1;
};

/// Writes down what happens to it: "[" and "]" around what comes in while it is selected. It answers 1, 2, 3 and so on.
class RecordingSpiSlave : public ISpiSlave
{
public:
    void Select() override { mLog += "["; }
    std::uint8_t Exchange(std::uint8_t aByte, Time /*aNow*/) override
    {
        mLog += ByteText(aByte);
        return mNext++;
    }
    void Deselect(Time /*aNow*/) override { mLog += "]"; }

    std::string mLog;
    std::uint8_t mNext = 1;
};

} // namespace KoSim
