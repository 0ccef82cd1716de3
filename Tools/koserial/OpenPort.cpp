#include "OpenPort.h"

#include "CloseOrAbandon.h"
#include "Failure.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <IKoDeviceAdapter.h>

namespace KoTool
{
namespace
{

constexpr std::uint32_t RING_SIZE = 4U << 20;

} // namespace

OpenPort::OpenPort(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort) : mDevice(aDevice), mName(GetPortName(aPort))
{
    const KoResult opened = mPort.Open(&aDevice, aPort);
    if (!opened.IsOK())
    {
        CloseOrAbandon(mPort);
        throw MakeDeviceFailure("cannot open " + mName, opened);
    }
    mPort.SetRxBufferSize(RING_SIZE);
}

OpenPort::~OpenPort()
{
    CloseOrAbandon(mPort);
}

void OpenPort::Write(const std::uint8_t* aData, std::uint32_t aSize, std::uint32_t& aWritten)
{
    aWritten = 0;
    const KoResult written = mPort.Write(aData, aSize, aWritten);
    if (!written.IsOK())
    {
        CheckConnected();
        throw MakeDeviceFailure("cannot write to " + mName, written);
    }
}

std::uint32_t OpenPort::GetWriteProgress()
{
    std::uint32_t written = 0;
    std::uint32_t total = 0;
    mPort.GetWriteProgress(written, total);
    return written < total ? written : 0;
}

std::uint32_t OpenPort::Read(std::uint8_t* aBuffer, std::uint32_t aSize, std::uint32_t aTimeoutMs)
{
    std::uint32_t count = 0;
    const KoResult read = mPort.Read(aBuffer, aSize, count, aTimeoutMs);
    if (!read.IsOK() && read.GetCode() != KoResult::TIMEOUT)
    {
        throw MakeDeviceFailure("cannot read from " + mName, read);
    }
    return count;
}

std::uint32_t OpenPort::GetBytesReady()
{
    std::uint32_t count = 0;
    mPort.GetRxBytesReady(count);
    return count;
}

void OpenPort::NotifyReadComplete()
{
    mPort.NotifyReadComplete();
}

bool OpenPort::IsConnected()
{
    return mDevice.IsConnected();
}

void OpenPort::CheckConnected()
{
    if (!IsConnected())
    {
        throw MakeDeviceFailure("lost " + mName,
                                KoResult(KoResult::NOT_CONNECTED, "The device has been disconnected."));
    }
}

void OpenPort::Close()
{
    const KoResult closed = mPort.Close();
    if (!closed.IsOK())
    {
        throw MakeDeviceFailure("cannot close " + mName, closed);
    }
}

void WithOpenPort(SimulatedSetup& aSetup, KoDeviceSerial aPort, const std::function<void(OpenPort&)>& aAction)
{
    {
        OpenPort port(aSetup.GetDevice(), aPort);
        aSetup.ConnectFarEnds();
        aAction(port);
        port.Close();
    }
    aSetup.DisconnectFarEnds();
}

} // namespace KoTool
