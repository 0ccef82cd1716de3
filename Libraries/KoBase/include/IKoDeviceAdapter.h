#pragma once

#include <IKoDeviceEventSink.h>
#include <KoResult.h>
#include <KoString.h>
#include <KoStringList.h>

#include <cstdint>

/// A device, as the library reaches it. Whoever owns the connection to a device implements this interface.
///
/// @par What the implementer guarantees
/// - Every operation may be called from several threads at once, except where a line below says otherwise.
/// - Events reach a sink in the order in which the device sent them, one call at a time, on a thread of the device
///   layer and never from inside a call that the library makes.
/// - After UnregisterEventSink() has returned, no call to that sink runs or will come: it waits for one that runs.
/// - Sinks stay registered, and features watched, while the device is disconnected: the same objects go on when it is
///   back. UnregisterEventSink() works all the same then, and waits as ever.
/// - Watching nests: a feature is watched until UnregisterGenInvalidator() has succeeded for it as often as
///   RegisterGenInvalidator().
/// - The boolean queries answer false for a feature that the device does not have, and for the empty name; they never
/// fail.
/// - Undoing a registration that was never made, or that failed, does no harm.
/// - A failed read leaves its output as it was; a failed GetDeviceId() leaves the text empty.
/// - No operation throws.
///
/// @par What the library promises
/// - It never owns or deletes the adapter; the caller keeps it alive until every port opened on it is closed or
///   abandoned.
/// - An Open that has claimed the port registers a sink once. It is unregistered by the Close that succeeds and by
///   Abandon, and also by a failed Open on the features of a bulk port, which closes again as far as the device is
///   connected. An Open that fails on a UART or on bulk port 0 in registers leaves its sink registered, and so does a
///   Close that is refused because the device is disconnected. An open object that is opened again or destroyed while
///   the device is disconnected never unregisters its sink: applications call Abandon first.
/// - Abandon calls UnregisterEventSink() and nothing else; the feature that the port watched stays watched.
/// - It calls no adapter operation from inside NotifyEvent(). From inside NotifyInvalidatedGenParameter() it calls only
///   the queries and reads of features.
class IKoDeviceAdapter
{
public:
    /// True when the device has an integer feature of that name.
    virtual bool IsGenIntegerPresent(const KoString& aName) = 0;

    /// True when the device has an enumeration feature of that name.
    virtual bool IsGenEnumPresent(const KoString& aName) = 0;

    /// True when the device has a register feature (a raw block of bytes) of that name.
    virtual bool IsGenRegisterPresent(const KoString& aName) = 0;

    /// True when the enumeration can be read now.
    virtual bool IsGenEnumReadable(const KoString& aName) = 0;

    /// True when the enumeration can be written now.
    virtual bool IsGenEnumWritable(const KoString& aName) = 0;

    /// True when the enumeration offers that entry now.
    virtual bool IsGenEnumEntryAvailable(const KoString& aEnumName, const KoString& aEntryName) = 0;

    /// Reads an integer feature.
    virtual KoResult GetGenIntegerValue(const KoString& aName, std::int64_t& aValue) = 0;

    /// Fills the list with the names of the entries of an enumeration.
    virtual KoResult GetGenEnumEntries(const KoString& aName, KoStringList& aEntries) = 0;

    /// Reads an enumeration as the name of its current entry.
    virtual KoResult GetGenEnumValue(const KoString& aName, KoString& aValue) = 0;

    /// Sets an enumeration by the name of an entry.
    virtual KoResult SetGenEnumValue(const KoString& aName, const KoString& aValue) = 0;

    /// Reads the length of a register feature, in bytes.
    virtual KoResult GetGenRegisterLength(const KoString& aName, std::int64_t& aLength) = 0;

    /// Reads the first aLength bytes of a register feature into aBuffer.
    virtual KoResult GetGenRegisterData(const KoString& aName, std::uint8_t* aBuffer, std::int64_t aLength) = 0;

    /// Writes aLength bytes to a register feature. The data is valid during the call.
    virtual KoResult SetGenRegisterData(const KoString& aName, const std::uint8_t* aData, std::int64_t aLength) = 0;

    /// Reports changes of that feature to all registered sinks from now on.
    virtual KoResult RegisterGenInvalidator(const KoString& aName) = 0;

    /// Undoes RegisterGenInvalidator().
    virtual KoResult UnregisterGenInvalidator(const KoString& aName) = 0;

    /// Writes one 32-bit register of the device.
    virtual KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t aValue) = 0;

    /// Reads one 32-bit register of the device.
    virtual KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) = 0;

    /// Hands a block of bytes and its command word to the bulk transmitter of the device. The data is valid during the
    /// call; the call does not wait for the bytes to leave the device.
    virtual KoResult BulkTransmit(const std::uint8_t* aData, std::uint32_t aCommand, std::uint32_t aLength) = 0;

    /// Waits, at most aTimeoutMs milliseconds, until the device layer has sent everything that was written.
    virtual KoResult WaitForIdle(std::uint32_t aTimeoutMs) = 0;

    /// True while the device is connected.
    virtual bool IsConnected() = 0;

    /// True when the device sits on one of the maker's video interfaces.
    virtual bool IsTavricVideoInterface() = 0;

    /// True when the device is a GigE Vision device.
    virtual bool IsGigEVision() = 0;

    /// Delivers device events to the sink from now on. The sink is not owned.
    virtual KoResult RegisterEventSink(IKoDeviceEventSink* aSink) = 0;

    /// Stops delivering events to the sink; after the return no call to it runs or will come.
    virtual KoResult UnregisterEventSink(IKoDeviceEventSink* aSink) = 0;

    /// Fills a text that identifies the device for as long as it is connected.
    virtual KoResult GetDeviceId(KoString& aId) = 0;

    virtual ~IKoDeviceAdapter() = default;
};
