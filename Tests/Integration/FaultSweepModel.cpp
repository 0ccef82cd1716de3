#include "FaultSweepModel.h"

#include <KoResult.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <utility>

namespace
{

const FaultSweepResult NULL_DEVICE = {KoResult::NOT_CONNECTED, "Device pointer is NULL.", ""};
const FaultSweepResult UNPLUGGED = {KoResult::NOT_CONNECTED, "The device is not currently connected.", ""};
const FaultSweepResult NO_SUCH_PORT = {KoResult::NOT_SUPPORTED, "The specified port is not supported by this device.",
                                       ""};
const FaultSweepResult IN_USE = {KoResult::GENERIC_ERROR, "The specified port is already in use.", ""};

constexpr std::uint32_t CONFIRMATION_MS = 1020;
constexpr std::uint32_t POLL_MS = 100;
constexpr std::uint32_t CHUNK_MS = 300;
constexpr std::uint32_t I2C_CHUNK_MS = 150;
constexpr std::uint32_t I2C_READ_MS = 50;
constexpr std::uint32_t IDLE_MS = 1000;

constexpr std::uint32_t UART_INTERRUPTS = 0x3;
constexpr std::uint32_t BULK_INTERRUPTS = 0x1F00;

constexpr std::size_t UPSTREAM_LENGTH = 512;

FaultSweepResult AdapterResult(const FaultSweepCalls& aCalls)
{
    return {aCalls.GetCode(), aCalls.GetDescription(), ""};
}

std::string Format(const char* aPattern, std::uint32_t aValue)
{
    std::array<char, 128> text{};
    std::snprintf(text.data(), text.size(), aPattern, aValue);
    return text.data();
}

std::uint32_t SizeOf(const std::string& aData)
{
    return static_cast<std::uint32_t>(aData.size());
}

} // namespace

FaultSweepProcess& FaultSweepProcess::Get()
{
    static FaultSweepProcess process;
    return process;
}

std::string FaultSweepModel::Name(const char* aPattern) const
{
    std::string name = aPattern;
    name.replace(name.find('#'), 1, std::to_string(mPort - KoDeviceSerialBulk0));
    return name;
}

bool FaultSweepModel::HasFeatures() const
{
    return IsBulk() && mProfile.mBulkFeatures.at(static_cast<std::size_t>(mPort - KoDeviceSerialBulk0)).mPresent;
}

/// Support in the register block: the device is asked for its capabilities unless they were unreadable before.
bool FaultSweepModel::HasCapabilities(FaultSweepCalls& aCalls)
{
    std::set<std::string>& without = FaultSweepProcess::Get().mWithoutCapabilities;
    if (!aCalls.Ok("IsConnected") || !aCalls.Ok("IsTavricVideoInterface"))
    {
        return false;
    }
    const std::string id = aCalls.Ok("GetDeviceId") ? mProfile.mId : "";
    if (without.count(id) != 0)
    {
        return false;
    }
    if (!aCalls.Ok("IsGigEVision") || !mProfile.mGigEVision)
    {
        return false;
    }
    if (!aCalls.Ok("ReadRegister 0xB8FC"))
    {
        without.insert(id);
        return false;
    }
    return true;
}

bool FaultSweepModel::IsUartSupported(FaultSweepCalls& aCalls)
{
    return HasCapabilities(aCalls) && mProfile.mUartCount > static_cast<std::uint32_t>(mPort);
}

bool FaultSweepModel::IsBulkInRegisters(FaultSweepCalls& aCalls)
{
    return HasCapabilities(aCalls) && mProfile.mBulk0InRegisters;
}

/// The three features are asked for, whatever the first answers are.
bool FaultSweepModel::IsBulkInFeatures(FaultSweepCalls& aCalls)
{
    if (!aCalls.Ok("IsConnected") || !aCalls.Ok("IsTavricVideoInterface"))
    {
        return false;
    }
    const bool downstream = aCalls.Ok("IsGenRegisterPresent " + Name("Bulk#DownstreamData"));
    const bool length = aCalls.Ok("IsGenIntegerPresent " + Name("EventBulk#UpstreamDataLength"));
    const bool buffer = aCalls.Ok("IsGenRegisterPresent " + Name("EventBulk#UpstreamDataBuffer"));
    return downstream && length && buffer && HasFeatures();
}

