#include "SerialPort.h"

#include "Logging.h"
#include "SerialRegisters.h"

#include <KoDeviceSerialPortArrivalSink.h>
#include <KoDeviceSerialPortEchoSink.h>
#include <KuUtilsLib/LockScope.h>
#include <KuUtilsLib/Thread.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

namespace KoSerialLib
{
namespace
{

constexpr std::uint32_t DEFAULT_RX_BUFFER_SIZE = 16384;

/// Whether breaches of the contract of an operation end the process, which is kinder than corrupt memory.
#ifdef KO_CHECK_CONTRACT
constexpr bool CHECKS_CONTRACT = true;
#else
constexpr bool CHECKS_CONTRACT = false;
#endif

// GCOVR_EXCL_START: the process ends without a count
[[noreturn]] void EndProcess(const char* aWhy)
{
    std::fprintf(stderr, "KoSerial: %s\n", aWhy);
    std::abort();
}
// GCOVR_EXCL_STOP

constexpr std::uint32_t GATHER_BLOCK = 16; ///< words, the bytes of which make a vector

/// A register full of bytes, for the compilers' vector instructions.
using Vector = std::uint8_t __attribute__((vector_size(16)));

Vector LoadVector(const std::uint8_t* aFrom)
{
    Vector vector;
    std::memcpy(&vector, aFrom, sizeof(vector));
    return vector;
}

/// Every other byte, beginning with the first one.
Vector TakeEven(Vector aLow, Vector aHigh)
{
    return __builtin_shufflevector(aLow, aHigh, 0, 2, 4, 6, 8, 10, 12, 14, 16, 18, 20, 22, 24, 26, 28, 30);
}

/// Copies the first bytes of GATHER_BLOCK words.
void GatherBlock(std::uint8_t* aTo, const std::uint8_t* aFrom)
{
    const Vector low = TakeEven(LoadVector(aFrom), LoadVector(aFrom + 16));
    const Vector high = TakeEven(LoadVector(aFrom + 32), LoadVector(aFrom + 48));
    const Vector bytes = TakeEven(low, high);
    std::memcpy(aTo, &bytes, sizeof(bytes));
}

/// Copies aCount bytes that lie aStride bytes apart, 1 or 4, to one run of bytes.
void Gather(std::uint8_t* aTo, const std::uint8_t* aFrom, std::uint32_t aCount, std::uint32_t aStride)
{
    if (aStride == 1)
    {
        std::memcpy(aTo, aFrom, aCount);
        return;
    }
    std::uint32_t done = 0;
    for (; aCount - done >= GATHER_BLOCK; done += GATHER_BLOCK)
    {
        GatherBlock(aTo + done, aFrom + static_cast<std::size_t>(done) * WORD_SIZE);
    }
    for (; done < aCount; ++done)
    {
        aTo[done] = aFrom[static_cast<std::size_t>(done) * WORD_SIZE];
    }
}

} // namespace

/// Tells builds that check the contract which thread is inside Read().
class SerialPort::ReadScope
{
public:
    explicit ReadScope(SerialPort& aPort) : mPort(aPort)
    {
        if (CHECKS_CONTRACT)
        {
            mPort.mReader.store(std::this_thread::get_id(), std::memory_order_relaxed);
        }
    }
    ~ReadScope()
    {
        if (CHECKS_CONTRACT)
        {
            mPort.mReader.store(std::thread::id(), std::memory_order_relaxed);
        }
    }
    ReadScope(const ReadScope&) = delete;
    ReadScope& operator=(const ReadScope&) = delete;

private:
    SerialPort& mPort;
};

std::list<KoDeviceSerialPortEchoSink*> SerialPort::sEchoSinkList;
KuUtilsLib::Mutex SerialPort::sEchoSinkListMutex(nullptr, nullptr);

SerialPort::SerialPort()
    : mMutex(nullptr, nullptr),
      mRxEvent(true),
      mLogger(KuUtilsLib::Logger::Create(KO_LOG_CATEGORY, nullptr, 0))
{
    try
    {
        SerialPort::SetRxBufferSize(DEFAULT_RX_BUFFER_SIZE);
    }
    catch (...)
    {
        KuUtilsLib::Logger::Free(mLogger);
        throw;
    }
    ResetStatistics();
}

SerialPort::~SerialPort()
{
    SerialPort::Close();
    mRxBuffer.reset();
    KuUtilsLib::Logger::Free(mLogger);
}

void SerialPort::NotifyEvent(std::uint16_t /*aEventId*/, std::uint16_t /*aChannel*/, std::uint64_t /*aBlockId*/,
                             std::uint64_t /*aTimestamp*/, const void* /*aData*/, std::uint32_t /*aDataLength*/)
{
}

void SerialPort::NotifyInvalidatedGenParameter(const KoString& /*aParameterName*/) {}

void SerialPort::Init(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, const char* aPortName)
{
    // What may fail for want of memory comes first.
    mPortName = KoString(aPortName);
    mDevice = aDevice;
    mPort = aPort;
}

KoResult SerialPort::Close()
{
    CheckThatNoOtherThreadReads();
    const KuUtilsLib::LockScope lock(&mMutex);
    mDevice = nullptr;
    mPort = KoDeviceSerialInvalid;
    EmptyRing();
    mWriteDone.store(0, std::memory_order_relaxed);
    mWriteTotal.store(0, std::memory_order_relaxed);
    mPortName = KoString();
    return KoResult(KoResult::OK);
}

KoResult SerialPort::GetWriteProgress(std::uint32_t& aWritten, std::uint32_t& aTotal)
{
    const std::uint32_t total = mWriteTotal.load(std::memory_order_relaxed);
    if (total == 0)
    {
        return KO_FAIL(*mLogger, KoResult::STATE_ERROR,
                       "Serial Port write progress queried when no write operation has been started or completed");
    }
    aWritten = mWriteDone.load(std::memory_order_relaxed);
    aTotal = total;
    return KoResult(KoResult::OK);
}

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

KoResult SerialPort::Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead,
                          std::uint32_t aTimeoutMs)
{
    const ReadScope reading(*this);
    aBytesRead = 0;
    if (!TakeOrAnnounceReader(aBuffer, aSize, aBytesRead, aTimeoutMs))
    {
        if (aTimeoutMs == 0)
        {
            return KoResult(KoResult::TIMEOUT);
        }
        if (!WaitForReceivedByte(aTimeoutMs))
        {
            EchoReceive(aBuffer, 0);
            return KoResult(KoResult::TIMEOUT);
        }
        const KuUtilsLib::LockScope lock(&mMutex);
        aBytesRead = TakeFromRing(aBuffer, aSize);
    }
    EchoReceive(aBuffer, aBytesRead);
    mBytesReceived.fetch_add(aBytesRead, std::memory_order_relaxed);
    return KoResult(KoResult::OK);
}

