#pragma once

#include <KoBaseExport.h>
#include <KuUtilsLib/Result.h>

#include <atomic>
#include <cstdint>

namespace KuUtilsLib
{

/// A lock between the threads of this process. Not recursive: a thread must not wait for a mutex that it owns.
///
/// Nothing enters the kernel unless two threads meet. A kernel that refuses its futex call, as a sandbox may tell it
/// to, ends the process with a message.
class KO_BASE_API Mutex
{
public:
    /// Creates a free mutex.
    /// @param aAlreadyExists set to false when not NULL: a mutex of this SDK is never shared by name
    /// @param aName a name for people; may be NULL; not kept
    Mutex(bool* aAlreadyExists, const char* aName);

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Blocks until the calling thread owns the mutex. Always succeeds.
    Result Wait()
    {
        std::uint32_t expected = FREE;
        if (!mState.compare_exchange_strong(expected, OWNED, std::memory_order_acquire, std::memory_order_relaxed))
        {
            Sleep();
        }
        return Result(0);
    }

    /// Gives the mutex up; only its owner may call this.
    void Release()
    {
        if (mState.exchange(FREE, std::memory_order_release) == AWAITED)
        {
            Wake();
        }
    }

private:
    enum State : std::uint32_t
    {
        FREE,
        OWNED,
        AWAITED, ///< owned, and somebody may sleep
    };

    void Sleep();
    void Wake();

    std::atomic<std::uint32_t> mState{FREE};
};

} // namespace KuUtilsLib
