#include "Sender.h"

#include "InputFile.h"
#include "OpenPort.h"

#include <vector>

namespace KoTool
{
namespace
{

constexpr int POLL_PERIOD_MS = 50;

} // namespace

void Sender::Run()
{
    std::vector<std::uint8_t> buffer(PieceSize::LARGEST);
    while (!mStopping.load(std::memory_order_relaxed))
    {
        const std::optional<std::size_t> count = mInput.Read(buffer.data(), mPieceSize.Get(), POLL_PERIOD_MS);
        if (!count)
        {
            continue;
        }
        if (*count == 0)
        {
            return;
        }
        SendPiece(buffer.data(), static_cast<std::uint32_t>(*count));
    }
}

void Sender::SendPiece(const std::uint8_t* aData, std::uint32_t aSize)
{
    const auto start = std::chrono::steady_clock::now();
    std::uint32_t written = 0;
    try
    {
        mPort.Write(aData, aSize, written);
    }
    catch (...)
    {
        mSent.fetch_add(written, std::memory_order_relaxed);
        throw;
    }
    mSent.fetch_add(written, std::memory_order_relaxed);
    mPieceSize.Learn(aSize, std::chrono::steady_clock::now() - start);
}

std::uint64_t Sender::GetProgress() const
{
    // Before the first write has ended there may be none whose progress the port could tell.
    const std::uint64_t sent = GetSent();
    return sent == 0 ? 0 : sent + mPort.GetWriteProgress();
}

} // namespace KoTool
