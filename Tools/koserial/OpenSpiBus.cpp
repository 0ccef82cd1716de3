#include "OpenSpiBus.h"

#include "BulkModeScope.h"
#include "CloseOrAbandon.h"
#include "Failure.h"
#include "FramePayload.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <IKoDeviceAdapter.h>

namespace KoTool
{
namespace
{

constexpr std::uint32_t HEADER_SIZE = 12;
constexpr std::uint32_t LONGEST_WRITE = 255;

/// The bytes come at the speed of the bus, after the transfer has begun; on a busy machine that may take a while.
constexpr std::uint32_t READ_TIMEOUT_MS = 10000;

} // namespace

OpenSpiBus::OpenSpiBus(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort)
    : mName(GetPortName(aPort)),
      mLongestWrite(GetFramePayload(aDevice, aPort, HEADER_SIZE, LONGEST_WRITE))
{
    if (!KoDeviceSPIBus::IsSupported(&aDevice, aPort))
    {
        throw Failure("the device offers no SPI on " + mName);
    }
    const KoResult opened = mBus.Open(&aDevice, aPort);
    if (!opened.IsOK())
    {
        throw MakeDeviceFailure("cannot open the SPI bus on " + mName, opened);
    }
}

OpenSpiBus::~OpenSpiBus()
{
    CloseOrAbandon(mBus);
}

Bytes OpenSpiBus::Transfer(const Bytes& aData, std::uint32_t aReadLength)
{
    return Execute(aData, aReadLength, false);
}

Bytes OpenSpiBus::Exchange(const Bytes& aData)
{
    return Execute(aData, static_cast<std::uint32_t>(aData.size()), true);
}

void OpenSpiBus::Close()
{
    const KoResult closed = mBus.Close();
    if (!closed.IsOK())
    {
        throw MakeDeviceFailure("cannot close the SPI bus on " + mName, closed);
    }
}

Bytes OpenSpiBus::Execute(Bytes aData, std::uint32_t aReadLength, bool aSimultaneous)
{
    if (aData.size() > mLongestWrite)
    {
        throw Failure("cannot write " + std::to_string(aData.size()) + " bytes: " + mName + " sends at most " +
                      std::to_string(mLongestWrite) + " in one piece");
    }
    const KoResult written = mBus.BurstWriteAndRead(aData.data(), static_cast<std::uint32_t>(aData.size()), aReadLength,
                                                    aSimultaneous, false);
    if (!written.IsOK())
    {
        throw MakeDeviceFailure("cannot write to the SPI bus on " + mName, written);
    }
    return Collect(aReadLength);
}

Bytes OpenSpiBus::Collect(std::uint32_t aLength)
{
    Bytes bytes(aLength);
    for (std::uint32_t done = 0; done < aLength;)
    {
        std::uint32_t count = 0;
        const KoResult read = mBus.BurstRead(bytes.data() + done, aLength - done, count, READ_TIMEOUT_MS);
        if (!read.IsOK())
        {
            throw MakeDeviceFailure(mName + " read " + std::to_string(done) + " of " + std::to_string(aLength) +
                                        " bytes from the SPI bus",
                                    read);
        }
        done += count;
    }
    return bytes;
}

void WithSpiBus(SimulatedSetup& aSetup, KoDeviceSerial aPort, const std::function<void(OpenSpiBus&)>& aAction)
{
    const BulkModeScope mode(aSetup.GetDevice(), aPort, "SPI");
    OpenSpiBus bus(aSetup.GetDevice(), aPort);
    aAction(bus);
    bus.Close();
}

} // namespace KoTool
