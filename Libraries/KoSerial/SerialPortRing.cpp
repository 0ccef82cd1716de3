// The receive ring of SerialPort.

#include "SerialPort.h"

#include "GatherBytes.h"
#include "Logging.h"

#include <KoDeviceSerialPortArrivalSink.h>
#include <KuUtilsLib/LockScope.h>

#include <algorithm>
#include <cstring>
#include <new>

namespace KoSerialLib
{

KoResult SerialPort::FlushRxBuffer()
{
    const KuUtilsLib::LockScope lock(&mMutex);
    EmptyRing();
    return KoResult(KoResult::OK);
}

KoResult SerialPort::GetRxBytesReady(std::uint32_t& aBytes)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    aBytes = GetUnreadCount();
    return KoResult(KoResult::OK);
}

KoResult SerialPort::GetRxBufferSize(std::uint32_t& aSize)
{
    aSize = mRxBufferSize.load(std::memory_order_relaxed);
    return KoResult(KoResult::OK);
}

KoResult SerialPort::SetRxBufferSize(std::uint32_t aSize)
{
    if (aSize == 0)
    {
        return KO_FAIL(*mLogger, KoResult::INVALID_PARAMETER, "The receive buffer size cannot be 0.");
    }
    // The new size is visible at once; the ring itself changes under the lock.
    mRxBufferSize.store(aSize, std::memory_order_relaxed);
    const KuUtilsLib::LockScope lock(&mMutex);
    // The new ring comes first, so that the old one stays when there is no memory for it.
    std::uint8_t* const ring = new (std::nothrow) std::uint8_t[aSize];
    if (ring == nullptr)
    {
        mRxBufferSize.store(mRxRingLength, std::memory_order_relaxed);
        throw std::bad_alloc();
    }
    EmptyRing();
    mRxBuffer.reset(ring);
    mRxRingLength = aSize;
    return KoResult(KoResult::OK);
}

std::uint32_t SerialPort::GetMostBytesReady()
{
    const KuUtilsLib::LockScope lock(&mMutex);
    NoteBytesReady();
    return mMostBytesReady.load(std::memory_order_relaxed);
}

void SerialPort::PushToRxBuffer(std::uint8_t aByte, bool aLock)
{
    if (aLock)
    {
        const KuUtilsLib::LockScope lock(&mMutex);
        PushToRxBuffer(aByte, false);
        return;
    }
    const bool overflows = GetUnreadCount() + 1 == mRxRingLength;
    const std::uint32_t tail = mRxTail;
    mRxBuffer[mRxHead] = aByte;
    mRxHead = (mRxHead + 1) % mRxRingLength;
    if (overflows)
    {
        mRxTail = (mRxTail + 1) % mRxRingLength;
        CountDropped(1);
    }
    KO_TRACE(*mLogger, "RxBuffer Head: %i Tail %i", mRxHead, tail);
    ReportArrival();
}

void SerialPort::PushBatchToRxBuffer(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride)
{
    if (aCount == 0)
    {
        return;
    }
    if (mLogger->IsPriorityEnabled(KuUtilsLib::LOG_DEBUG))
    {
        for (std::uint32_t i = 0; i < aCount; ++i)
        {
            PushToRxBuffer(aFirst[std::size_t{i} * aStride], false);
        }
        return;
    }
    StoreInRing(aFirst, aCount, aStride);
    ReportArrival();
}

void SerialPort::SetArrivalSink(KoDeviceSerialPortArrivalSink* aSink)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    mArrivalSink.store(aSink, std::memory_order_relaxed);
}

std::uint32_t SerialPort::GetUnreadCount() const
{
    return mRxHead >= mRxTail ? mRxHead - mRxTail : mRxHead + mRxRingLength - mRxTail;
}

void SerialPort::EmptyRing()
{
    NoteBytesReady();
    mRxHead = 0;
    mRxTail = 0;
}

/// The number of unread bytes, which are about to become fewer.
inline std::uint32_t SerialPort::NoteBytesReady()
{
    const std::uint32_t ready = GetUnreadCount();
    if (ready > mMostBytesReady.load(std::memory_order_relaxed))
    {
        mMostBytesReady.store(ready, std::memory_order_relaxed);
    }
    return ready;
}

void SerialPort::CountDropped(std::uint32_t aCount)
{
    mBytesDropped.fetch_add(aCount, std::memory_order_relaxed);
}

inline void SerialPort::StoreInRing(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride)
{
    const std::uint32_t free = mRxRingLength - 1 - GetUnreadCount();
    if (aCount > free)
    {
        CountDropped(aCount - free);
        StoreAndPushOut(aFirst, aCount, aStride);
        return;
    }
    CopyToRing(aFirst, aCount, aStride);
}

/// Stores more bytes than there is room for. Only the last ones survive, at the place where one byte after the other
/// would put them.
void SerialPort::StoreAndPushOut(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride)
{
    const std::uint32_t skipped = aCount - std::min(aCount, mRxRingLength);
    mRxHead = static_cast<std::uint32_t>((std::uint64_t{mRxHead} + skipped) % mRxRingLength);
    CopyToRing(aFirst + std::size_t{skipped} * aStride, aCount - skipped, aStride);
    mRxTail = mRxHead + 1 == mRxRingLength ? 0 : mRxHead + 1;
}

/// Copies bytes to the head of the ring, at most as many as it is long.
inline void SerialPort::CopyToRing(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride)
{
    const std::uint32_t toEnd = mRxRingLength - mRxHead;
    if (aCount < toEnd)
    {
        GatherBytes(&mRxBuffer[mRxHead], aFirst, aCount, aStride);
        mRxHead += aCount;
        return;
    }
    GatherBytes(&mRxBuffer[mRxHead], aFirst, toEnd, aStride);
    GatherBytes(&mRxBuffer[0], aFirst + std::size_t{toEnd} * aStride, aCount - toEnd, aStride);
    mRxHead = aCount - toEnd;
}

std::uint32_t SerialPort::TakeFromRing(std::uint8_t* aBuffer, std::uint32_t aSize)
{
    // A size of 0 still takes one byte when one is ready.
    const std::uint32_t count = std::min(std::max(aSize, 1U), NoteBytesReady());
    KO_TRACE_IN("Read", *mLogger, "Read %d bytes of data", count);
    if (count == 0)
    {
        return 0;
    }
    const std::uint32_t toEnd = mRxRingLength - mRxTail;
    if (count < toEnd)
    {
        std::memcpy(aBuffer, &mRxBuffer[mRxTail], count);
        mRxTail += count;
    }
    else
    {
        std::memcpy(aBuffer, &mRxBuffer[mRxTail], toEnd);
        std::memcpy(aBuffer + toEnd, &mRxBuffer[0], count - toEnd);
        mRxTail = count - toEnd;
    }
    return count;
}

/// What follows when bytes have been stored.
inline void SerialPort::ReportArrival()
{
    if (mReaderWaiting.load(std::memory_order_relaxed))
    {
        mRxEvent.Set();
    }
    if (KoDeviceSerialPortArrivalSink* const sink = mArrivalSink.load(std::memory_order_relaxed))
    {
        sink->OnArrival();
    }
}

} // namespace KoSerialLib
