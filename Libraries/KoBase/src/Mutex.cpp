#include <KuUtilsLib/Mutex.h>

#include <KoResult.h>

namespace KuUtilsLib
{

Mutex::Mutex(bool* aAlreadyExists, const char* /*aName*/)
{
    if (aAlreadyExists != nullptr)
    {
        *aAlreadyExists = false;
    }
}

Result Mutex::Wait()
{
    mMutex.lock();
    return Result(KoResult::OK);
}

void Mutex::Release()
{
    mMutex.unlock();
}

} // namespace KuUtilsLib
