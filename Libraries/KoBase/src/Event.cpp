#include <KuUtilsLib/Event.h>

#include "Futex.h"

#include <KoResult.h>

namespace KuUtilsLib
{
namespace
{

timespec GetDeadline(std::uint32_t aTimeoutMs)
{
    constexpr long NS_PER_MS = 1000000;
    constexpr long NS_PER_SECOND = 1000000000;
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    const long nanoseconds = time.tv_nsec + aTimeoutMs % 1000 * NS_PER_MS;
    time.tv_sec += aTimeoutMs / 1000 + nanoseconds / NS_PER_SECOND;
    time.tv_nsec = nanoseconds % NS_PER_SECOND;
    return time;
}

} // namespace

Result Event::Sleep(std::uint32_t aTimeoutMs)
{
    if (aTimeoutMs == 0)
    {
        return Result(KoResult::TIMEOUT);
    }
    const timespec deadline = GetDeadline(aTimeoutMs);
    bool hasTime = true;
    // Others may sleep beside this thread, so what it takes it leaves awaited.
    while (!Take(AWAITED))
    {
        if (!hasTime)
        {
            return Result(KoResult::TIMEOUT);
        }
        std::uint32_t expected = CLEAR;
        mState.compare_exchange_strong(expected, AWAITED, std::memory_order_relaxed);
        hasTime = SleepWhile(mState, AWAITED, &deadline);
    }
    return Result(KoResult::OK);
}

void Event::Wake(int aCount)
{
    WakeSleepers(mState, aCount);
}

} // namespace KuUtilsLib
