#pragma once

#include <KoBaseExport.h>
#include <KuUtilsLib/Result.h>

#include <condition_variable>
#include <cstdint>
#include <mutex>

namespace KuUtilsLib
{

/// A flag that one thread sets and others wait for. Every operation may be called from any thread.
class KO_BASE_API Event
{
public:
    /// Creates an event that is not set.
    /// @param aManualReset true: once set, the event stays set until Reset(); false: a successful wait resets it
    explicit Event(bool aManualReset);

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    /// Sets the event and wakes those who wait: all of them, or one when a wait resets the event. Always succeeds.
    Result Set();

    /// Takes the signal back. Always succeeds.
    Result Reset();

    /// Waits until the event is set, at most aTimeoutMs milliseconds of a monotonic clock; 0 only looks.
    /// @return OK when the event was set in time, TIMEOUT otherwise
    Result Wait_ms(std::uint32_t aTimeoutMs);

private:
    const bool mManualReset;
    std::mutex mMutex;
    std::condition_variable mCondition;
    bool mSet = false;
};

} // namespace KuUtilsLib