KoResult SerialPort::NotifyReadComplete()
{
    NotifyEchoSinks([this](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnReadComplete(mPortName, mPort, aTime); });
    return KoResult(KoResult::OK);
}

void SerialPort::ResetStatistics()
{
    mBytesSent.store(0, std::memory_order_relaxed);
    mBytesReceived.store(0, std::memory_order_relaxed);
    mBytesDropped.store(0, std::memory_order_relaxed);
    mMostBytesReady.store(0, std::memory_order_relaxed);
}

std::uint32_t SerialPort::GetMostBytesReady()
{
    const KuUtilsLib::LockScope lock(&mMutex);
    NoteBytesReady();
    return mMostBytesReady.load(std::memory_order_relaxed);
}

void SerialPort::CancelRead()
{
    const KuUtilsLib::LockScope lock(&mMutex);
    if (mReaderWaiting.load(std::memory_order_relaxed))
    {
        mRxEvent.Set();
    }
}

void SerialPort::SetArrivalSink(KoDeviceSerialPortArrivalSink* aSink)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    mArrivalSink.store(aSink, std::memory_order_relaxed);
}

void SerialPort::EchoTransmit(const std::uint8_t* aData, std::uint32_t aLength)
{
    NotifyEchoSinks([&](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnTransmitted(mPortName, mPort, aData, aLength, aTime); });
}

