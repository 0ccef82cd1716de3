#pragma once

#include "WaitUntil.h"

#include <IKoDeviceEventSink.h>

#include <cstring>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace KoSim
{

/// A sink that keeps the events that it gets.
class TestEventSink : public IKoDeviceEventSink
{
public:
    struct Event
    {
        std::uint16_t mEventId;
        std::uint64_t mBlockId;
        std::uint64_t mTimestamp;
        std::uint32_t mStatus;
        std::string mBytes;
    };

    /// aOnEvent, if given, runs with each event, on the thread of the device.
    explicit TestEventSink(std::function<void(const Event&)> aOnEvent = nullptr) : mOnEvent(std::move(aOnEvent)) {}

    void NotifyEvent(std::uint16_t aEventId, std::uint16_t /*aChannel*/, std::uint64_t aBlockId,
                     std::uint64_t aTimestamp, const void* aData, std::uint32_t aDataLength) override
    {
        Event event{aEventId, aBlockId, aTimestamp, 0, {}};
        const auto* const bytes = static_cast<const std::uint8_t*>(aData);
        std::memcpy(&event.mStatus, bytes, sizeof(event.mStatus));
        for (std::uint32_t i = sizeof(event.mStatus); i < aDataLength; i += 4)
        {
            event.mBytes += static_cast<char>(bytes[i]);
        }
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            mEvents.push_back(event);
        }
        if (mOnEvent)
        {
            mOnEvent(event);
        }
    }

    void NotifyInvalidatedGenParameter(const KoString& /*aParameterName*/) override {}

    std::vector<Event> GetEvents()
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mEvents;
    }

    bool WaitForEvents(std::size_t aCount)
    {
        return WaitUntil([&] { return GetEvents().size() >= aCount; });
    }

    std::string GetBytes()
    {
        std::string bytes;
        for (const Event& event : GetEvents())
        {
            bytes += event.mBytes;
        }
        return bytes;
    }

    bool WaitForBytes(const std::string& aBytes)
    {
        return WaitUntil([&] { return GetBytes() == aBytes; });
    }

private:
    const std::function<void(const Event&)> mOnEvent;
    std::mutex mMutex;
    std::vector<Event> mEvents;
};

} // namespace KoSim
