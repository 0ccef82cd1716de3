#pragma once

#include "WaitUntil.h"

#include <KoDeviceSerialPort.h>
#include <KoSim/SimulatedDevice.h>
#include <KuUtilsLib/Logger.h>

#include <gtest/gtest.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>

/// Longer than any sound test waits for a byte.
constexpr std::uint32_t LONG_TIME_MS = 30000;

constexpr std::uint32_t REG_INTERRUPT_ENABLE = 0xB838;

/// Every byte value, many times over, in an order that tells places apart.
inline std::string MakeText(std::size_t aLength, std::uint32_t aSeed = 1)
{
    std::string text;
    std::uint32_t state = aSeed;
    for (std::size_t i = 0; i < aLength; ++i)
    {
        state = state * 1664525 + 1013904223;
        text += static_cast<char>(state >> 24);
    }
    return text;
}

inline KoResult Write(KoDeviceSerialPort& aPort, const std::string& aText, std::uint32_t& aBytesWritten)
{
    return aPort.Write(reinterpret_cast<const std::uint8_t*>(aText.data()), static_cast<std::uint32_t>(aText.size()),
                       aBytesWritten);
}

/// True when all of aText went out.
inline bool Write(KoDeviceSerialPort& aPort, const std::string& aText)
{
    std::uint32_t written = 0;
    return Write(aPort, aText, written).IsOK() && written == aText.size();
}

/// Reads aLength bytes; fewer when no more come within aTimeoutMs.
inline std::string Read(KoDeviceSerialPort& aPort, std::size_t aLength, std::uint32_t aTimeoutMs = LONG_TIME_MS)
{
    std::string text(aLength, '\0');
    std::size_t done = 0;
    while (done < aLength)
    {
        std::uint32_t count = 0;
        const KoResult result = aPort.Read(reinterpret_cast<std::uint8_t*>(text.data()) + done,
                                           static_cast<std::uint32_t>(aLength - done), count, aTimeoutMs);
        done += count;
        if (!result.IsOK())
        {
            break;
        }
    }
    text.resize(done);
    return text;
}

inline std::uint32_t GetBytesReady(KoDeviceSerialPort& aPort)
{
    std::uint32_t ready = 0;
    aPort.GetRxBytesReady(ready);
    return ready;
}

inline std::uint32_t ReadRegister(KoSim::SimulatedDevice& aDevice, std::uint32_t aAddress)
{
    std::uint32_t value = 0;
    EXPECT_TRUE(aDevice.ReadRegister(aAddress, &value).IsOK());
    return value;
}

inline KoSim::DeviceProfile WithId(const char* aId)
{
    KoSim::DeviceProfile profile;
    profile.mId = aId;
    return profile;
}

/// A far end that sends what it is told to, and tells what arrives.
class TestLineEnd : public KoSim::ILineEnd
{
public:
    /// aOnReceive, if given, runs with each byte that arrives, on the thread of the device.
    explicit TestLineEnd(std::function<void()> aOnReceive = nullptr) : mOnReceive(std::move(aOnReceive)) {}

    void Attach(KoSim::ILine& aLine) override { mLine = &aLine; }
    void Detach() override { mLine = nullptr; }
    void Receive(const std::uint8_t* /*aData*/, std::size_t aLength) override
    {
        for (std::size_t i = 0; mOnReceive && i < aLength; ++i)
        {
            mOnReceive();
        }
    }

    void Send(const std::string& aText)
    {
        mLine->Send(reinterpret_cast<const std::uint8_t*>(aText.data()), aText.size());
    }

    std::size_t GetRoom() { return mLine->GetRoom(); }

private:
    const std::function<void()> mOnReceive;
    KoSim::ILine* mLine = nullptr;
};

/// Keeps the expected failures of a test out of its output.
class QuietLog
{
public:
    QuietLog() { KuUtilsLib::Logger::SetLevel(KuUtilsLib::LOG_CRITICAL); }
    ~QuietLog() { KuUtilsLib::Logger::SetLevel(KuUtilsLib::LOG_WARNING); }
    QuietLog(const QuietLog&) = delete;
    QuietLog& operator=(const QuietLog&) = delete;
};
