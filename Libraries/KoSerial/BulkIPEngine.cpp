#include "BulkIPEngine.h"

#include "BulkConfig.h"
#include "FunctionCaps.h"
#include "Logging.h"
#include "SerialRegisters.h"

#include <KuUtilsLib/LockScope.h>

#include <algorithm>

namespace KoSerialLib
{
namespace
{

/// Bits of bulk port 0 in DEV_REG_INTENABLE and in the status word of an event.
constexpr std::uint32_t INT_BULK_FIRST_BIT = 8;
constexpr std::uint32_t INT_BULK_ALL = 0x1F00;
constexpr std::uint32_t INT_BULK_RX = 0x0700;
constexpr std::uint32_t INT_BULK_TX_EMPTY = 0x0800;
constexpr std::uint32_t INT_BULK_TX_PARTIAL = 0x1000;

/// Bits of the command word that goes with every chunk.
constexpr std::uint32_t COMMAND_TRANSMIT = 0x80000000;
constexpr std::uint32_t COMMAND_OPTION_9 = 0x200;
constexpr std::uint32_t COMMAND_OPTION_10 = 0x400;
constexpr std::uint32_t COMMAND_OPTION_11 = 0x800;
constexpr std::uint32_t COMMAND_OPTION_12 = 0x1000;

constexpr std::uint32_t FIRST_CHUNK_SIZE = 256;
constexpr std::uint32_t FIRST_CHUNK_SIZE_I2C = 254;
constexpr std::uint32_t LARGEST_CHUNK_SIZE = 252;
constexpr std::uint32_t LARGEST_CHUNK_SIZE_I2C = 251;
constexpr std::uint32_t DEFAULT_CHUNK_SIZE = 128;

/// Whether a device has registers that can be read now.
bool IsWithinReach(IKoDeviceAdapter* aDevice, KuUtilsLib::Logger& aLogger)
{
    if (aDevice == nullptr)
    {
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_ERROR, "Device pointer is NULL.");
        return false;
    }
    if (!aDevice->IsConnected())
    {
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_ERROR, "The device is not currently connected.");
        return false;
    }
    if (!aDevice->IsTavricVideoInterface())
    {
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_ERROR, "The device is not on a Tavric video interface.");
        return false;
    }
    if (!aDevice->IsGigEVision())
    {
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_INFO, "The device is not a GigE Vision device.");
        return false;
    }
    return true;
}

/// Reads the function capabilities. Unlike the other support tests this one always asks the device: the cache is only
/// told, never consulted.
bool ReadCapsAnew(IKoDeviceAdapter& aDevice, KuUtilsLib::Logger& aLogger, std::uint32_t& aCaps)
{
    if (!aDevice.ReadRegister(DEV_REG_FUNCTION_CAPS, &aCaps).IsOK())
    {
        KoString identity;
        aDevice.GetDeviceId(identity);
        ReportFunctionCapsNS(identity.GetAscii());
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_ERROR, "Failed to read %s register.", "function capabilities");
        return false;
    }
    if ((aCaps & FUNCTION_CAPS_IMPLEMENTED) == 0)
    {
        KO_LOG_IN("IsI2CSupported", aLogger, LOG_ERROR, "Implemented bit was not set.");
        return false;
    }
    return true;
}

} // namespace

BulkIPEngine::BulkIPEngine()
    : mTxFifoEmptyEvent(true),
      mTxFifoPartialEvent(false),
      mFirstChunkSize(FIRST_CHUNK_SIZE),
      mChunkSize(DEFAULT_CHUNK_SIZE),
      mTimePerByte(DEFAULT_TIME_PER_BYTE_MS)
{
}

bool BulkIPEngine::IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    std::uint32_t caps = 0;
    if (!ReadFunctionCaps(aDevice, logger, caps))
    {
        return false;
    }
    if (aPort != KoDeviceSerialBulk0)
    {
        KO_LOG(logger, LOG_CRITICAL, "Port %d is invalid", aPort);
        return false;
    }
    return (caps & FUNCTION_CAPS_BULK_0) != 0;
}

