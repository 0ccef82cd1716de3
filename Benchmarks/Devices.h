#pragma once

#include "EmptyAdapter.h"

#include <atomic>
#include <cstdint>
#include <string>

constexpr std::uint16_t SERIAL_INTERRUPT_EVENT = 0x9000;
constexpr std::uint32_t UART0_SENT = 0x1;
constexpr std::uint32_t UART0_RECEIVED = 0x2;
constexpr std::uint32_t BULK0_RECEIVED = 0x100;
constexpr std::uint32_t BULK0_SENT = 0x800;

/// A device that is none of the others in the process, so that each can have the same port open.
class BenchmarkDevice : public EmptyAdapter
{
public:
    KoResult GetDeviceId(KoString& aId) override
    {
        aId = KoString(mId.c_str());
        return Ok();
    }

private:
    static std::string MakeId()
    {
        static std::atomic<int> sDevices{0};
        return "device " + std::to_string(sDevices++);
    }

    const std::string mId = MakeId();
};

/// The least device on which UART0 and bulk port 0 open in registers.
class RegisterDevice : public BenchmarkDevice
{
public:
    KoResult ReadRegister(std::uint32_t aAddress, std::uint32_t* aValue) override
    {
        constexpr std::uint32_t BULK_0_CONFIG = 0xB898;
        constexpr std::uint32_t FUNCTION_CAPS = 0xB8FC;
        constexpr std::uint32_t UART_230400_RESERVE_124 = 0x7C0010E0;
        constexpr std::uint32_t ONE_UART_AND_BULK_0 = 0x80000031;
        *aValue = aAddress == FUNCTION_CAPS   ? ONE_UART_AND_BULK_0
                  : aAddress == BULK_0_CONFIG ? UART_230400_RESERVE_124
                                              : 0;
        return Ok();
    }

    /// Sends an event that is only a status.
    void Interrupt(std::uint32_t aStatus)
    {
        mSink->NotifyEvent(SERIAL_INTERRUPT_EVENT, 0, 0, 0, &aStatus, sizeof(aStatus));
    }
};

constexpr std::uint32_t UART0_DATA_REGISTER = 0xB84C;

/// Confirms what it gets before the call that brings it returns.
class ConfirmingDevice : public RegisterDevice
{
public:
    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t) override
    {
        if (aAddress == UART0_DATA_REGISTER)
        {
            Interrupt(UART0_SENT);
        }
        return Ok();
    }

    KoResult BulkTransmit(const std::uint8_t*, std::uint32_t, std::uint32_t) override
    {
        Interrupt(BULK0_SENT);
        return Ok();
    }
};

/// The least device on which a bulk port in features opens. It takes frames and leaves the bytes of an event where the
/// library wants them, without a look at either: the cost is the library's.
class FeatureDevice : public BenchmarkDevice
{
public:
    explicit FeatureDevice(std::int64_t aRegisterLength, std::int64_t aReceivedLength = 0)
        : mRegisterLength(aRegisterLength),
          mReceivedLength(aReceivedLength)
    {
    }

    bool IsGenIntegerPresent(const KoString&) override { return true; }
    bool IsGenEnumPresent(const KoString&) override { return true; }
    bool IsGenRegisterPresent(const KoString&) override { return true; }
    KoResult SetGenEnumValue(const KoString&, const KoString&) override { return Ok(); }
    KoResult RegisterGenInvalidator(const KoString&) override { return Ok(); }
    KoResult UnregisterGenInvalidator(const KoString&) override { return Ok(); }
    KoResult GetGenRegisterLength(const KoString&, std::int64_t& aLength) override
    {
        aLength = mRegisterLength;
        return Ok();
    }
    KoResult GetGenIntegerValue(const KoString&, std::int64_t& aValue) override
    {
        aValue = mReceivedLength;
        return Ok();
    }
    KoResult GetGenRegisterData(const KoString&, std::uint8_t*, std::int64_t) override { return Ok(); }
    KoResult SetGenRegisterData(const KoString&, const std::uint8_t*, std::int64_t) override
    {
        ++mFrames;
        return Ok();
    }

    std::int64_t mFrames = 0; ///< frames taken

private:
    const std::int64_t mRegisterLength;
    const std::int64_t mReceivedLength;
};
