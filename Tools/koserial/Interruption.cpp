#include "Interruption.h"

#include "Failure.h"

#include <atomic>

#include <csignal>

namespace KoTool
{
namespace
{

std::atomic<int> sSignal{0};
static_assert(std::atomic<int>::is_always_lock_free, "a signal handler must not wait for a lock");

void RequestStop(int aSignal)
{
    sSignal.store(aSignal, std::memory_order_relaxed);
}

void SetHandler(int aSignal, void (*aHandler)(int))
{
    // Without SA_RESTART: a system call that blocks comes back.
    struct sigaction action = {};
    action.sa_handler = aHandler;
    ::sigemptyset(&action.sa_mask);
    ::sigaction(aSignal, &action, nullptr);
}

bool IsIgnored(int aSignal)
{
    struct sigaction action = {};
    ::sigaction(aSignal, nullptr, &action);
    return action.sa_handler == SIG_IGN;
}

} // namespace

void Interruption::CatchSignals()
{
    SetHandler(SIGINT, &RequestStop);
    SetHandler(SIGTERM, &RequestStop);
    if (!IsIgnored(SIGHUP))
    {
        SetHandler(SIGHUP, &RequestStop);
    }
    SetHandler(SIGPIPE, SIG_IGN);
}

bool Interruption::IsRequested()
{
    return sSignal.load(std::memory_order_relaxed) != 0;
}

void Interruption::ThrowIfRequested()
{
    if (const int signal = sSignal.load(std::memory_order_relaxed); signal != 0)
    {
        throw Failure("interrupted", STATUS_SIGNAL + signal);
    }
}

} // namespace KoTool
