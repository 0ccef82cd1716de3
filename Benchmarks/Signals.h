#pragma once

#include "Peers.h"
#include "ReceivePaths.h"

#include <atomic>
#include <chrono>
#include <climits>
#include <condition_variable>
#include <cstdint>
#include <mutex>

#include <linux/futex.h>
#include <sys/syscall.h>

/// The ways to wake another thread. Each has Send() and, for the thread that is to be woken, Wait().

/// A device event with one byte, and a Read that waits for it.
class PortSignal
{
public:
    void Send() { mPath.Send(); }

    void Wait()
    {
        std::array<std::uint8_t, 4> bytes{};
        Check(mPath.Take(bytes.data(), bytes.size()) == 1, "a Read was not woken");
    }

private:
    UartPath mPath{1};
};

/// The kernel's own way: the limit.
class FutexSignal
{
public:
    void Send()
    {
        mSet.store(1, std::memory_order_release);
        Call(FUTEX_WAKE_PRIVATE, 1);
    }

    void Wait()
    {
        while (mSet.load(std::memory_order_acquire) == 0)
        {
            Call(FUTEX_WAIT_PRIVATE, 0);
        }
        mSet.store(0, std::memory_order_relaxed);
    }

private:
    void Call(int aOperation, std::uint32_t aValue) { ::syscall(SYS_futex, &mSet, aOperation, aValue, nullptr); }

    std::atomic<std::uint32_t> mSet{0};
};

/// An event as one would write it with the standard library.
class ConditionSignal
{
public:
    void Send()
    {
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mSet = true;
        }
        mCondition.notify_all();
    }

    void Reset()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mSet = false;
    }

    /// Waits without taking the signal back.
    bool WaitUntilSet(std::uint32_t aTimeoutMs)
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(aTimeoutMs);
        std::unique_lock<std::mutex> lock(mMutex);
        return mCondition.wait_until(lock, deadline, [this] { return mSet; });
    }

    void Wait()
    {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(READ_TIMEOUT_MS);
        std::unique_lock<std::mutex> lock(mMutex);
        Check(mCondition.wait_until(lock, deadline, [this] { return mSet; }), "a wait was not woken");
        mSet = false;
    }

private:
    std::mutex mMutex;
    std::condition_variable mCondition;
    bool mSet = false;
};

/// A pipe with poll.
class PipeSignal
{
public:
    void Send() { mPipe.Send(); }

    void Wait()
    {
        std::uint8_t byte = 0;
        Check(mPipe.Take(&byte, 1) == 1, "a pipe was not readable");
    }

private:
    PipePeer mPipe{1};
};
