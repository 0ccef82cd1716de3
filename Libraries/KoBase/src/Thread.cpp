#include <KuUtilsLib/Thread.h>

#include <chrono>
#include <ctime>
#include <thread>

namespace KuUtilsLib
{

void Thread::Sleep(std::uint32_t aTimeMs)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(aTimeMs));
}

std::uint64_t Thread::GetTickCount()
{
    constexpr std::uint64_t MS_PER_SECOND = 1000;
    constexpr std::uint64_t NS_PER_MS = 1000000;
    timespec time = {};
    ::clock_gettime(CLOCK_MONOTONIC_COARSE, &time);
    return static_cast<std::uint64_t>(time.tv_sec) * MS_PER_SECOND +
           static_cast<std::uint64_t>(time.tv_nsec) / NS_PER_MS;
}

} // namespace KuUtilsLib
