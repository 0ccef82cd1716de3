#pragma once

#include <IKoDeviceAdapter.h>
#include <IKoDeviceEventSink.h>
#include <KoDeviceSerial.h>
#include <KoResult.h>
#include <KoString.h>
#include <KuUtilsLib/Event.h>
#include <KuUtilsLib/Logger.h>
#include <KuUtilsLib/Mutex.h>

#include <atomic>
#include <cstdint>
#include <list>
#include <memory>
#include <thread>

class KoDeviceSerialPortArrivalSink;
class KoDeviceSerialPortEchoSink;

namespace KoSerialLib
{

/// What every engine shares: the receive ring with its read path, the write progress, the statistics and the
/// process-wide echo sinks.
///
/// The threads of the device layer feed the ring, the application reads from it; mMutex stands between them. A ring of
/// size N holds N - 1 bytes; a new byte pushes out the oldest when it is full.
///
/// What an engine owes this base: Write() calls StartWrite() first, advances mWriteDone as bytes go out and calls
/// FinishWrite() when all have; event handlers feed every received byte in the order of arrival.
class SerialPort : public IKoDeviceEventSink
{
public:
    SerialPort();

    SerialPort(const SerialPort&) = delete;
    SerialPort& operator=(const SerialPort&) = delete;

    void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId, std::uint64_t aTimestamp,
                     const void* aData, std::uint32_t aDataLength) override;
    void NotifyInvalidatedGenParameter(const KoString& aParameterName) override;

    /// Lets go of the device without telling it: an engine that is open must be closed first.
    ~SerialPort() override;

    /// Forgets the device, the unread bytes and the write progress; keeps the ring and the statistics. @return OK
    virtual KoResult Close();

    virtual bool IsOpened() = 0;
    virtual KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten) = 0;
    virtual KoResult GetWriteProgress(std::uint32_t& aWritten, std::uint32_t& aTotal);
    virtual KoResult FlushRxBuffer();
    virtual KoResult GetRxBytesReady(std::uint32_t& aBytes);
    virtual KoResult GetRxBufferSize(std::uint32_t& aSize);
    virtual KoResult SetRxBufferSize(std::uint32_t aSize);

    /// Binds the engine to a port of a device. aPortName is the identity text of the device.
    void Init(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort, const char* aPortName);

    /// Feeds one received byte. aLock: true takes mMutex, false tells that the caller holds it.
    void PushToRxBuffer(std::uint8_t aByte, bool aLock);

    KoResult Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead, std::uint32_t aTimeoutMs);
    KoResult NotifyReadComplete();
    void ResetStatistics();

    /// Most unread bytes that the ring has held since the statistics were reset.
    std::uint32_t GetMostBytesReady();

    /// Ends the wait of a Read that is waiting now; it returns OK with 0 bytes.
    void CancelRead();

    /// Tells aSink of every arrival from now on; NULL tells nobody. After the return the sink before is not called.
    void SetArrivalSink(KoDeviceSerialPortArrivalSink* aSink);

    /// Shows bytes that went out to the echo sinks. The caller must not hold mMutex.
    void EchoTransmit(const std::uint8_t* aData, std::uint32_t aLength);

    /// Shows bytes that were read to the echo sinks. The caller must not hold mMutex.
    void EchoReceive(const std::uint8_t* aData, std::uint32_t aLength);

    static KoResult RegisterEchoSink(KoDeviceSerialPortEchoSink* aSink);
    static KoResult UnregisterEchoSink(KoDeviceSerialPortEchoSink* aSink);

    /// Ends the process, in builds that check the contract, when this engine is about to give way to another one while
    /// a device still delivers to it.
    void CheckThatItMayBeReplaced() const;

protected:
    /// Feeds aCount received bytes that lie aStride bytes apart, 1 or 4; the effect is that of PushToRxBuffer() for
    /// each of them. All aStride bytes of each must be there. The caller holds mMutex.
    void PushBatchToRxBuffer(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride);

    /// Starts the write progress of a write of aTotal bytes.
    void StartWrite(std::uint32_t aTotal);

    /// Shows a finished write to the echo sinks and counts it.
    void FinishWrite(const std::uint8_t* aData, std::uint32_t aLength);

    /// The echo sinks in the order of registration, guarded by the mutex, which is held while they are called.
    static std::list<KoDeviceSerialPortEchoSink*> sEchoSinkList;
    static KuUtilsLib::Mutex sEchoSinkListMutex;

    IKoDeviceAdapter* mDevice = nullptr;
    KoDeviceSerial mPort = KoDeviceSerialInvalid;
    KoString mPortName;
    KuUtilsLib::Mutex mMutex;
    std::unique_ptr<std::uint8_t[]> mRxBuffer;
    std::uint32_t mRxHead = 0;
    std::uint32_t mRxTail = 0;
    std::atomic<std::uint32_t> mRxBufferSize{0};
    KuUtilsLib::Event mRxEvent;
    std::atomic<bool> mReaderWaiting{false};
    KuUtilsLib::Logger* mLogger;
    std::atomic<std::uint32_t> mWriteDone{0};
    std::atomic<std::uint32_t> mWriteTotal{0};

public:
    std::atomic<std::uint64_t> mBytesSent{0};
    std::atomic<std::uint64_t> mBytesReceived{0};
    std::atomic<std::uint64_t> mBytesDropped{0}; ///< pushed out of the full ring; counted as the ones above

private:
    class ReadScope;

    void CheckThatNoOtherThreadReads() const;
    bool TakeOrAnnounceReader(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead,
                              std::uint32_t aTimeoutMs);
    bool WaitForReceivedByte(std::uint32_t aTimeoutMs);
    std::uint32_t GetUnreadCount() const;
    void StoreInRing(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride);
    void StoreAndPushOut(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride);
    void CopyToRing(const std::uint8_t* aFirst, std::uint32_t aCount, std::uint32_t aStride);
    std::uint32_t TakeFromRing(std::uint8_t* aBuffer, std::uint32_t aSize);
    void CountDropped(std::uint32_t aCount);
    void EmptyRing();
    std::uint32_t NoteBytesReady();
    void ReportArrival();

    template <typename Notification>
    static void NotifyEchoSinks(Notification aNotify);

    std::atomic<std::thread::id> mReader{
        std::thread::id()}; ///< the thread inside Read(), known to builds that check it

    /// Length of mRxBuffer, guarded by mMutex. mRxBufferSize may be ahead of it while the ring changes its size.
    std::uint32_t mRxRingLength = 0;

    /// Most unread bytes up to the last time when some were taken out: in between they only become more.
    std::atomic<std::uint32_t> mMostBytesReady{0};

    std::atomic<KoDeviceSerialPortArrivalSink*> mArrivalSink{nullptr}; ///< changed and called with mMutex held
};

} // namespace KoSerialLib
