#include "OpenI2cBus.h"

#include "BulkModeScope.h"
#include "CloseOrAbandon.h"
#include "Failure.h"
#include "FramePayload.h"
#include "PortNames.h"
#include "SimulatedSetup.h"

#include <IKoDeviceAdapter.h>

#include <chrono>
#include <thread>

namespace KoTool
{
namespace
{

/// Of a frame, with the address of the slave.
constexpr std::uint32_t HEADER_SIZE = 9;

/// Twice as long as a read waits, and longer than the system leaves a thread waiting for its turn under load.
constexpr auto LATE_ANSWER_TIME = std::chrono::milliseconds(100);

} // namespace

OpenI2cBus::OpenI2cBus(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, bool aFastMode)
    : mName(GetPortName(aPort)),
      mFastMode(aFastMode),
      mLongestWrite(GetFramePayload(aDevice, aPort, HEADER_SIZE, I2C_WRITE_LENGTHS.mLast))
{
    if (!KoDeviceI2CBus::IsSupported(&aDevice, aPort))
    {
        throw Failure("the device offers no I2C on " + mName);
    }
    const KoResult opened = mBus.Open(&aDevice, aPort);
    if (!opened.IsOK())
    {
        throw MakeDeviceFailure("cannot open the I2C bus on " + mName, opened);
    }
}

OpenI2cBus::~OpenI2cBus()
{
    CloseOrAbandon(mBus);
}

bool OpenI2cBus::IsPresent(std::uint8_t aAddress)
{
    const I2cMessage probe = MakeI2cRead(aAddress, 1);
    const bool mayBeWrong = mAnswerMayBeLate;
    if (Receive(probe, true).empty())
    {
        return false;
    }
    if (!mayBeWrong)
    {
        return true;
    }
    AwaitLateAnswer();
    return !Receive(probe, true).empty();
}

std::vector<Bytes> OpenI2cBus::Transfer(const std::vector<I2cMessage>& aMessages)
{
    for (const I2cMessage& message : aMessages)
    {
        CheckLength(message);
    }
    AwaitLateAnswer();
    std::vector<Bytes> received;
    for (const I2cMessage& message : aMessages)
    {
        const bool isLast = received.size() + 1 == aMessages.size();
        received.push_back(Execute(message, isLast));
    }
    return received;
}

Bytes OpenI2cBus::ReadAt(std::uint8_t aAddress, const Bytes& aOffset, std::uint32_t aCount)
{
    const I2cMessage offset = MakeI2cWrite(aAddress, aOffset);
    CheckLength(offset);
    AwaitLateAnswer();
    Write(offset, false);
    return Receive(MakeI2cRead(aAddress, aCount), true);
}

void OpenI2cBus::Close()
{
    const KoResult closed = mBus.Close();
    if (!closed.IsOK())
    {
        throw MakeDeviceFailure("cannot close the I2C bus on " + mName, closed);
    }
}

void OpenI2cBus::CheckLength(const I2cMessage& aMessage) const
{
    if (aMessage.mData.size() > mLongestWrite)
    {
        throw Failure("cannot write " + std::to_string(aMessage.mData.size()) + " bytes to " +
                      FormatByte(aMessage.mAddress) + ": " + mName + " sends at most " + std::to_string(mLongestWrite) +
                      " in one piece");
    }
}

Bytes OpenI2cBus::Execute(const I2cMessage& aMessage, bool aStop)
{
    if (aMessage.mIsRead)
    {
        return Read(aMessage, aStop);
    }
    Write(aMessage, aStop);
    return {};
}

void OpenI2cBus::Write(const I2cMessage& aMessage, bool aStop)
{
    const KoResult written = mBus.MasterTransmitter(
        aMessage.mAddress, aMessage.mData.data(), static_cast<std::uint32_t>(aMessage.mData.size()), mFastMode, aStop);
    if (!written.IsOK())
    {
        throw MakeDeviceFailure("cannot write to " + FormatByte(aMessage.mAddress) + " on " + mName, written);
    }
}

Bytes OpenI2cBus::Read(const I2cMessage& aMessage, bool aStop)
{
    Bytes bytes = Receive(aMessage, aStop);
    if (bytes.size() == aMessage.mReadLength)
    {
        return bytes;
    }
    const std::string slave = FormatByte(aMessage.mAddress) + " on " + mName;
    throw Failure(bytes.empty() ? "nothing answers at " + slave
                                : slave + " sent " + std::to_string(bytes.size()) + " of " +
                                      std::to_string(aMessage.mReadLength) + " bytes");
}

/// The bytes that come in time.
Bytes OpenI2cBus::Receive(const I2cMessage& aMessage, bool aStop)
{
    Bytes bytes(aMessage.mReadLength);
    std::uint32_t count = 0;
    const KoResult read = mBus.MasterReceiverAfterFirstByte(aMessage.mAddress, bytes.data(), aMessage.mReadLength,
                                                            count, mFastMode, aStop);
    if (!read.IsOK() && read.GetCode() != KoResult::TIMEOUT)
    {
        throw MakeDeviceFailure("cannot read from " + FormatByte(aMessage.mAddress) + " on " + mName, read);
    }
    mAnswerMayBeLate = mAnswerMayBeLate || !read.IsOK();
    bytes.resize(count);
    return bytes;
}

/// Lets an answer that is late arrive before the next read, which drops what has arrived.
void OpenI2cBus::AwaitLateAnswer()
{
    if (mAnswerMayBeLate)
    {
        std::this_thread::sleep_for(LATE_ANSWER_TIME);
        mAnswerMayBeLate = false;
    }
}

void WithI2cBus(SimulatedSetup& aSetup, KoDeviceSerial aPort, bool aFastMode,
                const std::function<void(OpenI2cBus&)>& aAction)
{
    const BulkModeScope mode(aSetup.GetDevice(), aPort, "I2C");
    OpenI2cBus bus(aSetup.GetDevice(), aPort, aFastMode);
    aAction(bus);
    bus.Close();
}

} // namespace KoTool
