#pragma once

#include <KuUtilsLib/Result.h>

namespace KuUtilsLib
{

/// Keeps book of who holds it; a test that takes it twice or releases it unowned fails.
class Mutex
{
public:
    explicit Mutex(bool* aAlreadyExists, const char* aName);

    Mutex(const Mutex&) = delete;
    Mutex& operator=(const Mutex&) = delete;

    Result Wait();
    void Release();
};

} // namespace KuUtilsLib
