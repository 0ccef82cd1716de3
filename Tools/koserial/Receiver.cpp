#include "Receiver.h"

#include "OpenPort.h"
#include "OutputFile.h"

#include <algorithm>
#include <array>

namespace KoTool
{
namespace
{

constexpr std::uint32_t POLL_PERIOD_MS = 20;

} // namespace

Receiver::Receiver(OpenPort& aPort, OutputFile& aOutput, std::uint64_t aLimit)
    : mPort(aPort),
      mOutput(aOutput),
      mLimit(aLimit)
{
}

void Receiver::Run()
{
    auto lastByte = Clock::now();
    while (!IsFull() && !IsQuiet(lastByte))
    {
        if (Transfer(POLL_PERIOD_MS))
        {
            lastByte = Clock::now();
        }
    }
    const std::uint64_t last = GetReceived() + mPort.GetBytesReady();
    while (!IsFull() && GetReceived() < last && Transfer(0))
    {
    }
}

void Receiver::Finish(std::uint32_t aQuietMs)
{
    mQuietMs.store(aQuietMs);
    mFinishFrom.store(Clock::now());
}

bool Receiver::IsQuiet(Clock::time_point aLastByte) const
{
    const Clock::time_point finishFrom = mFinishFrom.load();
    if (finishFrom == Clock::time_point::max())
    {
        return false;
    }
    return Clock::now() - std::max(aLastByte, finishFrom) >= std::chrono::milliseconds(mQuietMs.load());
}

bool Receiver::Transfer(std::uint32_t aTimeoutMs)
{
    std::array<std::uint8_t, 4096> buffer{};
    const std::uint64_t wanted = std::min<std::uint64_t>(buffer.size(), mLimit - GetReceived());
    const std::uint32_t count = mPort.Read(buffer.data(), static_cast<std::uint32_t>(wanted), aTimeoutMs);
    if (count > 0)
    {
        mReceived.fetch_add(count, std::memory_order_relaxed);
        mOutput.Write(buffer.data(), count);
    }
    return count > 0;
}

} // namespace KoTool
