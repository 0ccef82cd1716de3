#pragma once

#include <KoBaseExport.h>
#include <KuUtilsLib/Result.h>

#include <atomic>
#include <climits>
#include <cstdint>

namespace KuUtilsLib
{

/// A flag that one thread sets and others wait for. Every operation may be called from any thread.
///
/// Nothing enters the kernel but a wait that must sleep, and a Set() that has somebody to wake. A kernel that refuses
/// its futex call, as a sandbox may tell it to, ends the process with a message.
class KO_BASE_API Event
{
public:
    /// Creates an event that is not set.
    /// @param aManualReset true: once set, the event stays set until Reset(); false: a successful wait resets it
    explicit Event(bool aManualReset) : mManualReset(aManualReset) {}

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Sets the event and wakes those who wait: all of them, or one when a wait resets the event. Always succeeds.
    ///
    /// A thread that was woken looks at the event again; a Reset() that comes before this look lets it sleep on, as if
    /// the event had never been set. Where every waiter must notice, reset only after each of them has answered.
    ///
    /// The last waiter may destroy the event as soon as its wait has succeeded, even while Set() still runs.
    Result Set()
    {
        // Nothing of the event is read any more once the signal can be seen: a waiter may have destroyed it.
        const int count = mManualReset ? INT_MAX : 1;
        if (mState.exchange(SET, std::memory_order_release) == AWAITED)
        {
            Wake(count);
        }
        return Result(0);
    }

    /// Takes the signal back; see Set() for those who were just woken. Always succeeds.
    Result Reset()
    {
        ReplaceSet(CLEAR);
        return Result(0);
    }

    /// Waits until the event is set, at most aTimeoutMs milliseconds of a monotonic clock; 0 only looks.
    /// @return OK when the event was set in time, TIMEOUT otherwise
    Result Wait_ms(std::uint32_t aTimeoutMs) { return Take(CLEAR) ? Result(0) : Sleep(aTimeoutMs); }

private:
    enum State : std::uint32_t
    {
        CLEAR,
        SET,
        AWAITED, ///< clear, and somebody may sleep
    };

    /// SET becomes aState; false when the state was another one.
    bool ReplaceSet(std::uint32_t aState)
    {
        std::uint32_t expected = SET;
        return mState.load(std::memory_order_relaxed) == SET &&
               mState.compare_exchange_strong(expected, aState, std::memory_order_acquire, std::memory_order_relaxed);
    }

    /// True when the event was set; unless that lasts, it is aState from now on.
    bool Take(std::uint32_t aState)
    {
        return mManualReset ? mState.load(std::memory_order_acquire) == SET : ReplaceSet(aState);
    }

    Result Sleep(std::uint32_t aTimeoutMs);
    void Wake(int aCount);

    const bool mManualReset;
    std::atomic<std::uint32_t> mState{CLEAR};
};

} // namespace KuUtilsLib
