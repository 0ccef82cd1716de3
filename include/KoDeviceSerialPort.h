#pragma once

#include <KoDeviceSerial.h>
#include <KoResult.h>
#include <KoSerialExport.h>

#include <cstdint>
#include <memory>

class IKoDeviceAdapter;
class KoDeviceSerialPortArrivalSink;
class KoDeviceSerialPortEchoSink;

namespace KoSerialLib
{
class DeviceSerialPort;
}

/// A serial port on one of the two UARTs or eight bulk ports of a device.
///
/// An object is closed until Open() succeeds and may be opened again, on the same or another port, after Close().
///
/// @par Threads
/// One thread may read while another writes and others query. Two writes, or two reads, must not overlap. Open(),
/// Close(), Abandon() and the destructor must not overlap any other call on the same object: a library that was built
/// with KO_CHECK_CONTRACT ends the process with a message when a port is closed while another thread reads. Different
/// objects are independent, except that the ports of one device are opened and closed one after the other: they share
/// the interrupt enable register of the device, which is read, changed and written back.
///
/// @par When the device is unplugged
/// Transfers, Open() and Close() fail with NOT_CONNECTED, Read() times out. Nothing is given up by that: the object
/// stays open, goes on holding the port and stays an event sink of its device. There are three ways on:
/// - The same object goes on when the same device is back. Where the device was without power it has forgotten how the
///   port was set up: then Close() and Open().
/// - Abandon() and, when the device is back, Open() again.
/// - Abandon(), and Open() on another adapter.
///
/// Examples/SurviveUnplugging.cpp shows all three. A port must not be destroyed, nor opened again, while its device is
/// unplugged, without Abandon() before: the device would deliver the next byte to memory that was freed.
///
/// @par When memory runs out
/// No operation throws, except for std::bad_alloc. Whatever fails with it can be called again: no lock stays held, and
/// Open() gives the port back. An open port that is destroyed when there is no memory to close it ends the process.
class KO_SERIAL_API KoDeviceSerialPort
{
public:
    /// Creates a closed port.
    KoDeviceSerialPort();

    /// Closes the port if it is open, with a warning in the log. The device must still exist and be connected then: a
    /// device that is unplugged keeps this port as an event sink and goes on to deliver when it is back, to memory that
    /// was freed; the port stays in use until the process ends. Abandon() such a port first.
    virtual ~KoDeviceSerialPort();

    KoDeviceSerialPort(const KoDeviceSerialPort&) = delete;
    KoDeviceSerialPort& operator=(const KoDeviceSerialPort&) = delete;

    /// Opens a port of a device. Blocks for as long as a few register or feature accesses take.
    ///
    /// An open object must be closed or abandoned first. Opening it again discards what it had: the old port stays in
    /// use until the process ends, and its device goes on to deliver to it, to memory that was freed. A library that
    /// was built with KO_CHECK_CONTRACT ends the process with a message instead.
    ///
    /// @param aDevice the device; not owned, kept until Close(), must not be NULL and must outlive the open port
    /// @param aPort the port
    /// @return
    /// - OK: the port is open; received bytes are collected from now on, in a ring of 16384 bytes, and the statistics
    /// are 0
    /// - INVALID_PARAMETER: aPort is KoDeviceSerialInvalid; the object stays as it was
    /// - NOT_SUPPORTED: aPort is unknown (the object stays as it was), or the device does not offer it
    /// - NOT_CONNECTED: the device is not connected
    /// - GENERIC_ERROR: another object of this process holds the port ("The specified port is already in use."), or an
    ///   access to the device failed; on bulk port 0 a failed access may give the code of the device instead. After a
    ///   failed access IsOpened() may be true: then Close() cleans up, or Abandon() where Close() is refused
    [[nodiscard]] KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Closes the port and forgets received bytes that were not read. The ring size and the statistics stay.
    /// @return OK; NOT_CONNECTED when the port is not open, or when the device is not connected: then the port stays
    ///         open and held, until Close() succeeds or Abandon() is called
    KoResult Close();

    /// Gives up a port whose device is gone: the port is free for others, no event reaches this object any more, and
    /// unread bytes are forgotten. The device is not asked and keeps its settings; the adapter must still exist. Waits
    /// for a running call of the device layer to this object. Does nothing when the port is not open.
    ///
    /// Must not overlap another call on the same object. The ring size and the statistics stay.
    void Abandon();

    /// True between a successful Open() and a successful Close(), or Abandon(), and after an Open() that Close() has to
    /// clean up.
    bool IsOpened();

