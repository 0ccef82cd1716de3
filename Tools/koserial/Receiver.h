#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>

namespace KoTool
{

class OpenPort;
class OutputFile;

/// Writes out what a port receives. Run() has a thread of its own; the others may be called from any.
class Receiver
{
public:
    static constexpr std::uint64_t UNLIMITED = std::numeric_limits<std::uint64_t>::max();

    Receiver(OpenPort& aPort, OutputFile& aOutput, std::uint64_t aLimit = UNLIMITED);

    /// Writes out received bytes, up to the limit, until Finish(). What has been received by then is always written.
    /// @throws Failure
    void Run();

    /// Lets Run() return when nothing has come for that many milliseconds from now on; 0 lets it return at once.
    void Finish(std::uint32_t aQuietMs);

    /// Number of bytes that were received.
    std::uint64_t GetReceived() const { return mReceived.load(std::memory_order_relaxed); }

private:
    using Clock = std::chrono::steady_clock;

    bool IsFull() const { return GetReceived() >= mLimit; }
    bool IsQuiet(Clock::time_point aLastByte) const;
    bool Transfer(std::uint32_t aTimeoutMs);

    OpenPort& mPort;
    OutputFile& mOutput;
    const std::uint64_t mLimit;
    std::atomic<std::uint64_t> mReceived{0};
    std::atomic<std::uint32_t> mQuietMs{0};
    std::atomic<Clock::time_point> mFinishFrom{Clock::time_point::max()};
};

} // namespace KoTool
