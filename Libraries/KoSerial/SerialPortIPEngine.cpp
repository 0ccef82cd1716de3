#include "SerialPortIPEngine.h"

#include "Logging.h"
#include "SerialRegisters.h"

#include <KuUtilsLib/LockScope.h>
#include <KuUtilsLib/Thread.h>

namespace KoSerialLib
{
namespace
{

/// Bits of UART0 in DEV_REG_INTENABLE and in the status word of an event; those of UART1 follow.
constexpr std::uint32_t INT_UART_TX = 0x1;
constexpr std::uint32_t INT_UART_RX = 0x2;
constexpr std::uint32_t INT_UART_SHIFT = 2;

/// Bits of a data register, read.
constexpr std::uint32_t UART_DATA_BYTE = 0x000000FF;
constexpr std::uint32_t UART_DATA_RX_VALID = 0x00010000;
constexpr std::uint32_t UART_DATA_TX_BUSY = 0x00800000;

constexpr std::uint32_t TX_TIMEOUT_MS = 1020;
constexpr std::uint32_t TX_POLL_PERIOD_MS = 100;

bool IsUart(KoDeviceSerial aPort)
{
    return aPort == KoDeviceSerialUart0 || aPort == KoDeviceSerialUart1;
}

/// A bit of UART0, moved to the place that it has for aPort.
std::uint32_t BitOf(KoDeviceSerial aPort, std::uint32_t aUart0Bit)
{
    return aPort == KoDeviceSerialUart1 ? aUart0Bit << INT_UART_SHIFT : aUart0Bit;
}

} // namespace

SerialPortIPEngine::SerialPortIPEngine() : mTxEvent(true) {}

bool SerialPortIPEngine::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    std::uint32_t caps = 0;
    if (!ReadFunctionCaps(aDevice, logger, caps))
    {
        return false;
    }
    if (!IsUart(aPort))
    {
        KO_LOG(logger, LOG_CRITICAL, "The specified port is not supported");
        return false;
    }
    const std::uint32_t needed = aPort == KoDeviceSerialUart1 ? 2 : 1;
    return (caps & FUNCTION_CAPS_UART_COUNT) >= needed;
}

KoResult SerialPortIPEngine::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KoResult attached = Attach(aDevice, aPort, &SerialPortIPEngine::IsSupported);
    if (!attached.IsOK())
    {
        return attached;
    }
    KoResult enabled = EnableInterrupts(false);
    if (!enabled.IsOK())
    {
        return enabled;
    }
    ResetStatistics();
    return KoResult(KoResult::OK);
}

KoResult SerialPortIPEngine::Close()
{
    return Detach([this] { EnableInterrupts(true); });
}

bool SerialPortIPEngine::IsOpened()
{
    return mDevice != nullptr;
}

KoResult SerialPortIPEngine::Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten)
{
    KoResult connected = CheckConnected(__func__);
    if (!connected.IsOK())
    {
        return connected;
    }
    KO_LOG(*mLogger, LOG_INFO, "Writing %d bytes of data", aSize);
    StartWrite(aSize);
    aBytesWritten = 0;
    for (std::uint32_t i = 0; i < aSize; ++i)
    {
        KoResult written = WriteByte(i, aData[i], aBytesWritten);
        if (!written.IsOK())
        {
            return written;
        }
    }
    FinishWrite(aData, aBytesWritten);
    return KoResult(KoResult::OK);
}

KoResult SerialPortIPEngine::WriteByte(std::uint32_t aIndex, std::uint8_t aByte, std::uint32_t& aBytesWritten)
{
    // Reset before the byte goes out, so that only its own confirmation can end the wait.
    mTxEvent.Reset();
    KO_TRACE_IN("Write", *mLogger, "Writing byte %d with value 0x%02X", aIndex, aByte);
    if (!mDevice->WriteRegister(GetPortAddress(), aByte).IsOK())
    {
        WaitForTxReadyPoll();
        return KO_FAIL_IN("Write", *mLogger, KoResult::GENERIC_ERROR, "Failed to write byte %d.", aIndex);
    }
    aBytesWritten = aIndex + 1;
    mWriteDone.store(aBytesWritten, std::memory_order_relaxed);
    if (mTxEvent.Wait_ms(TX_TIMEOUT_MS).GetCode() != KoResult::OK)
    {
        WaitForTxReadyPoll();
        return KO_FAIL_IN("Write", *mLogger, KoResult::GENERIC_ERROR,
                          "Failed while waiting for the event from the device after writing byte %d.", aIndex);
    }
    return KoResult(KoResult::OK);
}

