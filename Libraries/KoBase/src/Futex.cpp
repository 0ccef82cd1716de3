#include "Futex.h"

#include <cerrno>
#include <cstdio>
#include <cstdlib>

#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace KuUtilsLib
{
namespace
{

/// Whoever went on without the kernel would spin for ever, or leave others asleep.
[[noreturn]] void EndProcess()
{
    std::perror("KoBase: the kernel refuses the futex call");
    std::abort();
}

} // namespace

bool SleepWhile(std::atomic<std::uint32_t>& aWord, std::uint32_t aValue, const timespec* aDeadline)
{
    // Unlike the plain wait, this one takes the point at which it ends and not a length of time.
    const long woken =
        ::syscall(SYS_futex, &aWord, FUTEX_WAIT_BITSET_PRIVATE, aValue, aDeadline, nullptr, FUTEX_BITSET_MATCH_ANY);
    const bool hasTime = woken == 0 || errno != ETIMEDOUT;
    if (woken != 0 && hasTime && errno != EAGAIN && errno != EINTR)
    {
        EndProcess();
    }
    return hasTime;
}

void WakeSleepers(std::atomic<std::uint32_t>& aWord, int aCount)
{
    const long woken = ::syscall(SYS_futex, &aWord, FUTEX_WAKE_PRIVATE, aCount, nullptr, nullptr, 0);
    // Memory that was given back, or serves another kind of lock by now, has nobody to wake.
    if (woken < 0 && errno != EFAULT && errno != EINVAL)
    {
        EndProcess();
    }
}

} // namespace KuUtilsLib
