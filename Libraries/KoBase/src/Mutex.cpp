#include <KuUtilsLib/Mutex.h>

#include "Futex.h"

namespace KuUtilsLib
{

Mutex::Mutex(bool* aAlreadyExists, const char* /*aName*/)
{
    if (aAlreadyExists != nullptr)
    {
        *aAlreadyExists = false;
    }
}

void Mutex::Sleep()
{
    // Others may sleep beside this thread, so it owns the mutex as an awaited one.
    while (mState.exchange(AWAITED, std::memory_order_acquire) != FREE)
    {
        SleepWhile(mState, AWAITED, nullptr);
    }
}

void Mutex::Wake()
{
    WakeSleepers(mState, 1);
}

} // namespace KuUtilsLib
