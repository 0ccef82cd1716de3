#pragma once

#include <KoDeviceSerial.h>
#include <KoDeviceSerialPort.h>

#include <cstdint>
#include <functional>
#include <string>

class IKoDeviceAdapter;

namespace KoTool
{

class SimulatedSetup;

/// A port that is open, with a receive ring so large that nothing received is pushed out. One thread may read while
/// another writes and a third one queries.
class OpenPort
{
public:
    /// @throws Failure when the port cannot be opened
    OpenPort(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort);

    /// Closes the port if it is open; gives it up when the device is gone.
    ~OpenPort();

    OpenPort(const OpenPort&) = delete;
    OpenPort& operator=(const OpenPort&) = delete;

    const std::string& GetName() const { return mName; }

    /// Sends all bytes.
    /// @param[out] aWritten how many went out, also when it throws
    /// @throws Failure
    void Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aWritten);

    /// How far the present piece has come; 0 when it has come to its end. There must have been a write before.
    std::uint32_t GetWriteProgress();

    /// Waits for the first byte, at most aTimeoutMs milliseconds, and takes what is there.
    /// @return number of bytes; 0 when nothing came in time
    std::uint32_t Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t aTimeoutMs);

    /// Number of bytes that Read() can take at once.
    std::uint32_t GetBytesReady();

    /// Marks the end of a sequence of reads for the echo sinks.
    void NotifyReadComplete();

    bool IsConnected();

    /// @throws Failure when the device is gone
    void CheckConnected();

    /// @throws Failure
    void Close();

private:
    IKoDeviceAdapter& mDevice;
    const std::string mName;
    KoDeviceSerialPort mPort;
};

/// Runs aAction on an open port. The far ends of the lines come to life after the port has been opened, so that nothing
/// they send is missed, and have been given the time to read everything when this returns.
void WithOpenPort(SimulatedSetup& aSetup, KoDeviceSerial aPort, const std::function<void(OpenPort&)>& aAction);

} // namespace KoTool
