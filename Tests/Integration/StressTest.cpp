// Everything at once that may be done at once, on two devices; for the thread sanitizer above all.

#include "BusFixture.h"

#include <KoDeviceSerialPort.h>
#include <KoDeviceSerialPortEchoSink.h>
#include <KoSim/Loopback.h>

#include <atomic>
#include <memory>
#include <random>
#include <thread>
#include <vector>

namespace
{

constexpr int OPERATIONS = 150;
constexpr std::size_t LARGEST_PIECE = 200;

/// Counts what it is shown; every thread that transfers shows it something.
class CountingSink : public KoDeviceSerialPortEchoSink
{
public:
    void OnTransmitted(const KoString&, KoDeviceSerial, const std::uint8_t*, std::uint32_t aLength,
                       std::uint64_t) override
    {
        mBytes += aLength;
    }
    void OnRead(const KoString&, KoDeviceSerial, const std::uint8_t*, std::uint32_t aLength, std::uint64_t) override
    {
        mBytes += aLength;
    }

    std::atomic<std::uint64_t> mBytes{0};
};

/// A port that is open, with all that its threads do to it.
class BusyPort
{
public:
    BusyPort(KoSim::SimulatedDevice& aDevice, KoDeviceSerial aPort) : mId(aPort)
    {
        aDevice.SetLineEnd(ToSimulatedPort(aPort), std::make_shared<KoSim::Loopback>());
        EXPECT_TRUE(mPort.Open(&aDevice, aPort).IsOK());
        // From now on there is a write whose progress can be asked for.
        EXPECT_TRUE(Write(mPort, "first"));
    }
    ~BusyPort() { EXPECT_TRUE(mPort.Close().IsOK()); }

    BusyPort(const BusyPort&) = delete;
    BusyPort& operator=(const BusyPort&) = delete;

    void Start(std::vector<std::thread>& aThreads)
    {
        aThreads.emplace_back([this] { WriteOn(); });
        aThreads.emplace_back([this] { ReadOn(); });
        aThreads.emplace_back([this] { ChangeOn(); });
        aThreads.emplace_back([this] { AskOn(); });
    }

    std::uint64_t GetOperations() const { return mOperations; }

private:
    void WriteOn()
    {
        std::minstd_rand random(static_cast<unsigned>(mId) + 1);
        for (int i = 0; i < OPERATIONS; ++i)
        {
            EXPECT_TRUE(Write(mPort, MakeText(1 + random() % LARGEST_PIECE)));
            ++mOperations;
        }
        mIsWritten = true;
    }

    void ReadOn()
    {
        Bytes buffer(LARGEST_PIECE);
        std::uint32_t count = 0;
        KoResult result(KoResult::OK);
        while (!mIsWritten || result.IsOK())
        {
            result = mPort.Read(buffer.data(), static_cast<std::uint32_t>(buffer.size()), count, 20);
            EXPECT_TRUE(result.IsOK() || result.GetCode() == KoResult::TIMEOUT);
            mPort.NotifyReadComplete();
            ++mOperations;
        }
    }

    void ChangeOn()
    {
        std::minstd_rand random(static_cast<unsigned>(mId) + 100);
        while (!mIsWritten)
        {
            EXPECT_TRUE(mPort.SetRxBufferSize(1 + static_cast<std::uint32_t>(random() % 5000)).IsOK());
            mPort.FlushRxBuffer();
            mPort.ResetStatistics();
            ++mOperations;
            std::this_thread::yield();
        }
    }

    void AskOn()
    {
        std::uint32_t value = 0;
        std::uint32_t total = 0;
        while (!mIsWritten)
        {
            EXPECT_TRUE(mPort.IsOpened());
            mPort.GetRxBytesReady(value);
            mPort.GetRxBufferSize(value);
            mPort.GetWriteProgress(value, total);
            mPort.GetBytesSent();
            mPort.GetBytesReceived();
            ++mOperations;
            std::this_thread::yield();
        }
    }

    const KoDeviceSerial mId;
    KoDeviceSerialPort mPort;
    std::atomic<bool> mIsWritten{false};
    std::atomic<std::uint64_t> mOperations{0};
};

/// Opens and closes another port of a device, again and again.
void OpenAndClose(KoSim::SimulatedDevice& aDevice, std::atomic<std::uint64_t>& aOperations)
{
    KoDeviceSerialPort port;
    for (int i = 0; i < OPERATIONS; ++i)
    {
        EXPECT_TRUE(KoDeviceSerialPort::IsSupported(&aDevice, KoDeviceSerialBulk5));
        EXPECT_TRUE(port.Open(&aDevice, KoDeviceSerialBulk5).IsOK());
        EXPECT_TRUE(port.Close().IsOK());
        ++aOperations;
    }
}

void RegisterAndUnregister(std::atomic<std::uint64_t>& aOperations)
{
    CountingSink sink;
    for (int i = 0; i < OPERATIONS; ++i)
    {
        EXPECT_TRUE(KoDeviceSerialPort::RegisterEchoSink(&sink).IsOK());
        std::this_thread::yield();
        EXPECT_TRUE(KoDeviceSerialPort::UnregisterEchoSink(&sink).IsOK());
        ++aOperations;
    }
}

KoSim::DeviceProfile MakeProfile(const char* aId)
{
    KoSim::DeviceProfile profile;
    profile.mId = aId;
    return profile;
}

} // namespace

TEST(Stress, EverythingThatMayOverlapOverlaps)
{
    KoSim::SimulatedDevice devices[] = {KoSim::SimulatedDevice(MakeProfile("first")),
                                        KoSim::SimulatedDevice(MakeProfile("second"))};
    std::vector<std::unique_ptr<BusyPort>> ports;
    for (KoSim::SimulatedDevice& device : devices)
    {
        for (const KoDeviceSerial port : {KoDeviceSerialUart0, KoDeviceSerialBulk0, KoDeviceSerialBulk3})
        {
            ports.push_back(std::make_unique<BusyPort>(device, port));
        }
    }
    std::atomic<std::uint64_t> operations{0};
    std::vector<std::thread> threads;
    for (const auto& port : ports)
    {
        port->Start(threads);
    }
    for (KoSim::SimulatedDevice& device : devices)
    {
        threads.emplace_back([&] { OpenAndClose(device, operations); });
    }
    threads.emplace_back([&] { RegisterAndUnregister(operations); });
    for (std::thread& thread : threads)
    {
        thread.join();
    }
    std::uint64_t total = operations;
    for (const auto& port : ports)
    {
        total += port->GetOperations();
    }
    std::printf("%llu operations on %zu threads\n", static_cast<unsigned long long>(total), threads.size());
}