/// This test asks the device every time, but tells the other tests what it found.
bool FaultSweepModel::IsI2cInRegisters(FaultSweepCalls& aCalls)
{
    if (!aCalls.Ok("IsConnected") || !aCalls.Ok("IsTavricVideoInterface") || !aCalls.Ok("IsGigEVision") ||
        !mProfile.mGigEVision)
    {
        return false;
    }
    if (!aCalls.Ok("ReadRegister 0xB8FC"))
    {
        const std::string id = aCalls.Ok("GetDeviceId") ? mProfile.mId : "";
        FaultSweepProcess::Get().mWithoutCapabilities.insert(id);
        return false;
    }
    return mPort == KoDeviceSerialBulk0 && aCalls.Ok("ReadRegister 0xB95C") && mProfile.mBulk0InRegisters &&
           mProfile.mBulk0RunsI2c && mProfile.mUartCount > 0;
}

bool FaultSweepModel::IsProtocolSupported(FaultSweepCalls& aCalls, const char* aProtocol)
{
    return aCalls.Ok("IsConnected") && IsBulkInFeatures(aCalls) &&
           aCalls.Ok(std::string("IsGenEnumEntryAvailable BulkMode ") + aProtocol);
}

bool FaultSweepModel::IsPortSupported(FaultSweepCalls& aCalls)
{
    if (!IsBulk())
    {
        return IsUartSupported(aCalls);
    }
    return IsBulkInFeatures(aCalls) || (mPort == KoDeviceSerialBulk0 && IsBulkInRegisters(aCalls));
}

bool FaultSweepModel::IsI2cSupported(FaultSweepCalls& aCalls)
{
    return IsProtocolSupported(aCalls, "I2C") || IsI2cInRegisters(aCalls);
}

FaultSweepResult FaultSweepModel::OpenPort(FaultSweepCalls& aCalls)
{
    Engine engine = IsBulk() ? Engine::BulkFeatures : Engine::Uart;
    if (mPort == KoDeviceSerialBulk0)
    {
        const bool inRegisters = IsBulkInRegisters(aCalls);
        const bool inFeatures = IsBulkInFeatures(aCalls);
        if (!inRegisters && !inFeatures)
        {
            return {KoResult::NOT_SUPPORTED, "", ""};
        }
        engine = inRegisters ? Engine::BulkRegisters : Engine::BulkFeatures;
    }
    NewEngine(engine);
    return OpenEngine(aCalls);
}

FaultSweepResult FaultSweepModel::OpenI2c(FaultSweepCalls& aCalls)
{
    mI2c = true;
    const bool inRegisters = IsI2cInRegisters(aCalls);
    const bool inFeatures = IsProtocolSupported(aCalls, "I2C");
    if (!inRegisters && !inFeatures)
    {
        return {KoResult::NOT_SUPPORTED, "I2C Bus is not supported with this device", ""};
    }
    NewEngine(inRegisters ? Engine::BulkRegisters : Engine::BulkFeatures);
    return OpenEngine(aCalls);
}

FaultSweepResult FaultSweepModel::OpenSpi(FaultSweepCalls& aCalls)
{
    mSpi = true;
    if (!IsProtocolSupported(aCalls, "SPI"))
    {
        return {KoResult::NOT_SUPPORTED, "SPI Bus is not supported with this device", ""};
    }
    NewEngine(Engine::BulkFeatures);
    return OpenEngine(aCalls);
}

void FaultSweepModel::NewEngine(Engine aEngine)
{
    ForgetObject();
    mEngine = aEngine;
}

void FaultSweepModel::ForgetObject()
{
    mLostSinks += mSink ? 1 : 0;
    mSink = false;
    mEngine = Engine::None;
    mOpened = false;
    mPortName.clear();
    mWriteDone = 0;
    mWriteTotal = 0;
    mSent = 0;
    mReceived = 0;
    mRingSize = 16384;
    mRing.clear();
    mSavedInterrupts = 0;
    mPreviousNotification.clear();
    mUpstreamBuffer.assign(UPSTREAM_LENGTH, '\0');
}

