#include <KuUtilsLib/Thread.h>

#include <chrono>
#include <thread>

namespace KuUtilsLib
{

void Thread::Sleep(std::uint32_t aTimeMs)
{
    std::this_thread::sleep_for(std::chrono::milliseconds(aTimeMs));
}

std::uint64_t Thread::GetTickCount()
{
    const auto sinceEpoch = std::chrono::steady_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::duration_cast<std::chrono::milliseconds>(sinceEpoch).count());
}

} // namespace KuUtilsLib
