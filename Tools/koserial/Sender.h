#pragma once

#include "PieceSize.h"

#include <atomic>
#include <cstdint>

namespace KoTool
{

class InputFile;
class OpenPort;

/// Sends what an input holds, piece by piece. Run() has a thread of its own; the others may be called from any.
class Sender
{
public:
    Sender(OpenPort& aPort, InputFile& aInput) : mPort(aPort), mInput(aInput) {}

    /// Sends until the end of the input or Stop().
    /// @throws Failure
    void Run();

    /// Lets Run() return after the present piece.
    void Stop() { mStopping.store(true, std::memory_order_relaxed); }

    /// Number of bytes that went out in writes that have ended.
    std::uint64_t GetSent() const { return mSent.load(std::memory_order_relaxed); }

    /// Number of bytes that went out, those of the present write included.
    std::uint64_t GetProgress() const;

private:
    void SendPiece(const std::uint8_t* aData, std::uint32_t aSize);

    OpenPort& mPort;
    InputFile& mInput;
    PieceSize mPieceSize;
    std::atomic<std::uint64_t> mSent{0};
    std::atomic<bool> mStopping{false};
};

} // namespace KoTool