bool BulkIPEngine::IsI2CSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
    std::uint32_t caps = 0;
    if (!IsWithinReach(aDevice, logger) || !ReadCapsAnew(*aDevice, logger, caps))
    {
        return false;
    }
    if (aPort != KoDeviceSerialBulk0)
    {
        KO_LOG(logger, LOG_CRITICAL, "Port %d is invalid", aPort);
        return false;
    }
    std::uint32_t config = 0;
    if (!aDevice->ReadRegister(DEV_REG_BULK_0_3_CONFIG, &config).IsOK())
    {
        KO_LOG(logger, LOG_ERROR, "Failed to read %s register.", "DEV_REG_BULK_0_3_CONFIG");
        return false;
    }
    return (config & BULK_0_3_CONFIG_I2C) == BULK_0_3_CONFIG_I2C && (caps & FUNCTION_CAPS_UART_COUNT) != 0;
}

KoResult BulkIPEngine::Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort)
{
    KoResult result = Attach(aDevice, aPort, &BulkIPEngine::IsSupported);
    if (!result.IsOK())
    {
        return result;
    }
    result = mDevice->ReadRegister(DEV_REG_BULK_0_CONFIG, &mBulkConfig);
    if (!result.IsOK())
    {
        return result;
    }
    result = mDevice->ReadRegister(DEV_REG_BULK_0_CLOCK_DIVIDER, &mBulkClockDivider);
    if (!result.IsOK())
    {
        return result;
    }
    UpdateTimePerByte();
    UpdateTxSizes();
    ResetStatistics();
    result = EnableInterrupts(false);
    return result.IsOK() ? Reset() : result;
}

KoResult BulkIPEngine::Close()
{
    return Detach([this] { EnableInterrupts(true); });
}

bool BulkIPEngine::IsOpened()
{
    return mDevice != nullptr;
}

KoResult BulkIPEngine::Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten)
{
    KoResult connected = CheckConnected(__func__);
    if (!connected.IsOK())
    {
        return connected;
    }
    KO_LOG(*mLogger, LOG_INFO, "Sending %d bytes of data over bulk port", aSize);
    StartWrite(aSize);
    aBytesWritten = 0;
    std::uint32_t timeoutMs = 0;
    KoResult sent = SendChunks(aData, aSize, aBytesWritten, timeoutMs);
    if (!sent.IsOK())
    {
        return sent;
    }
    // Lets the FIFO drain. A wait that times out is no failure: the device has taken every byte.
    if (mTxFifoEmptyEvent.Wait_ms(timeoutMs).GetCodeString() == nullptr)
    {
        return KO_FAIL(*mLogger, KoResult::TIMEOUT, "Timed out waiting for Tx interrupt after sending %d bytes",
                       aBytesWritten);
    }
    FinishWrite(aData, aBytesWritten);
    return KoResult(KoResult::OK);
}

/// Hands over all bytes, chunk by chunk; aTimeoutMs is how long the last chunk may take to leave the device.
KoResult BulkIPEngine::SendChunks(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten,
                                  std::uint32_t& aTimeoutMs)
{
    std::uint32_t limit = mFirstChunkSize;
    while (aBytesWritten < aSize)
    {
        const std::uint32_t chunk = std::min(limit, aSize - aBytesWritten);
        mTxFifoPartialEvent.Reset();
        mTxFifoEmptyEvent.Reset();
        KO_TRACE_IN("Write", *mLogger, "Transmitting %d byte chunk (%d bytes already sent)", chunk, aBytesWritten);
        KoResult transmitted = Transmit(aData + aBytesWritten, chunk);
        if (!transmitted.IsOK())
        {
            return transmitted;
        }
        aTimeoutMs = GetTransmitTimeout(chunk);
        aBytesWritten += chunk;
        mWriteDone.store(aBytesWritten, std::memory_order_relaxed);
        if (aBytesWritten < aSize && mTxFifoPartialEvent.Wait_ms(aTimeoutMs).GetCode() != KoResult::OK)
        {
            return KO_FAIL_IN("Write", *mLogger, KoResult::TIMEOUT,
                              "Timed out waiting for Tx interrupt after sending %d bytes", aBytesWritten);
        }
        limit = mChunkSize;
    }
    return KoResult(KoResult::OK);
}

KoResult BulkIPEngine::Transmit(const std::uint8_t* aData, std::uint32_t aLength)
{
    std::uint32_t command = COMMAND_TRANSMIT;
    command = WithBits(command, COMMAND_OPTION_9, mTxOptionBit9);
    command = WithBits(command, COMMAND_OPTION_10, mTxOptionBit10);
    command = WithBits(command, COMMAND_OPTION_11, mTxOptionBit11);
    command = WithBits(command, COMMAND_OPTION_12, mTxOptionBit12);
    const KoResult transmitted = mDevice->BulkTransmit(aData, command, aLength);
    return transmitted.IsOK() ? KoResult(KoResult::OK) : transmitted;
}

