#pragma once

#include "Check.h"

#include <FileDescriptor.h>

#include <boost/lockfree/spsc_queue.hpp>
#include <readerwriterqueue/readerwriterqueue.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <mutex>
#include <vector>

#include <fcntl.h>
#include <poll.h>

/// What bytes could go through instead of the library, with the members of the paths in ReceivePaths.h. Take() gives 0
/// when there is nothing; only those that the kernel knows can wait.

constexpr std::uint32_t RING_SIZE = 16384; ///< as the library's

/// The least that a receive path with two threads must do: a memcpy into a ring and one out of it, each under a lock.
/// STRIDE is the distance of the bytes in an event: 1, or 4 when each is a word of its own.
template <std::uint32_t STRIDE>
class LockedRing
{
public:
    explicit LockedRing(std::uint32_t aEventSize) : mEventSize(aEventSize), mEvent(std::size_t{aEventSize} * STRIDE) {}

    void Send()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const std::uint32_t toEnd = std::min(mEventSize, RING_SIZE - mHead);
        CopyIn(&mRing[mHead], mEvent.data(), toEnd);
        CopyIn(mRing.data(), mEvent.data() + std::size_t{toEnd} * STRIDE, mEventSize - toEnd);
        mHead = (mHead + mEventSize) % RING_SIZE;
        mUnread += mEventSize;
    }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        const std::uint32_t count = std::min(aSize, mUnread);
        const std::uint32_t toEnd = std::min(count, RING_SIZE - mTail);
        std::memcpy(aBuffer, &mRing[mTail], toEnd);
        std::memcpy(aBuffer + toEnd, mRing.data(), count - toEnd);
        mTail = (mTail + count) % RING_SIZE;
        mUnread -= count;
        return count;
    }

private:
    static void CopyIn(std::uint8_t* aTo, const std::uint8_t* aFrom, std::uint32_t aCount)
    {
        if constexpr (STRIDE == 1)
        {
            std::memcpy(aTo, aFrom, aCount);
        }
        else
        {
            for (std::uint32_t i = 0; i < aCount; ++i)
            {
                aTo[i] = aFrom[std::size_t{i} * STRIDE];
            }
        }
    }

    const std::uint32_t mEventSize;
    const std::vector<std::uint8_t> mEvent;
    std::mutex mMutex;
    std::array<std::uint8_t, RING_SIZE> mRing{};
    std::uint32_t mHead = 0;
    std::uint32_t mTail = 0;
    std::uint32_t mUnread = 0;
};

/// The same with what every Read does for the echo sinks: it takes one more lock, and reads the clock under it.
class EchoingRing : public LockedRing<1>
{
public:
    using LockedRing::LockedRing;

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        const std::uint32_t count = LockedRing::Take(aBuffer, aSize);
        const std::lock_guard<std::mutex> lock(mEchoMutex);
        mLastEcho = std::chrono::steady_clock::now();
        return count;
    }

private:
    std::mutex mEchoMutex;
    std::chrono::steady_clock::time_point mLastEcho;
};

/// boost::lockfree::spsc_queue, a whole event at a time.
class SpscPeer
{
public:
    explicit SpscPeer(std::uint32_t aEventSize) : mEvent(aEventSize) {}

    void Send() { mQueue.push(mEvent.data(), mEvent.size()); }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        return static_cast<std::uint32_t>(mQueue.pop(aBuffer, aSize));
    }

private:
    const std::vector<std::uint8_t> mEvent;
    boost::lockfree::spsc_queue<std::uint8_t, boost::lockfree::capacity<RING_SIZE>> mQueue;
};

/// moodycamel::ReaderWriterQueue, which takes one byte at a time.
class ReaderWriterPeer
{
public:
    explicit ReaderWriterPeer(std::uint32_t aEventSize) : mEvent(aEventSize) {}

    void Send()
    {
        for (const std::uint8_t byte : mEvent)
        {
            mQueue.try_enqueue(byte);
        }
    }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        std::uint32_t count = 0;
        while (count < aSize && mQueue.try_dequeue(aBuffer[count]))
        {
            ++count;
        }
        return count;
    }

private:
    const std::vector<std::uint8_t> mEvent;
    moodycamel::ReaderWriterQueue<std::uint8_t> mQueue{RING_SIZE};
};

/// Waits for bytes with poll, then reads them.
inline std::uint32_t PollAndRead(int aDescriptor, std::uint8_t* aBuffer, std::uint32_t aSize)
{
    pollfd polled{aDescriptor, POLLIN, 0};
    ::poll(&polled, 1, -1);
    const ssize_t count = ::read(aDescriptor, aBuffer, aSize);
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

/// A kernel pipe.
class PipePeer
{
public:
    explicit PipePeer(std::uint32_t aEventSize) : mEvent(aEventSize) {}

    void Send()
    {
        const ssize_t count = ::write(mWriteEnd.Get(), mEvent.data(), mEvent.size());
        Check(count == static_cast<ssize_t>(mEvent.size()), "cannot write to a pipe");
    }

    std::uint32_t Take(std::uint8_t* aBuffer, std::uint32_t aSize)
    {
        return PollAndRead(mReadEnd.Get(), aBuffer, aSize);
    }

private:
    static std::array<int, 2> MakePipe()
    {
        std::array<int, 2> ends = {-1, -1};
        Check(::pipe2(ends.data(), O_CLOEXEC) == 0, "cannot make a pipe");
        return ends;
    }

    const std::vector<std::uint8_t> mEvent;
    const std::array<int, 2> mEnds = MakePipe();
    const KoSim::FileDescriptor mReadEnd{mEnds[0], "no pipe"};
    const KoSim::FileDescriptor mWriteEnd{mEnds[1], "no pipe"};
};