FaultSweepResult FaultSweepModel::OpenEngine(FaultSweepCalls& aCalls)
{
    if (!aCalls.Ok("IsConnected"))
    {
        return UNPLUGGED;
    }
    const bool supported = mEngine == Engine::Uart            ? IsUartSupported(aCalls)
                           : mEngine == Engine::BulkRegisters ? IsBulkInRegisters(aCalls)
                                                              : IsBulkInFeatures(aCalls);
    if (!supported)
    {
        return NO_SUCH_PORT;
    }
    // A device that does not tell its identity goes by the empty one.
    mPortName = aCalls.Ok("GetDeviceId") ? mProfile.mId : "";
    if (!FaultSweepProcess::Get().mHeldPorts.insert({mPortName, mPort}).second)
    {
        mPortName.clear();
        return IN_USE;
    }
    mOpened = true;
    switch (mEngine)
    {
    case Engine::Uart:
        return OpenUart(aCalls);
    case Engine::BulkRegisters:
        return OpenBulkRegisters(aCalls);
    default:
        return OpenBulkFeatures(aCalls);
    }
}

/// A failure leaves the port open and held.
FaultSweepResult FaultSweepModel::OpenUart(FaultSweepCalls& aCalls)
{
    mSink = aCalls.Ok("RegisterEventSink");
    std::string failure;
    return EnableInterrupts(aCalls, failure) ? FaultSweepResult()
                                             : FaultSweepResult{KoResult::GENERIC_ERROR, failure, ""};
}

/// A failure leaves the port open and held.
FaultSweepResult FaultSweepModel::OpenBulkRegisters(FaultSweepCalls& aCalls)
{
    mSink = aCalls.Ok("RegisterEventSink");
    if (!aCalls.Ok("ReadRegister 0xB898") || !aCalls.Ok("ReadRegister 0xB954"))
    {
        return AdapterResult(aCalls);
    }
    std::string failure;
    if (!EnableInterrupts(aCalls, failure))
    {
        return {KoResult::GENERIC_ERROR, failure, ""};
    }
    if (!aCalls.Ok("ReadRegister 0xB898") || !aCalls.Ok("WriteRegister 0xB898") || !aCalls.Ok("WriteRegister 0xB898"))
    {
        return AdapterResult(aCalls);
    }
    return {};
}

/// A failure closes the port again.
FaultSweepResult FaultSweepModel::OpenBulkFeatures(FaultSweepCalls& aCalls)
{
    if (!aCalls.Ok("IsGenRegisterPresent " + Name("Bulk#DownstreamData")) ||
        !aCalls.Ok("IsGenIntegerPresent " + Name("EventBulk#UpstreamDataLength")) ||
        !aCalls.Ok("IsGenRegisterPresent " + Name("EventBulk#UpstreamDataBuffer")))
    {
        Close(aCalls);
        return NO_SUCH_PORT;
    }
    mSink = aCalls.Ok("RegisterEventSink");
    mWatchers += aCalls.Ok("RegisterGenInvalidator " + Name("EventBulk#UpstreamDataBuffer")) ? 1 : 0;
    mPreviousNotification.clear();
    if (!SetNotification(aCalls, "On", mPreviousNotification))
    {
        Close(aCalls);
        return {KoResult::GENERIC_ERROR, "", ""};
    }
    return {};
}

bool FaultSweepModel::EnableInterrupts(FaultSweepCalls& aCalls, std::string& aFailure)
{
    const bool isUart = mEngine == Engine::Uart;
    if (!aCalls.Ok("ReadRegister 0xB838"))
    {
        aFailure = isUart ? "Failed while attempting to read interrupt enable register."
                          : "Failed to write value 0 to Intenable register.";
        return false;
    }
    // Both UARTs keep the bits of the first.
    mSavedInterrupts = mInterruptEnable & (isUart ? UART_INTERRUPTS : BULK_INTERRUPTS);
    const std::uint32_t own = isUart ? UART_INTERRUPTS << 2 * mPort : BULK_INTERRUPTS;
    const std::uint32_t value = mInterruptEnable | own;
    if (!aCalls.Ok(Format("WriteRegister 0xB838 0x%X", value)))
    {
        aFailure = Format(isUart ? "Failed while attempting to write value %x to interrupt enable register."
                                 : "Failed to write value %x to Intenable register.",
                          value);
        return false;
    }
    mInterruptEnable = value;
    return true;
}

