// A fault at every call that the library makes to a device: no operation takes longer than the waits that are
// documented for it, to the millisecond of the simulated time.

#include "BareHostTest.h"

#include <FunctionCaps.h>
#include <KoDeviceI2CBus.h>
#include <KoDeviceSPIBus.h>
#include <KoDeviceSerialPort.h>
#include <KoSim/FaultInjectingAdapter.h>
#include <PortMap.h>

#include <functional>

using KoSim::Fault;
using KoSim::FaultInjectingAdapter;

namespace
{

constexpr std::uint32_t BULK_CONFIG = 0xB898;
constexpr std::uint32_t BULK_0_3_CONFIG = 0xB95C;
constexpr std::uint32_t UART0_DATA = 0xB84C;
constexpr std::uint32_t UART1_DATA = 0xB850;
constexpr std::uint32_t TRANSMITTER_BUSY = 0x00800000;
constexpr std::uint32_t UARTS_CONFIRMED = 0x5;
constexpr std::uint32_t BULK_SENT = 0x1800;

/// The waits that are documented.
constexpr std::uint64_t CONFIRMATION_MS = 1020;
constexpr std::uint64_t POLL_MS = 100;
constexpr std::uint64_t CHUNK_MS = 300;
constexpr std::uint64_t FAST_I2C_CHUNK_MS = 150;
constexpr std::uint64_t I2C_READ_MS = 50;
constexpr std::uint64_t READ_MS = 70;

constexpr std::uint64_t ANSWER_MS = 3; ///< what the device takes for a byte or a chunk
constexpr bool FAST = true;

constexpr std::uint32_t CODE = 4711;

/// A device with everything, whose transmitter is busy whenever somebody looks.
class FaultTimingTest : public BareHostTest
{
protected:
    /// What is done with the device; reports to Limit() how long each step may take.
    using Scenario = std::function<void(FaultInjectingAdapter& aFaulty)>;

    FaultTimingTest() { mHost.mEnabledLevel = KuUtilsLib::LOG_CRITICAL; }

    /// Runs the scenario once for each of its calls and each kind of fault that makes a call fail.
    void Sweep(const Scenario& aScenario)
    {
        for (const Fault& fault : {Fault::Fail(CODE), Fault::Disconnect()})
        {
            std::uint64_t hits = 1;
            for (std::uint64_t number = 0; hits > 0; ++number)
            {
                SCOPED_TRACE(number);
                ScriptedAdapter device(NewIdentity());
                SetUp(device);
                FaultInjectingAdapter faulty(device);
                faulty.InjectAt(number, fault);
                aScenario(faulty);
                hits = faulty.GetFaultCount();
                ForgetNameless();
            }
        }
    }

    /// Expects aStep to take no more than aLimitMs.
    template <typename Step>
    void Limit(const char* aName, std::uint64_t aLimitMs, Step aStep)
    {
        const std::uint64_t start = mHost.Now();
        aStep();
        EXPECT_LE(mHost.Now() - start, aLimitMs) << aName;
    }

    /// Opens, uses and closes; a port that a fault has left open is closed when the device is back.
    template <typename Object, typename Use>
    void Live(FaultInjectingAdapter& aFaulty, KoDeviceSerial aPort, Use aUse)
    {
        Object object;
        Limit("IsSupported", 0, [&] { Object::IsSupported(&aFaulty, aPort); });
        Limit("Open", 0, [&] { return object.Open(&aFaulty, aPort); });
        aUse(object);
        Limit("Close", 0, [&] { object.Close(); });
        if (object.IsOpened())
        {
            aFaulty.Reconnect();
            Limit("Close", 0, [&] { EXPECT_TRUE(object.Close().IsOK()); });
        }
    }

    void UseSerialPort(FaultInjectingAdapter& aFaulty, KoDeviceSerial aPort, std::size_t aSize,
                       std::uint64_t aWriteLimitMs)
    {
        Live<KoDeviceSerialPort>(
            aFaulty, aPort,
            [&](KoDeviceSerialPort& aObject)
            {
                Bytes bytes(aSize);
                std::uint32_t count = 0;
                const auto size = static_cast<std::uint32_t>(aSize);
                Limit("Write", aWriteLimitMs, [&] { return aObject.Write(bytes.data(), size, count); });
                Limit("Read", READ_MS, [&] { return aObject.Read(bytes.data(), 1, count, READ_MS); });
            });
    }

