#pragma once

#include <KoString.h>

#include <cstdint>

class IKoDeviceEventSink
{
public:
    virtual void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId,
                             std::uint64_t aTimestamp, const void* aData, std::uint32_t aDataLength) = 0;
    virtual void NotifyInvalidatedGenParameter(const KoString& aParameterName) = 0;
    virtual ~IKoDeviceEventSink() = default;
};
