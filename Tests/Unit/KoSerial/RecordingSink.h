#pragma once

#include "BareHostTest.h"
#include "HexText.h"

#include <KoDeviceSerialPortEchoSink.h>
#include <SerialPort.h>

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

/// An echo sink that is registered as long as it lives. It writes down what it is shown, such as
/// "OnRead <port name> 0 [41 42] 1000" with the port, the bytes and the time, and which locks are held meanwhile.
class RecordingSink : public KoDeviceSerialPortEchoSink
{
public:
    RecordingSink() { EXPECT_TRUE(KoSerialLib::SerialPort::RegisterEchoSink(this).IsOK()); }
    ~RecordingSink() override { EXPECT_TRUE(KoSerialLib::SerialPort::UnregisterEchoSink(this).IsOK()); }

    RecordingSink(const RecordingSink&) = delete;
    RecordingSink& operator=(const RecordingSink&) = delete;

    void OnTransmitted(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData,
                       std::uint32_t aLength, std::uint64_t aTimestamp) override
    {
        Note("OnTransmitted", aPortName, aPort, " [" + HexText(aData, aLength) + ']', aTimestamp);
    }

    void OnRead(const KoString& aPortName, KoDeviceSerial aPort, const std::uint8_t* aData, std::uint32_t aLength,
                std::uint64_t aTimestamp) override
    {
        Note("OnRead", aPortName, aPort, " [" + HexText(aData, aLength) + ']', aTimestamp);
    }

    void OnReadComplete(const KoString& aPortName, KoDeviceSerial aPort, std::uint64_t aTimestamp) override
    {
        Note("OnReadComplete", aPortName, aPort, "", aTimestamp);
    }

    Texts mCalls;
    std::vector<HostRecorder::Locks> mHeld; ///< locks held during each call
    std::function<void()> mOnCall;          ///< done in each call

private:
    void Note(const char* aOperation, const KoString& aPortName, KoDeviceSerial aPort, const std::string& aBytes,
              std::uint64_t aTimestamp)
    {
        mCalls.push_back(std::string(aOperation) + ' ' + aPortName.GetAscii() + ' ' + std::to_string(aPort) + aBytes +
                         ' ' + std::to_string(aTimestamp));
        mHeld.push_back(HostRecorder::Current().GetHeld());
        if (mOnCall)
        {
            mOnCall();
        }
    }
};

/// The lock that guards the list of echo sinks.
inline const KuUtilsLib::Mutex* GetSinkListMutex()
{
    KoDeviceSerialPortEchoSink stranger;
    EXPECT_EQ(KoSerialLib::SerialPort::UnregisterEchoSink(&stranger).GetCode(), KoResult::NOT_FOUND);
    return HostRecorder::Current().mTaken.back();
}
