#pragma once

#include <KuUtilsLib/Mutex.h>

namespace KuUtilsLib
{

class LockScope
{
public:
    explicit LockScope(Mutex* aMutex) : mMutex(aMutex) { mMutex->Wait(); }
    ~LockScope() { mMutex->Release(); }

    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Mutex* mMutex;
};

} // namespace KuUtilsLib
