#pragma once

#include "HexText.h"
#include "LaidOpen.h"

#include <BulkIPEngine.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

constexpr std::uint32_t INTENABLE = 0xB838;
constexpr std::uint32_t BULK_CONFIG = 0xB898;
constexpr std::uint32_t CLOCK_DIVIDER = 0xB954;
constexpr std::uint32_t BULK_0_3_CONFIG = 0xB95C;

constexpr std::uint16_t SERIAL_INTERRUPT = 0x9000;
constexpr std::uint16_t BULK_INTERRUPT = 0x9001;
constexpr std::uint32_t RX = 0x100;
constexpr std::uint32_t TX_EMPTY = 0x800;
constexpr std::uint32_t TX_PARTIAL = 0x1000;

/// Configurations of the port without a reserve.
constexpr std::uint32_t USRT = 0x0000;
constexpr std::uint32_t UART_9600 = 0x1000;
constexpr std::uint32_t UART_115200 = 0x10C0;
constexpr std::uint32_t I2C = 0x2000;
constexpr std::uint32_t DOUBLE_TIME = 0x400;

constexpr std::uint32_t Reserve(std::uint32_t aBytes)
{
    return aBytes << 24;
}

/// The register engine of bulk port 0 with its state laid open.
class TestBulk : public LaidOpen<KoSerialLib::BulkIPEngine>
{
public:
    using BulkIPEngine::mBulkClockDivider;
    using BulkIPEngine::mBulkConfig;
    using BulkIPEngine::mChunkSize;
    using BulkIPEngine::mFirstChunkSize;
    using BulkIPEngine::mSavedIntEnable;
    using BulkIPEngine::mTimePerByte;
    using BulkIPEngine::mTxFifoEmptyEvent;
    using BulkIPEngine::mTxFifoPartialEvent;
};

/// The engine on a scripted device that offers bulk port 0 and one UART.
class BulkTest : public BareHostTest
{
protected:
    BulkTest()
    {
        mDevice.mRegisters[FUNCTION_CAPS] = {0x80000011};
        mDevice.mOnCall = [this, checkLocks = mDevice.mOnCall](const std::string& aCall)
        {
            checkLocks(aCall);
            if (aCall.compare(0, 13, "BulkTransmit ") == 0)
            {
                CountChunk();
            }
        };
    }

    ~BulkTest() override
    {
        if (mBulk.IsOpened())
        {
            mDevice.mConnected = true;
            mBulk.Close();
        }
    }

    void CountChunk()
    {
        if (mChunkLimit-- == 0)
        {
            ADD_FAILURE() << "a write does not end";
            mDevice.FailEvery("BulkTransmit");
        }
        if (mOnChunk)
        {
            mOnChunk(mChunks++);
        }
    }

    /// Opens the port on a device with that configuration and forgets what this took.
    void Open(std::uint32_t aConfig = UART_115200)
    {
        mDevice.mRegisters[BULK_CONFIG] = {aConfig};
        ASSERT_TRUE(mBulk.Open(&mDevice, KoDeviceSerialBulk0).IsOK());
        mDevice.TakeCalls();
        mHost.mLog.clear();
        mHost.mTaken.clear();
    }

    /// Sends the interrupt aStatus once aDelayMs have passed.
    void InterruptIn(std::uint32_t aDelayMs, std::uint32_t aStatus)
    {
        mHost.At(aDelayMs, [this, aStatus] { mDevice.SendWords(SERIAL_INTERRUPT, {aStatus}); });
    }

    /// Makes the device answer every chunk with the interrupt aStatus.
    void AnswerChunks(std::uint32_t aStatus = TX_EMPTY, std::uint32_t aDelayMs = 3)
    {
        mOnChunk = [this, aStatus, aDelayMs](std::size_t) { InterruptIn(aDelayMs, aStatus); };
    }

    KoResult Write(const Bytes& aBytes)
    {
        mWritten = 99;
        return mBulk.Write(aBytes.data(), static_cast<std::uint32_t>(aBytes.size()), mWritten);
    }

    /// aCount bytes that differ from chunk to chunk.
    static Bytes MakeBytes(std::size_t aCount)
    {
        Bytes bytes(aCount);
        for (std::size_t i = 0; i < aCount; ++i)
        {
            bytes[i] = static_cast<std::uint8_t>(i * 7 + i / 251);
        }
        return bytes;
    }

    /// The calls of a write of aBytes in chunks of these sizes.
    static Texts MakeCalls(const Bytes& aBytes, const std::vector<std::size_t>& aChunks)
    {
        Texts calls = {"IsConnected"};
        std::size_t sent = 0;
        for (const std::size_t chunk : aChunks)
        {
            calls.push_back("BulkTransmit 0x80000000 " + HexText(aBytes.data() + sent, chunk));
            sent += chunk;
        }
        return calls;
    }

    TestBulk mBulk;
    std::size_t mChunkLimit = 1000; ///< chunks until the device refuses them, for a write that would never end
    std::function<void(std::size_t aIndex)> mOnChunk; ///< when a chunk is handed over, before the device answers
    std::size_t mChunks = 0;                          ///< chunks handed over while mOnChunk was set
    std::uint32_t mWritten = 0;
};
