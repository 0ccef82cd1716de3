#include "SerialPort.h"

#include "Logging.h"

#include <KuUtilsLib/LockScope.h>

#include <cstdio>
#include <cstdlib>

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

void SerialPort::ResetStatistics()
{
    mBytesSent.store(0, std::memory_order_relaxed);
    mBytesReceived.store(0, std::memory_order_relaxed);
    mBytesDropped.store(0, std::memory_order_relaxed);
    mMostBytesReady.store(0, std::memory_order_relaxed);
}

void SerialPort::CancelRead()
{
    const KuUtilsLib::LockScope lock(&mMutex);
    if (mReaderWaiting.load(std::memory_order_relaxed))
    {
        mRxEvent.Set();
    }
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

} // namespace KoSerialLib
