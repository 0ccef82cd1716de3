#include "FutexStub.h"

#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>

#include <dlfcn.h>
#include <linux/futex.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace
{

thread_local FutexStub* tStub = nullptr;

} // namespace

FutexStub::FutexStub(int aError) : mError(aError)
{
    tStub = this;
}

FutexStub::~FutexStub()
{
    tStub = nullptr;
}

long FutexStub::Answer(const Call& aCall)
{
    constexpr std::size_t MANY = 1000;
    if (mCalls.size() == MANY)
    {
        std::fputs("the library calls the kernel again and again\n", stderr);
        std::abort();
    }
    mCalls.push_back(aCall);
    if (aCall.mOperation == FUTEX_WAIT_BITSET_PRIVATE && mWhileAsleep)
    {
        mWhileAsleep();
    }
    if (mError == 0)
    {
        return 0;
    }
    errno = mError;
    return -1;
}

/// The library finds this function before the one of the C library.
extern "C" __attribute__((visibility("default"))) long syscall(long aNumber, ...) noexcept
{
    std::va_list list;
    va_start(list, aNumber);
    long arguments[6];
    for (long& argument : arguments)
    {
        argument = va_arg(list, long);
    }
    va_end(list);
    if (aNumber == SYS_futex && tStub != nullptr)
    {
        const bool hasDeadline = arguments[1] == FUTEX_WAIT_BITSET_PRIVATE && arguments[3] != 0;
        const timespec deadline = hasDeadline ? *reinterpret_cast<const timespec*>(arguments[3]) : timespec{};
        return tStub->Answer({static_cast<int>(arguments[1]), static_cast<std::uint32_t>(arguments[2]), deadline});
    }
    static const auto sKernel = reinterpret_cast<decltype(&syscall)>(::dlsym(RTLD_NEXT, "syscall"));
    return sKernel(aNumber, arguments[0], arguments[1], arguments[2], arguments[3], arguments[4], arguments[5]);
}
