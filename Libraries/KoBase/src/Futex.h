#pragma once

#include <atomic>
#include <cstdint>
#include <ctime>

namespace KuUtilsLib
{

static_assert(sizeof(std::atomic<std::uint32_t>) == sizeof(std::uint32_t) &&
                  std::atomic<std::uint32_t>::is_always_lock_free,
              "the kernel looks at the word itself");

/// Sleeps while a word has that value, until a wake or, without need, earlier. Ends the process with a message when the
/// kernel refuses to let it sleep.
/// @param aDeadline a point of CLOCK_MONOTONIC, or NULL for none
/// @return false when the time has run out
bool SleepWhile(std::atomic<std::uint32_t>& aWord, std::uint32_t aValue, const timespec* aDeadline);

/// Wakes threads that sleep on a word, at most aCount. The word itself may be gone: only its address counts. Ends the
/// process with a message when the kernel refuses the call.
void WakeSleepers(std::atomic<std::uint32_t>& aWord, int aCount);

} // namespace KuUtilsLib
