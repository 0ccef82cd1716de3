#pragma once

#include <KoSim/ILineEnd.h>

#include <algorithm>
#include <mutex>
#include <string>

namespace KoSim
{

/// A line that keeps what its far end sends.
class FakeLine : public ILine
{
public:
    explicit FakeLine(std::size_t aRoom = 1 << 20) : mRoom(aRoom) {}

    void Send(const std::uint8_t* aData, std::size_t aLength) override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mSent.append(reinterpret_cast<const char*>(aData), aLength);
        mRoom -= std::min(mRoom, aLength);
    }

    std::size_t GetRoom() override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mRoom;
    }

    void HoldBack(bool aHold) override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mHeldBack = aHold;
    }

    bool IsHeldBack()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mHeldBack;
    }

    void SetRoom(std::size_t aRoom)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mRoom = aRoom;
    }

    std::string GetSent()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mSent;
    }

    /// What was sent since the last call.
    std::string TakeSent()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        std::string sent;
        sent.swap(mSent);
        return sent;
    }

private:
    std::mutex mMutex;
    std::size_t mRoom;
    bool mHeldBack = false;
    std::string mSent;
};

/// Lets the device send a text to its far end.
inline void Receive(ILineEnd& aLineEnd, const std::string& aText)
{
    aLineEnd.Receive(reinterpret_cast<const std::uint8_t*>(aText.data()), aText.size());
}

} // namespace KoSim
