#pragma once

#include <cstdint>
#include <vector>

#include <sched.h>

/// The CPUs that this process may use, as they were when it started.
const std::vector<int>& GetCpus();

/// Keeps the calling thread on one CPU, until the end of its scope.
class CpuPin
{
public:
    /// @param aIndex which of GetCpus(), counted around
    explicit CpuPin(std::size_t aIndex);
    ~CpuPin();
    CpuPin(const CpuPin&) = delete;
    CpuPin& operator=(const CpuPin&) = delete;

private:
    cpu_set_t mPrevious{};
};