void BulkIPEngine::NotifyEvent(std::uint16_t aEventId, std::uint16_t /*aChannel*/, std::uint64_t /*aBlockId*/,
                               std::uint64_t /*aTimestamp*/, const void* aData, std::uint32_t aDataLength)
{
    if ((aEventId != EVENT_SERIAL_INTERRUPT && aEventId != EVENT_BULK_INTERRUPT) || aDataLength < WORD_SIZE)
    {
        return;
    }
    const auto* const bytes = static_cast<const std::uint8_t*>(aData);
    const std::uint32_t status = LoadWord(bytes);
    if ((status & INT_BULK_RX) != 0)
    {
        const KuUtilsLib::LockScope lock(&mMutex);
        KO_TRACE(*mLogger, "Rx Interrupt of length %d", aDataLength - WORD_SIZE);
        PushBatchToRxBuffer(bytes + WORD_SIZE, aDataLength - WORD_SIZE, 1);
    }
    if ((status & INT_BULK_TX_EMPTY) != 0)
    {
        KO_TRACE(*mLogger, "Tx fifo empty interrupt");
        mTxFifoPartialEvent.Set();
        mTxFifoEmptyEvent.Set();
    }
    if ((status & INT_BULK_TX_PARTIAL) != 0)
    {
        KO_TRACE(*mLogger, "Tx fifo partial empty interrupt");
        mTxFifoPartialEvent.Set();
    }
}

KoResult BulkIPEngine::EnableInterrupts(bool aRestore)
{
    std::uint32_t value = 0;
    if (!mDevice->ReadRegister(DEV_REG_INTENABLE, &value).IsOK())
    {
        return KO_FAIL(*mLogger, KoResult::GENERIC_ERROR, "Failed to write value %x to %s register.", value,
                       "Intenable");
    }
    if (!aRestore)
    {
        for (std::uint32_t i = 0; i < mSavedIntEnable.size(); ++i)
        {
            mSavedIntEnable[i] = (value & (1U << (INT_BULK_FIRST_BIT + i))) != 0;
        }
    }
    if (mPort != KoDeviceSerialBulk0)
    {
        return KO_FAIL(*mLogger, KoResult::NOT_SUPPORTED, "The specified port is not supported by this device.");
    }
    value |= INT_BULK_ALL;
    for (std::uint32_t i = 0; aRestore && i < mSavedIntEnable.size(); ++i)
    {
        value = WithBits(value, 1U << (INT_BULK_FIRST_BIT + i), mSavedIntEnable[i]);
    }
    if (!mDevice->WriteRegister(DEV_REG_INTENABLE, value).IsOK())
    {
        return KO_FAIL(*mLogger, KoResult::GENERIC_ERROR, "Failed to write value %x to %s register.", value,
                       "Intenable");
    }
    return KoResult(KoResult::OK);
}

KoResult BulkIPEngine::Reset()
{
    std::uint32_t config = 0;
    KoResult result = mDevice->ReadRegister(DEV_REG_BULK_0_CONFIG, &config);
    if (!result.IsOK())
    {
        return result;
    }
    result = mDevice->WriteRegister(DEV_REG_BULK_0_CONFIG, config | BULK_CONFIG_RESET);
    if (!result.IsOK())
    {
        return result;
    }
    result = mDevice->WriteRegister(DEV_REG_BULK_0_CONFIG, config & ~BULK_CONFIG_RESET);
    return result.IsOK() ? KoResult(KoResult::OK) : result;
}

void BulkIPEngine::UpdateTxSizes()
{
    const bool isI2C = GetInterface() == BULK_INTERFACE_I2C;
    const std::uint32_t reserve = mBulkConfig >> BULK_CONFIG_RESERVE_SHIFT;
    mFirstChunkSize = isI2C ? FIRST_CHUNK_SIZE_I2C : FIRST_CHUNK_SIZE;
    // A reserve beyond the largest chunk wraps to a chunk without limit.
    mChunkSize = (isI2C ? LARGEST_CHUNK_SIZE_I2C : LARGEST_CHUNK_SIZE) - reserve;
}

std::uint32_t BulkIPEngine::GetInterface() const
{
    return (mBulkConfig >> BULK_CONFIG_INTERFACE_SHIFT) & BULK_CONFIG_FIELD_MASK;
}

} // namespace KoSerialLib
