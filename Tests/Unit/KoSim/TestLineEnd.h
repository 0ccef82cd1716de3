#pragma once

#include "WaitUntil.h"

#include <KoSim/ILineEnd.h>

#include <functional>
#include <mutex>
#include <string>
#include <utility>

namespace KoSim
{

/// A far end that a test drives: keeps what arrives, sends what it is told to.
class TestLineEnd : public ILineEnd
{
public:
    /// aOnReceive, if given, runs with each piece that arrives, on the thread of the device.
    explicit TestLineEnd(std::function<void(const std::string&)> aOnReceive = nullptr)
        : mOnReceive(std::move(aOnReceive))
    {
    }

    void Attach(ILine& aLine) override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mLine = &aLine;
        ++mAttached;
    }

    void Detach() override
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mLine = nullptr;
        ++mDetached;
    }

    void Receive(const std::uint8_t* aData, std::size_t aLength) override
    {
        const std::string piece(reinterpret_cast<const char*>(aData), aLength);
        if (mOnReceive)
        {
            mOnReceive(piece);
        }
        const std::lock_guard<std::mutex> lock(mMutex);
        mReceived += piece;
    }

    /// Sends towards the device; the end must be attached.
    void Send(const std::string& aText)
    {
        mLine->Send(reinterpret_cast<const std::uint8_t*>(aText.data()), aText.size());
    }

    ILine& GetLine() { return *mLine; }

    std::string GetReceived()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mReceived;
    }

    bool WaitForReceived(const std::string& aText)
    {
        return WaitUntil([&] { return GetReceived() == aText; });
    }

    int GetAttached()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mAttached;
    }

    int GetDetached()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mDetached;
    }

private:
    const std::function<void(const std::string&)> mOnReceive;
    std::mutex mMutex;
    ILine* mLine = nullptr;
    std::string mReceived;
    int mAttached = 0;
    int mDetached = 0;
};

} // namespace KoSim
