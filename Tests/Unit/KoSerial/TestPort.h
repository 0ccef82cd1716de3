#pragma once

#include "BareHostTest.h"

#include <SerialPort.h>

#include <cstring>

/// The base of every engine with its state laid open and nothing added.
class TestPort : public KoSerialLib::SerialPort
{
public:
    using SerialPort::mDevice;
    using SerialPort::mLogger;
    using SerialPort::mMutex;
    using SerialPort::mPort;
    using SerialPort::mPortName;
    using SerialPort::mReaderWaiting;
    using SerialPort::mRxBuffer;
    using SerialPort::mRxBufferSize;
    using SerialPort::mRxEvent;
    using SerialPort::mRxHead;
    using SerialPort::mRxTail;
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

    /// Takes out all unread bytes, up to aSize.
    Bytes ReadAll(std::uint32_t aSize = 64)
    {
        Bytes bytes(aSize);
        std::uint32_t count = 0;
        Read(bytes.data(), aSize, count, 0);
        bytes.resize(count);
        return bytes;
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