void FaultSweepModel::RestoreInterrupts(FaultSweepCalls& aCalls)
{
    const bool isUart = mEngine == Engine::Uart;
    const std::uint32_t shift = isUart ? 2 * static_cast<std::uint32_t>(mPort) : 0;
    const std::uint32_t own = isUart ? UART_INTERRUPTS << shift : BULK_INTERRUPTS;
    const std::uint32_t value = (mInterruptEnable & ~own) | mSavedInterrupts << shift;
    if (aCalls.Ok("ReadRegister 0xB838") && aCalls.Ok(Format("WriteRegister 0xB838 0x%X", value)))
    {
        mInterruptEnable = value;
    }
}

/// The selector goes back to where it was only after a success.
bool FaultSweepModel::SetNotification(FaultSweepCalls& aCalls, const std::string& aValue, std::string& aPrevious)
{
    const std::string event = Name("Bulk#UpstreamData");
    if (!aCalls.Ok("IsGenEnumPresent EventSelector"))
    {
        return false;
    }
    const std::string selector = aCalls.Ok("GetGenEnumValue EventSelector") ? mEventSelector : "";
    if (selector != event)
    {
        if (!aCalls.Ok("SetGenEnumValue EventSelector " + event))
        {
            return false;
        }
        mEventSelector = event;
    }
    if (!aCalls.Ok("IsGenEnumPresent EventNotification"))
    {
        return false;
    }
    const std::string current = aCalls.Ok("GetGenEnumValue EventNotification") ? mNotification : "";
    if (current != aValue)
    {
        // The device has no entry with an empty name.
        if (!aCalls.Ok("SetGenEnumValue EventNotification " + aValue) || aValue.empty())
        {
            return false;
        }
        mNotification = aValue;
    }
    if (selector != event && aCalls.Ok("SetGenEnumValue EventSelector " + selector) && !selector.empty())
    {
        mEventSelector = selector;
    }
    aPrevious = current;
    return true;
}

FaultSweepResult FaultSweepModel::CheckConnected(FaultSweepCalls& aCalls) const
{
    if (!mOpened)
    {
        return NULL_DEVICE;
    }
    return aCalls.Ok("IsConnected") ? FaultSweepResult() : UNPLUGGED;
}

/// Nothing is undone on a device that is not connected; after that no failure matters.
FaultSweepResult FaultSweepModel::Close(FaultSweepCalls& aCalls)
{
    if ((mI2c || mSpi) && mEngine == Engine::None)
    {
        return {KoResult::NOT_OPENED,
                std::string("%s failed") + (mSpi ? " SPI" : "") +
                    ". You must first call Open before using this function",
                ""};
    }
    const FaultSweepResult connected = CheckConnected(aCalls);
    if (!connected.IsOk())
    {
        return connected;
    }
    if (mEngine == Engine::BulkFeatures)
    {
        std::string ignored;
        SetNotification(aCalls, mPreviousNotification, ignored);
        const bool unwatched = aCalls.Ok("UnregisterGenInvalidator " + Name("EventBulk#UpstreamDataBuffer"));
        mWatchers -= unwatched && mWatchers > 0 ? 1 : 0;
        aCalls.Ok("UnregisterEventSink");
        ReleasePort(aCalls);
    }
    else
    {
        RestoreInterrupts(aCalls);
        ReleasePort(aCalls);
        aCalls.Ok("UnregisterEventSink");
    }
    CloseEngine();
    return {};
}

/// A port that went by another identity when it was opened stays held.
void FaultSweepModel::ReleasePort(FaultSweepCalls& aCalls)
{
    const std::string id = aCalls.Ok("GetDeviceId") ? mProfile.mId : "";
    FaultSweepProcess::Get().mHeldPorts.erase({id, mPort});
}

void FaultSweepModel::CloseEngine()
{
    mSink = false;
    mOpened = false;
    mPortName.clear();
    mPreviousNotification.clear();
    mWriteDone = 0;
    mWriteTotal = 0;
    mRing.clear();
}

FaultSweepResult FaultSweepModel::Write(FaultSweepCalls& aCalls, const std::string& aData, std::uint32_t& aWritten)
{
    return Send(aCalls, aData, "", aWritten);
}

