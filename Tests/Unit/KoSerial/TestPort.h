#pragma once

#include "LaidOpen.h"

#include <SerialPort.h>

#include <cstring>

/// The base of every engine with its state laid open and nothing added.
class TestPort : public LaidOpen<KoSerialLib::SerialPort>
{
public:
    using SerialPort::mReaderWaiting;
    using SerialPort::mRxBuffer;
    using SerialPort::mRxBufferSize;
    using SerialPort::mRxEvent;
    using SerialPort::mWriteDone;
    using SerialPort::mWriteTotal;
    using SerialPort::PushBatchToRxBuffer;
    using SerialPort::StartWrite;

    bool IsOpened() override { return mDevice != nullptr; }

    KoResult Write(const std::uint8_t* /*aData*/, std::uint32_t /*aSize*/, std::uint32_t& /*aBytesWritten*/) override
    {
        return KoResult(KoResult::OK);
    }

    void Push(const Bytes& aBytes)
    {
        for (const std::uint8_t byte : aBytes)
        {
            PushToRxBuffer(byte, true);
        }
    }

    /// Number of unread bytes.
    std::uint32_t CountReady()
    {
        std::uint32_t ready = ~0U;
        EXPECT_TRUE(GetRxBytesReady(ready).IsOK());
        return ready;
    }

    /// A ring of aSize zeros, empty, that begins at aStart.
    void PrepareRing(std::uint32_t aSize, std::uint32_t aStart)
    {
        EXPECT_TRUE(SetRxBufferSize(aSize).IsOK());
        std::memset(mRxBuffer.get(), 0, aSize);
        mRxHead = aStart;
        mRxTail = aStart;
    }

    Bytes GetRingContent() { return Bytes(mRxBuffer.get(), mRxBuffer.get() + mRxBufferSize); }
};
