#pragma once

#include <KuUtilsLib/Mutex.h>

namespace KuUtilsLib
{

/// Owns a mutex from its construction to its destruction.
class LockScope
{
public:
    /// Blocks until the mutex is owned. aMutex must not be NULL and must outlive this object.
    explicit LockScope(Mutex* aMutex) : mMutex(aMutex) { mMutex->Wait(); }

    ~LockScope() { mMutex->Release(); }

    LockScope(const LockScope&) = delete;
    LockScope& operator=(const LockScope&) = delete;

private:
    Mutex* mMutex;
};

} // namespace KuUtilsLib