    /// Sends bytes. Blocks until the device has them: on a UART until each is confirmed, up to 1020 ms for a byte; on a
    /// bulk port until the last chunk or frame is handed over and, as far as its time-out allows, sent.
    ///
    /// On a bulk port 0 that the device offers in its registers a long write can lose bytes at a thread that is late,
    /// and nothing reports it: "Writing to bulk port 0 without loss" on the main page says when, and what avoids it.
    /// @param aData the bytes, not kept; may be NULL when aSize is 0
    /// @param aSize number of bytes
    /// @param[out] aBytesWritten number of bytes handed to the device, also after a failure; unchanged on NOT_CONNECTED
    /// @return
    /// - OK: all bytes went out
    /// - NOT_CONNECTED: the port is not open, or the device is not connected
    /// - GENERIC_ERROR: the device refused a byte or did not confirm it in time (UART)
    /// - TIMEOUT: the device did not make room in time (bulk port 0)
    /// - BUFFER_TOO_SMALL: the device has no room for any frame (bulk ports)
    /// - another code: what the device answered (bulk ports)
    [[nodiscard]] KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten);

    /// Tells how far the current or last write has come. May be called while another thread writes.
    /// @param[out] aWritten bytes sent; unchanged on failure
    /// @param[out] aTotal bytes to send; unchanged on failure
    /// @return OK; STATE_ERROR when nothing was written since the port was opened, or the last write was of 0 bytes
    KoResult GetWriteProgress(std::uint32_t& aWritten, std::uint32_t& aTotal);

    /// Takes out received bytes. Returns as soon as there is at least one; it does not wait to fill the buffer.
    ///
    /// A port that is closed, or whose device is gone, answers like a line on which nothing comes, with TIMEOUT after
    /// the whole time-out: IsOpened() and IKoDeviceAdapter::IsConnected() tell these apart. FlushRxBuffer() and
    /// SetRxBufferSize() do not end a wait, but may take away the bytes that have ended it.
    /// @param[out] aBuffer where the bytes go; room for one byte at least, even when aSize is 0
    /// @param aSize most bytes to take; 0 takes one byte when one is ready
    /// @param[out] aBytesRead number of bytes taken; 0 with OK when CancelRead() has ended the wait, or FlushRxBuffer()
    ///                        or SetRxBufferSize() took away the bytes that have ended it
    /// @param aTimeoutMs how long to wait for the first byte, in milliseconds; 0 does not wait
    /// @return OK; TIMEOUT: nothing came in time
    [[nodiscard]] KoResult Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t& aBytesRead,
                                std::uint32_t aTimeoutMs);

    /// Ends the wait of a thread that is inside Read() now, which returns OK with 0 bytes; does nothing when none
    /// waits. Any thread may call it. It does not outlast the call: a Read() that begins later waits as ever.
    void CancelRead();

    /// Tells aSink of every arrival of bytes from now on, in place of the sink before; NULL tells nobody. To be called
    /// after Open(), which begins without a sink; bytes may have arrived before: GetRxBytesReady() tells. May be called
    /// while another thread reads or writes, but not from inside the sink.
    ///
    /// When it returns, no call to the sink before runs or will come.
    /// @param aSink not owned; must stay alive until it is replaced or the port is closed or abandoned
    void SetArrivalSink(KoDeviceSerialPortArrivalSink* aSink);

    /// Forgets the received bytes that were not read. May be called while another thread reads: a read that has just
    /// been woken by such a byte returns OK with 0 bytes, one that waits goes on waiting. @return OK
    KoResult FlushRxBuffer();

    /// Tells how many received bytes wait to be read. @return OK
    KoResult GetRxBytesReady(std::uint32_t& aBytes);

    /// Tells the size of the receive ring in bytes; it holds one byte less. 16384 after construction and after Open().
    /// @return OK
    KoResult GetRxBufferSize(std::uint32_t& aSize);

    /// Changes the size of the receive ring and forgets the received bytes that were not read; to be called after
    /// Open(), which makes a new ring. When the ring is full, a new byte pushes out the oldest. What holds for
    /// FlushRxBuffer() while another thread reads holds here, too.
    /// @param aSize new size in bytes
    /// @return OK; INVALID_PARAMETER: aSize is 0, the ring stays as it is
    KoResult SetRxBufferSize(std::uint32_t aSize);

    /// Marks the end of a sequence of reads for the echo sinks. @return OK
    KoResult NotifyReadComplete();

    /// Bytes sent by successful writes since Open() or ResetStatistics(); kept by Close().
    std::uint64_t GetBytesSent() const;

    /// Bytes handed out by Read() since Open() or ResetStatistics(); kept by Close().
    std::uint64_t GetBytesReceived() const;

    /// Received bytes that were lost because the ring was full, since Open() or ResetStatistics(); kept by Close().
    /// Bytes that Close(), FlushRxBuffer() or SetRxBufferSize() took away do not count.
    std::uint64_t GetBytesDropped() const;

    /// Most bytes that ever waited to be read, since Open() or ResetStatistics(); kept by Close(). Where it comes close
    /// to the size of the ring, bytes are about to be lost.
    std::uint32_t GetMostBytesReady() const;

    /// Sets all counts to 0.
    void ResetStatistics();

    /// True when the device is connected and offers that port. Any thread may ask; NULL and unknown ports give false.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    /// Shows aSink the traffic of every port from now on. Any thread may call it, except from inside a sink.
    /// @param aSink not owned; must stay alive until it is unregistered
    /// @return OK; INVALID_PARAMETER: aSink is NULL; NOT_SUPPORTED: it is registered already
    static KoResult RegisterEchoSink(KoDeviceSerialPortEchoSink* aSink);

    /// Stops it; after the return no call to aSink runs or will come. Any thread may call it, except from inside a
    /// sink.
    /// @return OK; INVALID_PARAMETER: aSink is NULL; NOT_FOUND: it is not registered
    static KoResult UnregisterEchoSink(KoDeviceSerialPortEchoSink* aSink);

private:
    std::unique_ptr<KoSerialLib::DeviceSerialPort> mEngine;
};