void SerialPort::EchoReceive(const std::uint8_t* aData, std::uint32_t aLength)
{
    NotifyEchoSinks([&](KoDeviceSerialPortEchoSink& aSink, std::uint64_t aTime)
                    { aSink.OnRead(mPortName, mPort, aData, aLength, aTime); });
}

KoResult SerialPort::RegisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    if (std::find(sEchoSinkList.begin(), sEchoSinkList.end(), aSink) != sEchoSinkList.end())
    {
        KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
        return KO_FAIL(logger, KoResult::NOT_SUPPORTED,
                       "Sink already registered: registering the same sink twice is not supported");
    }
    sEchoSinkList.push_back(aSink);
    return KoResult(KoResult::OK);
}

KoResult SerialPort::UnregisterEchoSink(KoDeviceSerialPortEchoSink* aSink)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    const auto registered = std::find(sEchoSinkList.begin(), sEchoSinkList.end(), aSink);
    if (registered == sEchoSinkList.end())
    {
        KuUtilsLib::Logger logger(KO_LOG_CATEGORY, nullptr);
        return KO_FAIL(logger, KoResult::NOT_FOUND, "Sink not found in registered echo sinks");
    }
    sEchoSinkList.erase(registered);
    return KoResult(KoResult::OK);
}

void SerialPort::StartWrite(std::uint32_t aTotal)
{
    mWriteDone.store(0, std::memory_order_relaxed);
    mWriteTotal.store(aTotal, std::memory_order_relaxed);
}

void SerialPort::FinishWrite(const std::uint8_t* aData, std::uint32_t aLength)
{
    EchoTransmit(aData, aLength);
    mBytesSent.fetch_add(aLength, std::memory_order_relaxed);
}

void SerialPort::CheckThatNoOtherThreadReads() const
{
    if (!CHECKS_CONTRACT)
    {
        return;
    }
    const std::thread::id reader = mReader.load(std::memory_order_relaxed);
    if (reader != std::thread::id() && reader != std::this_thread::get_id())
    {
        EndProcess("a port is closed while another thread still reads from it"); // GCOVR_EXCL_LINE
    }
}

void SerialPort::CheckThatItMayBeReplaced() const
{
    if (CHECKS_CONTRACT && mDevice != nullptr)
    {
        EndProcess("an object that is open is opened again: close or abandon it first"); // GCOVR_EXCL_LINE
    }
}

/// Takes what the ring holds. False when it is empty: then a byte that arrives from now on ends the wait of this
/// reader, unless it does not want to wait.
inline bool SerialPort::TakeOrAnnounceReader(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead,
                                             std::uint32_t aTimeoutMs)
{
    const KuUtilsLib::LockScope lock(&mMutex);
    if (mRxHead != mRxTail)
    {
        aBytesRead = TakeFromRing(aBuffer, aSize);
        return true;
    }
    if (aTimeoutMs != 0)
    {
        mRxEvent.Reset();
        mReaderWaiting.store(true, std::memory_order_relaxed);
    }
    return false;
}

bool SerialPort::WaitForReceivedByte(std::uint32_t aTimeoutMs)
{
    const bool signalled = mRxEvent.Wait_ms(aTimeoutMs).GetCode() == KoResult::OK;
    mReaderWaiting.store(false, std::memory_order_relaxed);
    return signalled;
}

std::uint32_t SerialPort::GetUnreadCount() const
{
    return mRxHead >= mRxTail ? mRxHead - mRxTail : mRxHead + mRxRingLength - mRxTail;
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
        Gather(&mRxBuffer[mRxHead], aFirst, aCount, aStride);
        mRxHead += aCount;
        return;
    }
    Gather(&mRxBuffer[mRxHead], aFirst, toEnd, aStride);
    Gather(&mRxBuffer[0], aFirst + std::size_t{toEnd} * aStride, aCount - toEnd, aStride);
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

template <typename Notification>
void SerialPort::NotifyEchoSinks(Notification aNotify)
{
    const KuUtilsLib::LockScope lock(&sEchoSinkListMutex);
    const std::uint64_t time = KuUtilsLib::Thread::GetTickCount();
    for (KoDeviceSerialPortEchoSink* const sink : sEchoSinkList)
    {
        aNotify(*sink, time);
    }
}

} // namespace KoSerialLib
