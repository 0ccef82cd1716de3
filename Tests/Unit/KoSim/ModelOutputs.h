#pragma once

#include "Output.h"

#include <cstring>
#include <string>
#include <vector>

namespace KoSim
{

/// A serial interrupt event, taken apart.
struct SerialEvent
{
    Port mPort;
    std::uint16_t mEventId;
    Time mTime;
    std::size_t mReceivedBytes;
    std::uint32_t mStatus;
    std::string mBytes; ///< one from each word after the status
};

inline std::uint32_t LoadWord(const std::vector<std::uint8_t>& aPayload, std::size_t aIndex)
{
    std::uint32_t word = 0;
    std::memcpy(&word, aPayload.data() + aIndex * sizeof(word), sizeof(word));
    return word;
}

inline SerialEvent TakeApart(const EventOutput& aEvent)
{
    SerialEvent event{
        aEvent.mPort, aEvent.mEventId, aEvent.mTime, aEvent.mReceivedBytes, LoadWord(aEvent.mPayload, 0), {}};
    for (std::size_t i = 1; i < aEvent.mPayload.size() / sizeof(std::uint32_t); ++i)
    {
        event.mBytes += static_cast<char>(LoadWord(aEvent.mPayload, i));
    }
    return event;
}

/// Takes every output and keeps the events.
inline std::vector<SerialEvent> TakeEvents(OutputQueue& aOutputs)
{
    std::vector<SerialEvent> events;
    for (; !aOutputs.empty(); aOutputs.pop_front())
    {
        if (const auto* const event = std::get_if<EventOutput>(&aOutputs.front()))
        {
            events.push_back(TakeApart(*event));
        }
    }
    return events;
}

/// Takes every output and keeps the bytes that have reached the far end.
inline std::string TakeLineBytes(OutputQueue& aOutputs)
{
    std::string bytes;
    for (; !aOutputs.empty(); aOutputs.pop_front())
    {
        if (const auto* const line = std::get_if<LineOutput>(&aOutputs.front()))
        {
            bytes.append(line->mBytes.begin(), line->mBytes.end());
        }
    }
    return bytes;
}

inline std::string JoinBytes(const std::vector<SerialEvent>& aEvents)
{
    std::string bytes;
    for (const SerialEvent& event : aEvents)
    {
        bytes += event.mBytes;
    }
    return bytes;
}

inline const std::uint8_t* AsBytes(const std::string& aText)
{
    return reinterpret_cast<const std::uint8_t*>(aText.data());
}

} // namespace KoSim