FaultSweepResult FaultSweepModel::Request(FaultSweepCalls& aCalls, const std::string& aRequest,
                                          const std::string& aAnswer)
{
    if (mEngine == Engine::None)
    {
        return Close(aCalls);
    }
    std::uint32_t ignored = 0;
    return Send(aCalls, aRequest, aAnswer, ignored);
}

FaultSweepResult FaultSweepModel::ReadI2c(FaultSweepCalls& aCalls, const std::string& aRequest,
                                          const std::string& aAnswer, bool& aIsRequested)
{
    mRing.clear();
    const FaultSweepResult requested = Request(aCalls, aRequest, aAnswer);
    aIsRequested = requested.IsOk();
    return aIsRequested ? Read(SizeOf(aAnswer), I2C_READ_MS) : requested;
}

FaultSweepResult FaultSweepModel::Send(FaultSweepCalls& aCalls, const std::string& aData, const std::string& aAnswer,
                                       std::uint32_t& aWritten)
{
    const FaultSweepResult connected = CheckConnected(aCalls);
    if (!connected.IsOk())
    {
        return connected;
    }
    aWritten = 0;
    mWriteDone = 0;
    mWriteTotal = SizeOf(aData);
    const FaultSweepResult sent = mEngine == Engine::Uart            ? SendToUart(aCalls, aData, aWritten)
                                  : mEngine == Engine::BulkRegisters ? SendToRegisters(aCalls, aData, aAnswer, aWritten)
                                                                     : SendToFeatures(aCalls, aData, aAnswer, aWritten);
    mWriteDone = aWritten;
    if (sent.IsOk())
    {
        Echo("sent", aData);
        mSent += aWritten;
    }
    return sent;
}

/// Each byte waits for its confirmation; after a failure the data register is looked at once at most.
FaultSweepResult FaultSweepModel::SendToUart(FaultSweepCalls& aCalls, const std::string& aData, std::uint32_t& aWritten)
{
    const std::string address = mPort == KoDeviceSerialUart1 ? "0xB850" : "0xB84C";
    for (std::uint32_t i = 0; i < aData.size(); ++i)
    {
        const bool accepted = aCalls.Ok("WriteRegister " + address);
        aWritten += accepted ? 1 : 0;
        if (accepted && AreTxEventsOn())
        {
            continue;
        }
        mWaitMs += accepted ? CONFIRMATION_MS + POLL_MS : POLL_MS;
        // The clock may move before that look, which ends the poll.
        if (aCalls.HasNext())
        {
            aCalls.Ok("ReadRegister " + address);
        }
        const std::string what = accepted ? "Failed while waiting for the event from the device after writing byte "
                                          : "Failed to write byte ";
        return {KoResult::GENERIC_ERROR, what + std::to_string(i) + ".", ""};
    }
    return {};
}

/// Every chunk but the last waits for room.
FaultSweepResult FaultSweepModel::SendToRegisters(FaultSweepCalls& aCalls, const std::string& aData,
                                                  const std::string& aAnswer, std::uint32_t& aWritten)
{
    const std::uint32_t first = mI2c ? 254 : 256;
    const std::uint32_t later = (mI2c ? 251 : 252) - mProfile.mBulk0Line.mReserve;
    const std::uint32_t waitMs = AreTxEventsOn() ? 0 : mI2c ? I2C_CHUNK_MS : CHUNK_MS;
    while (aWritten < aData.size())
    {
        if (!aCalls.Ok("BulkTransmit"))
        {
            return AdapterResult(aCalls);
        }
        aWritten += std::min(aWritten == 0 ? first : later, SizeOf(aData) - aWritten);
        mWaitMs += waitMs;
        if (aWritten < aData.size() && !AreTxEventsOn())
        {
            return {KoResult::TIMEOUT,
                    "Timed out waiting for Tx interrupt after sending " + std::to_string(aWritten) + " bytes", ""};
        }
    }
    Receive(aCalls, aAnswer);
    return {};
}

