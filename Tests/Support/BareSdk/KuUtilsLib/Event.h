#pragma once

#include <KuUtilsLib/Result.h>

#include <cstdint>

namespace KuUtilsLib
{

/// Stays set until it is reset; made with false, also until a wait succeeds. A wait passes simulated time.
class Event
{
public:
    explicit Event(bool aManualReset);

    Event(const Event&) = delete;
    Event& operator=(const Event&) = delete;

    Result Set();
    Result Reset();
    Result Wait_ms(std::uint32_t aTimeoutMs);

private:
    const bool mManualReset;
    bool mSet = false;
};

} // namespace KuUtilsLib
