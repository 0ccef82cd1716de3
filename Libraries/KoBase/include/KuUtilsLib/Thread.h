#pragma once

#include <KoBaseExport.h>

#include <cstdint>

namespace KuUtilsLib
{

/// Time, as seen by the calling thread. Safe from any thread.
class KO_BASE_API Thread
{
public:
    /// Blocks the calling thread for aTimeMs milliseconds of a monotonic clock.
    static void Sleep(std::uint32_t aTimeMs);

    /// Milliseconds of a monotonic clock since an unspecified moment. They move on with the tick of the kernel, every 1
    /// to 10 ms, which makes them ten times as cheap as a clock that is exact.
    static std::uint64_t GetTickCount();
};

} // namespace KuUtilsLib