/// A frame whose words are in the wrong order means nothing to the device.
FaultSweepResult FaultSweepModel::SendToFeatures(FaultSweepCalls& aCalls, const std::string& aData,
                                                 const std::string& aAnswer, std::uint32_t& aWritten)
{
    if (!aCalls.Ok("GetGenRegisterLength " + Name("Bulk#DownstreamData")))
    {
        return AdapterResult(aCalls);
    }
    const std::size_t index = static_cast<std::size_t>(mPort - KoDeviceSerialBulk0);
    const std::int64_t room = mProfile.mBulkFeatures.at(index).mDownstreamLength - (mSpi ? 12 : 8);
    bool isEmptyFrameDue = mSpi && aData.empty();
    while (isEmptyFrameDue || aWritten < aData.size())
    {
        isEmptyFrameDue = false;
        const bool bigEndian = aCalls.Ok("IsGigEVision") && mProfile.mGigEVision;
        if (!aCalls.Ok("SetGenRegisterData " + Name("Bulk#DownstreamData")))
        {
            return AdapterResult(aCalls);
        }
        aWritten += std::min(static_cast<std::uint32_t>(room), SizeOf(aData) - aWritten);
        if (bigEndian == mProfile.mGigEVision)
        {
            Receive(aCalls, aAnswer);
        }
        aCalls.Ok("WaitForIdle 1000");
        mWaitMs += IDLE_MS;
    }
    return {};
}

bool FaultSweepModel::AreTxEventsOn() const
{
    const std::uint32_t bit = mEngine == Engine::Uart ? 1U << 2 * mPort : 0x0800;
    return mSink && (mInterruptEnable & bit) != 0;
}

bool FaultSweepModel::AreRxEventsOn() const
{
    if (mEngine == Engine::BulkFeatures)
    {
        return mSink && mWatchers > 0 && mNotification == "On";
    }
    const std::uint32_t bit = mEngine == Engine::Uart ? 2U << 2 * mPort : 0x0100;
    // The features of bulk port 0 take the bytes away from its registers.
    return mSink && (mInterruptEnable & bit) != 0 && mNotification != "On";
}

void FaultSweepModel::Receive(FaultSweepCalls& aCalls, const std::string& aData)
{
    if (aData.empty() || !AreRxEventsOn())
    {
        return;
    }
    if (mEngine != Engine::BulkFeatures)
    {
        Push(aData);
        return;
    }
    if (!aCalls.Ok("IsGenRegisterPresent " + Name("EventBulk#UpstreamDataBuffer")))
    {
        return;
    }
    const bool hasLength = aCalls.Ok("GetGenRegisterLength " + Name("EventBulk#UpstreamDataBuffer"));
    const bool hasCount = aCalls.Ok("GetGenIntegerValue " + Name("EventBulk#UpstreamDataLength"));
    if (!hasLength || !hasCount)
    {
        return;
    }
    // When the data cannot be read, what came before counts as received once more.
    if (aCalls.Ok("GetGenRegisterData " + Name("EventBulk#UpstreamDataBuffer")))
    {
        mUpstreamBuffer.replace(0, aData.size(), aData);
    }
    Push(mUpstreamBuffer.substr(0, aData.size()));
}

void FaultSweepModel::Push(const std::string& aData)
{
    mRing += aData;
    const std::size_t capacity = mRingSize - 1;
    mRing.erase(0, mRing.size() - std::min(capacity, mRing.size()));
}

FaultSweepResult FaultSweepModel::Read(std::uint32_t aSize, std::uint32_t aTimeoutMs)
{
    if (mRing.empty())
    {
        mWaitMs += aTimeoutMs;
        if (aTimeoutMs > 0)
        {
            Echo("read", "");
        }
        return {KoResult::TIMEOUT, "", ""};
    }
    const std::string data = mRing.substr(0, aSize);
    mRing.erase(0, data.size());
    Echo("read", data);
    mReceived += data.size();
    return {KoResult::OK, "", data};
}

void FaultSweepModel::NotifyReadComplete()
{
    Echo("complete", "");
}

void FaultSweepModel::SetRxBufferSize(std::uint32_t aSize)
{
    mRingSize = aSize;
    mRing.clear();
}

void FaultSweepModel::ResetStatistics()
{
    mSent = 0;
    mReceived = 0;
}

void FaultSweepModel::Echo(const char* aWhat, const std::string& aData)
{
    const KoDeviceSerial port = mOpened ? mPort : KoDeviceSerialInvalid;
    mEchoes.push_back(std::string(aWhat) + ' ' + mPortName + ' ' + std::to_string(port) + ' ' +
                      std::to_string(aData.size()));
}
