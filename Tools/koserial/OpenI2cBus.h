#pragma once

#include "Bytes.h"
#include "I2cMessages.h"

#include <KoDeviceI2CBus.h>
#include <KoDeviceSerial.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class IKoDeviceAdapter;

namespace KoTool
{

class SimulatedSetup;

/// An I2C bus that is open.
class OpenI2cBus
{
public:
    /// @param aDevice the device; must outlive the object
    /// @param aPort a bulk port
    /// @param aFastMode whether the bus runs at 400 kHz; otherwise it runs at 100 kHz
    /// @throws Failure when the bus cannot be opened
    OpenI2cBus(IKoDeviceAdapter& aDevice, KoDeviceSerial aPort, bool aFastMode);

    /// Closes the bus if it is open; gives it up when the device is gone.
    ~OpenI2cBus();

    OpenI2cBus(const OpenI2cBus&) = delete;
    OpenI2cBus& operator=(const OpenI2cBus&) = delete;

    /// True when a slave sends a byte that it is asked for. When there is none that takes 50 ms. A byte that may be the
    /// late answer to an earlier read does not count: the slave is then asked again when no such answer can come any
    /// more.
    /// @throws Failure
    bool IsPresent(std::uint8_t aAddress);

    /// Carries out messages, with repeated starts in between. Whether a slave takes what is written the bus does not
    /// tell.
    /// @return what was read, by message; empty for a write
    /// @throws Failure, also when not all bytes come; before anything is sent when a write is too long for the port
    std::vector<Bytes> Transfer(const std::vector<I2cMessage>& aMessages);

    /// Writes the offset of a register and reads from there.
    /// @return what has come in time, perhaps nothing
    /// @throws Failure, but not when bytes do not come
    Bytes ReadAt(std::uint8_t aAddress, const Bytes& aOffset, std::uint32_t aCount);

    /// @throws Failure
    void Close();

private:
    void CheckLength(const I2cMessage& aMessage) const;
    Bytes Execute(const I2cMessage& aMessage, bool aStop);
    void Write(const I2cMessage& aMessage, bool aStop);
    Bytes Read(const I2cMessage& aMessage, bool aStop);
    Bytes Receive(const I2cMessage& aMessage, bool aStop);
    void AwaitLateAnswer();

    const std::string mName;
    const bool mFastMode;
    const std::uint32_t mLongestWrite;
    bool mAnswerMayBeLate = false; ///< a read has timed out, and what it asked for may still come
    KoDeviceI2CBus mBus;
};

/// Puts a port into I2C mode, runs aAction on the bus, and puts the port back into the mode that it had.
void WithI2cBus(SimulatedSetup& aSetup, KoDeviceSerial aPort, bool aFastMode,
                const std::function<void(OpenI2cBus&)>& aAction);

} // namespace KoTool
