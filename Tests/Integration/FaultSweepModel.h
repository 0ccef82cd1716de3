#pragma once

#include "FaultSweep.h"
#include "FaultSweepCalls.h"

#include <KoDeviceSerial.h>
#include <KoSim/DeviceProfile.h>

#include <cstddef>
#include <cstdint>
#include <set>
#include <string>
#include <utility>
#include <vector>

/// What outlives the ports and the devices of a process.
struct FaultSweepProcess
{
    static FaultSweepProcess& Get();

    std::set<std::string> mWithoutCapabilities;                ///< devices whose capabilities could not be read
    std::set<std::pair<std::string, std::int32_t>> mHeldPorts; ///< by identity text and port
};

/// What the library does on a port of a simulated device, told from the calls that failed: for every call of every
/// operation the consequence that the documentation of the library states for its failure.
///
/// It knows one object of the library, whose engine is that of a serial port or of a bus. The device works on an
/// instant line and has done its part when a call returns.
class FaultSweepModel
{
public:
    enum class Engine
    {
        None,
        Uart,
        BulkRegisters,
        BulkFeatures,
    };

    FaultSweepModel(const KoSim::DeviceProfile& aProfile, KoDeviceSerial aPort) : mProfile(aProfile), mPort(aPort) {}

    /// @name Operations of a serial port
    /// @{
    bool IsPortSupported(FaultSweepCalls& aCalls);
    FaultSweepResult OpenPort(FaultSweepCalls& aCalls);
    FaultSweepResult Close(FaultSweepCalls& aCalls);
    /// @param[out] aWritten as the library's argument: unchanged when the library leaves it alone
    FaultSweepResult Write(FaultSweepCalls& aCalls, const std::string& aData, std::uint32_t& aWritten);
    FaultSweepResult Read(std::uint32_t aSize, std::uint32_t aTimeoutMs);
    void NotifyReadComplete();
    void SetRxBufferSize(std::uint32_t aSize);
    void FlushRxBuffer() { mRing.clear(); }
    void ResetStatistics();
    /// Bytes come in from the far end of the line.
    void Receive(FaultSweepCalls& aCalls, const std::string& aData);
    /// @}
    /// @name Operations of a bus
    /// @{
    bool IsI2cSupported(FaultSweepCalls& aCalls);
    bool IsSpiSupported(FaultSweepCalls& aCalls) { return IsProtocolSupported(aCalls, "SPI"); }
    FaultSweepResult OpenI2c(FaultSweepCalls& aCalls);
    FaultSweepResult OpenSpi(FaultSweepCalls& aCalls);
    /// Sends a request that makes the chip answer; aRequest has the bytes after the frame header.
    FaultSweepResult Request(FaultSweepCalls& aCalls, const std::string& aRequest, const std::string& aAnswer);
    /// Sends the request and collects the answer.
    /// @param[out] aIsRequested true when the request went out, which makes the library count what it reads
    FaultSweepResult ReadI2c(FaultSweepCalls& aCalls, const std::string& aRequest, const std::string& aAnswer,
                             bool& aIsRequested);
    /// @}

    /// A new object of the library takes the place of the one before.
    void ForgetObject();

    /// Sinks at the device, with those of objects that are gone.
    std::size_t GetSinkCount() const { return mLostSinks + (mSink ? 1 : 0); }

    std::vector<std::string> TakeEchoes() { return std::exchange(mEchoes, {}); }
    std::uint32_t TakeWaitMs() { return std::exchange(mWaitMs, 0U); }

    Engine mEngine = Engine::None;
    bool mOpened = false;
    std::uint32_t mWriteDone = 0;
    std::uint32_t mWriteTotal = 0;
    std::uint64_t mSent = 0;
    std::uint64_t mReceived = 0;
    std::uint32_t mRingSize = 16384;
    std::string mRing;

private:
    std::string Name(const char* aPattern) const;
    bool IsBulk() const { return mPort >= KoDeviceSerialBulk0; }
    bool HasFeatures() const;

    bool HasCapabilities(FaultSweepCalls& aCalls);
    bool IsUartSupported(FaultSweepCalls& aCalls);
    bool IsBulkInRegisters(FaultSweepCalls& aCalls);
    bool IsBulkInFeatures(FaultSweepCalls& aCalls);
    bool IsI2cInRegisters(FaultSweepCalls& aCalls);
    bool IsProtocolSupported(FaultSweepCalls& aCalls, const char* aProtocol);

    void NewEngine(Engine aEngine);
    FaultSweepResult OpenEngine(FaultSweepCalls& aCalls);
    FaultSweepResult OpenUart(FaultSweepCalls& aCalls);
    FaultSweepResult OpenBulkRegisters(FaultSweepCalls& aCalls);
    FaultSweepResult OpenBulkFeatures(FaultSweepCalls& aCalls);
    bool EnableInterrupts(FaultSweepCalls& aCalls, std::string& aFailure);
    void RestoreInterrupts(FaultSweepCalls& aCalls);
    bool SetNotification(FaultSweepCalls& aCalls, const std::string& aValue, std::string& aPrevious);
    void ReleasePort(FaultSweepCalls& aCalls);
    void CloseEngine();

    FaultSweepResult CheckConnected(FaultSweepCalls& aCalls) const;
    FaultSweepResult Send(FaultSweepCalls& aCalls, const std::string& aData, const std::string& aAnswer,
                          std::uint32_t& aWritten);
    FaultSweepResult SendToUart(FaultSweepCalls& aCalls, const std::string& aData, std::uint32_t& aWritten);
    FaultSweepResult SendToRegisters(FaultSweepCalls& aCalls, const std::string& aData, const std::string& aAnswer,
                                     std::uint32_t& aWritten);
    FaultSweepResult SendToFeatures(FaultSweepCalls& aCalls, const std::string& aData, const std::string& aAnswer,
                                    std::uint32_t& aWritten);
    bool AreTxEventsOn() const;
    bool AreRxEventsOn() const;
    void Push(const std::string& aData);
    void Echo(const char* aWhat, const std::string& aData);

    const KoSim::DeviceProfile& mProfile;
    const KoDeviceSerial mPort;

    // The object.
    bool mI2c = false;
    bool mSpi = false;
    std::string mPortName; ///< what the echo sinks are told; empty while the engine is closed
    bool mSink = false;    ///< registered at the device
    std::uint32_t mSavedInterrupts = 0;
    std::string mPreviousNotification;
    std::string mUpstreamBuffer;
    std::vector<std::string> mEchoes;
    std::uint32_t mWaitMs = 0; ///< the documented waits of the operations since the last time this was asked

    // The device.
    std::size_t mLostSinks = 0;
    std::uint32_t mInterruptEnable = 0;
    std::string mEventSelector = "Error";
    std::string mNotification = "Off"; ///< of the event of the port
    int mWatchers = 0;                 ///< registrations of the upstream feature
};
