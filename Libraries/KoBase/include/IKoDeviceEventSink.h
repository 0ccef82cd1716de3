#pragma once

#include <KoString.h>

#include <cstdint>

/// Receives what a device reports on its own initiative.
///
/// Both operations are called on the threads of the device layer, one call at a time per sink, between
/// IKoDeviceAdapter::RegisterEventSink() and the return of IKoDeviceAdapter::UnregisterEventSink(). An implementation
/// returns soon: the device layer delivers nothing else meanwhile.
class IKoDeviceEventSink
{
public:
    /// Reports one device event.
    /// @param aEventId identifier of the event; 0x9000 and 0x9001 are the serial interrupt events
    /// @param aChannel stream channel that the event belongs to
    /// @param aBlockId block that the event belongs to
    /// @param aTimestamp time of the event in ticks of the device
    /// @param aData payload, at any alignment; valid during the call; may be NULL when aDataLength is 0
    /// @param aDataLength size of the payload in bytes
    virtual void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId,
                             std::uint64_t aTimestamp, const void* aData, std::uint32_t aDataLength) = 0;

    /// Reports that a GenICam feature of the device changed its value or state.
    virtual void NotifyInvalidatedGenParameter(const KoString& aParameterName) = 0;

    virtual ~IKoDeviceEventSink() = default;
};
