#pragma once

#include "DeviceSerialPort.h"

#include <KuUtilsLib/Event.h>

namespace KoSerialLib
{

/// Drives one of the two UARTs of a device through its serial register block.
///
/// A byte goes out by a write of the UART's data register; the device confirms it by an event before the next one is
/// written. Received bytes come in the same kind of event, one in each 32-bit word.
class SerialPortIPEngine : public DeviceSerialPort
{
public:
    SerialPortIPEngine();

    /// True when the device offers that UART through its register block. Reports by log only.
    static bool IsSupported(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort);

    void NotifyEvent(std::uint16_t aEventId, std::uint16_t aChannel, std::uint64_t aBlockId, std::uint64_t aTimestamp,
                     const void* aData, std::uint32_t aDataLength) override;
    KoResult Close() override;
    bool IsOpened() override;
    KoResult Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aBytesWritten) override;

    /// A failure to enable the interrupts undoes nothing: the port is held and IsOpened() is true until Close().
    KoResult Open(IKoDeviceAdapter* aDevice, KoDeviceSerial aPort) override;

    /// Address of the data register of this port.
    std::uint32_t GetPortAddress();

    /// Enables the two interrupts of this port, or, when aRestore is true, puts their enable bits back.
    KoResult EnableInterrupts(bool aRestore);

    /// After a failed write: picks up a byte that arrived without its event and lets the transmitter finish.
    void WaitForTxReadyPoll();

protected:
    KuUtilsLib::Event mTxEvent;
    bool mSavedTxIntEnabled = false;
    bool mSavedRxIntEnabled = false;

private:
    KoResult WriteByte(std::uint32_t aIndex, std::uint8_t aByte, std::uint32_t& aBytesWritten);
    void ReceiveWords(const std::uint8_t* aWords, std::uint32_t aCount);
};

} // namespace KoSerialLib
