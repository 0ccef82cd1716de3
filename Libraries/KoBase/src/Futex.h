#pragma once

#include <atomic>
#include <cerrno>
#include <cstdint>
#include <ctime>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KuUtilsLib
{

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t) &&
                  std::atomic<std::uint32_t>::is_always_lock_free,
              "the kernel looks at the word itself");

/// Sleeps while a word has that value, until a wake or, without need, earlier.
/// @param aDeadline a point of CLOCK_MONOTONIC, or NULL for none
/// @return false when the time has run out
inline bool SleepWhile(std::atomic<std::uint32_t>& aWord, std::uint32_t aValue, const timespec* aDeadline)
{
    // Unlike the plain wait, this one takes the point at which it ends and not a length of time.
    const long woken =
        ::syscall(SYS_futex, &aWord, FUTEX_WAIT_BITSET_PRIVATE, aValue, aDeadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    return woken == 0 || errno != ETIMEDOUT;
}

/// Wakes threads that sleep on a word, at most aCount.
inline void WakeSleepers(std::atomic<std::uint32_t>& aWord, int aCount)
{
    ::syscall(SYS_futex, &aWord, FUTEX_WAKE_PRIVATE, aCount, nullptr, nullptr, 0);
}

} // namespace KuUtilsLib
