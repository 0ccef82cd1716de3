#pragma once

#include <KoBaseExport.h>
#include <KuUtilsLib/Result.h>

#include <mutex>

namespace KuUtilsLib
{

/// A lock between the threads of this process. Not recursive: a thread must not wait for a mutex that it owns.
class KO_BASE_API Mutex
{
public:
    /// Creates a free mutex.
    /// @param aAlreadyExists set to false when not NULL: a mutex of this SDK is never shared by name
    /// @param aName a name for people; may be NULL; not kept
    Mutex(bool* aAlreadyExists, const char* aName);

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    /// Blocks until the calling thread owns the mutex. Always succeeds.
    Result Wait();

    /// Gives the mutex up; only its owner may call this.
    void Release();

private:
    std::mutex mMutex;
};

} // namespace KuUtilsLib