    void UseI2cBus(FaultInjectingAdapter& aFaulty, KoDeviceSerial aPort, std::uint64_t aWriteLimitMs)
    {
        Live<KoDeviceI2CBus>(
            aFaulty, aPort,
            [&](KoDeviceI2CBus& aObject)
            {
                Bytes bytes(2);
                std::uint32_t count = 0;
                Limit("BurstWrite", aWriteLimitMs, [&] { return aObject.BurstWrite(0x50, bytes.data(), 2, FAST); });
                Limit("IndirectBurstRead", 2 * aWriteLimitMs + I2C_READ_MS,
                      [&] { return aObject.IndirectBurstRead(0x50, 0, bytes.data(), 2, count, FAST, true); });
            });
    }

    void UseSpiBus(FaultInjectingAdapter& aFaulty)
    {
        Live<KoDeviceSPIBus>(aFaulty, KoDeviceSerialBulk1,
                             [&](KoDeviceSPIBus& aObject)
                             {
                                 Bytes bytes(2);
                                 std::uint32_t count = 0;
                                 Limit("BurstWriteAndRead", 0,
                                       [&] { return aObject.BurstWriteAndRead(bytes.data(), 2, 2, false, false); });
                                 Limit("BurstRead", READ_MS,
                                       [&] { return aObject.BurstRead(bytes.data(), 2, count, READ_MS); });
                             });
    }

private:
    /// What the process remembers of a device that does not tell its identity would get in the way of other tests.
    static void ForgetNameless()
    {
        KoSerialLib::sFunctionCapsNSSet.erase("");
        for (int port = KoDeviceSerialUart0; port <= KoDeviceSerialBulk7; ++port)
        {
            KoSerialLib::sPortMap.Release("", static_cast<KoDeviceSerial>(port));
        }
    }

    void SetUp(ScriptedAdapter& aDevice)
    {
        aDevice.mRegisters[FUNCTION_CAPS] = {0x80000032};
        aDevice.mRegisters[BULK_CONFIG] = {0x10C0};
        aDevice.mRegisters[BULK_0_3_CONFIG] = {3};
        aDevice.mRegisters[UART0_DATA] = {TRANSMITTER_BUSY};
        aDevice.mRegisters[UART1_DATA] = {TRANSMITTER_BUSY};
        aDevice.mGenRegisters["Bulk1DownstreamData"] = Bytes(32);
        aDevice.mGenRegisters["EventBulk1UpstreamDataBuffer"] = Bytes(32);
        aDevice.mIntegers["EventBulk1UpstreamDataLength"] = 0;
        aDevice.mEnumerations["EventSelector"].mValue = "Error";
        aDevice.mEnumerations["EventNotification"].mValue = "Off";
        aDevice.mEnumerations["BulkMode"] = {"UART", {"UART", "I2C", "SPI"}};
        aDevice.mOnWriteRegister = [this, &aDevice](std::uint32_t aAddress, std::uint32_t)
        {
            if (aAddress == UART0_DATA || aAddress == UART1_DATA)
            {
                mHost.At(ANSWER_MS, [&aDevice] { aDevice.SendWords(0x9000, {UARTS_CONFIRMED}); });
            }
        };
        aDevice.mOnCall = [this, &aDevice](const std::string& aCall)
        {
            EXPECT_TRUE(mHost.GetHeld().empty()) << aCall << " is called with a lock held";
            if (aCall.rfind("BulkTransmit", 0) == 0)
            {
                mHost.At(ANSWER_MS, [&aDevice] { aDevice.SendWords(0x9000, {BULK_SENT}); });
            }
        };
    }
};

} // namespace

TEST_F(FaultTimingTest, AUartWaitsForOneMissingConfirmationAndOnePoll)
{
    for (const KoDeviceSerial port : {KoDeviceSerialUart0, KoDeviceSerialUart1})
    {
        Sweep([&](FaultInjectingAdapter& aFaulty)
              { UseSerialPort(aFaulty, port, 3, 2 * ANSWER_MS + CONFIRMATION_MS + POLL_MS); });
    }
}

TEST_F(FaultTimingTest, BulkPort0WaitsForEachOfItsChunks)
{
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseSerialPort(aFaulty, KoDeviceSerialBulk0, 256, CHUNK_MS); });
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseSerialPort(aFaulty, KoDeviceSerialBulk0, 300, 2 * CHUNK_MS); });
}

TEST_F(FaultTimingTest, ABulkPortInFeaturesWaitsForNothingButBytesToRead)
{
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseSerialPort(aFaulty, KoDeviceSerialBulk1, 60, 0); });
}

TEST_F(FaultTimingTest, AnI2cBusWaitsForItsRequestsAndItsBytes)
{
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseI2cBus(aFaulty, KoDeviceSerialBulk0, FAST_I2C_CHUNK_MS); });
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseI2cBus(aFaulty, KoDeviceSerialBulk1, 0); });
}

TEST_F(FaultTimingTest, AnSpiBusWaitsForNothingButBytesToRead)
{
    Sweep([&](FaultInjectingAdapter& aFaulty) { UseSpiBus(aFaulty); });
}