void SerialPortIPEngine::WaitForTxReadyPoll()
{
    const std::uint64_t start = KuUtilsLib::Thread::GetTickCount();
    // Start minus now, not now minus start: the difference wraps as soon as the clock moves, which ends the poll.
    while (start - KuUtilsLib::Thread::GetTickCount() <= TX_TIMEOUT_MS)
    {
        std::uint32_t value = 0;
        if (!mDevice->ReadRegister(GetPortAddress(), &value).IsOK())
        {
            return;
        }
        if ((value & UART_DATA_RX_VALID) != 0)
        {
            PushToRxBuffer(static_cast<std::uint8_t>(value & UART_DATA_BYTE), true);
        }
        if ((value & UART_DATA_TX_BUSY) == 0)
        {
            return;
        }
        KuUtilsLib::Thread::Sleep(TX_POLL_PERIOD_MS);
    }
}

void SerialPortIPEngine::NotifyEvent(std::uint16_t aEventId, std::uint16_t /*aChannel*/, std::uint64_t /*aBlockId*/,
                                     std::uint64_t /*aTimestamp*/, const void* aData, std::uint32_t aDataLength)
{
    if (aEventId != EVENT_SERIAL_INTERRUPT || aDataLength < WORD_SIZE || !IsUart(mPort))
    {
        return;
    }
    const auto* const words = static_cast<const std::uint8_t*>(aData);
    const std::uint32_t status = LoadWord(words);
    if ((status & BitOf(mPort, INT_UART_RX)) != 0)
    {
        ReceiveWords(words + WORD_SIZE, aDataLength / WORD_SIZE - 1);
    }
    if ((status & BitOf(mPort, INT_UART_TX)) != 0)
    {
        KO_TRACE(*mLogger, "Tx confirmation received");
        mTxEvent.Set();
    }
}

void SerialPortIPEngine::ReceiveWords(const std::uint8_t* aWords, std::uint32_t aCount)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    if (!mLogger->IsPriorityEnabled(KuUtilsLib::LOG_DEBUG))
    {
        PushBatchToRxBuffer(aWords, aCount, WORD_SIZE);
        return;
    }
    // Each byte is traced before the ring traces what it did with it.
    for (std::uint32_t i = 0; i < aCount; ++i)
    {
        const std::uint8_t byte = aWords[static_cast<std::size_t>(i) * WORD_SIZE];
        KO_LOG_IN("NotifyEvent", *mLogger, LOG_DEBUG, "Received byte [0x%02X]", byte);
        PushToRxBuffer(byte, false);
    }
}

std::uint32_t SerialPortIPEngine::GetPortAddress()
{
    return mPort == KoDeviceSerialUart1 ? DEV_REG_UART1_DATA : DEV_REG_UART0_DATA;
}

KoResult SerialPortIPEngine::EnableInterrupts(bool aRestore)
{
    std::uint32_t value = 0;
    if (!mDevice->ReadRegister(DEV_REG_INTENABLE, &value).IsOK())
    {
        return KO_FAIL(*mLogger, KoResult::GENERIC_ERROR, "Failed while attempting to read interrupt enable register.");
    }
    if (!aRestore)
    {
        // The bits of UART0 are what is kept, whichever UART this is.
        mSavedTxIntEnabled = (value & INT_UART_TX) != 0;
        mSavedRxIntEnabled = (value & INT_UART_RX) != 0;
    }
    if (!IsUart(mPort))
    {
        return KoResult(KoResult::NOT_SUPPORTED);
    }
    value = WithBits(value, BitOf(mPort, INT_UART_RX), !aRestore || mSavedRxIntEnabled);
    value = WithBits(value, BitOf(mPort, INT_UART_TX), !aRestore || mSavedTxIntEnabled);
    if (!mDevice->WriteRegister(DEV_REG_INTENABLE, value).IsOK())
    {
        return KO_FAIL(*mLogger, KoResult::GENERIC_ERROR,
                       "Failed while attempting to write value %x to interrupt enable register.", value);
    }
    return KoResult(KoResult::OK);
}

} // namespace KoSerialLib
