#include "EventPages.h"

#include <new>

#include <sys/mman.h>
#include <unistd.h>

namespace
{

struct Watch
{
    void* mPage;
    std::size_t mSize;
    const volatile std::uint32_t* mSignal;
    std::uint32_t mSignalBefore;
    volatile std::sig_atomic_t mIsLate;
};

Watch sWatch = {};

std::size_t GetPageSize()
{
    return static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

} // namespace

EventPages::EventPages(bool aManualReset)
    : mMemory(static_cast<std::uint8_t*>(
          ::mmap(nullptr, 2 * GetPageSize(), PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0))),
      mEvent(new (mMemory + GetPageSize() - sizeof(std::uint32_t)) KuUtilsLib::Event(aManualReset))
{
    static_assert(sizeof(KuUtilsLib::Event) == 2 * sizeof(std::uint32_t), "the signal is the second of two words");
    struct sigaction handler = {};
    handler.sa_handler = &GiveBack;
    ::sigaction(SIGSEGV, &handler, &mHandlerBefore);
}

EventPages::~EventPages()
{
    ::sigaction(SIGSEGV, &mHandlerBefore, nullptr);
    mEvent->~Event();
    ::munmap(mMemory, 2 * GetPageSize());
}

void EventPages::ForbidAllButTheSignal()
{
    const auto* const signal = reinterpret_cast<const volatile std::uint32_t*>(mMemory + GetPageSize());
    sWatch = {mMemory, GetPageSize(), signal, *signal, 0};
    ::mprotect(mMemory, GetPageSize(), PROT_NONE);
}

bool EventPages::WasReadAfterTheSignal() const
{
    return sWatch.mIsLate != 0;
}

void EventPages::GiveBack(int /*aSignal*/)
{
    sWatch.mIsLate = *sWatch.mSignal != sWatch.mSignalBefore ? 1 : 0;
    ::mprotect(sWatch.mPage, sWatch.mSize, PROT_READ | PROT_WRITE);
}
