// Write on a UART, where the next byte waits for the confirmation of the one before.

#include "CpuPin.h"
#include "Devices.h"
#include "OpenPort.h"
#include "Samples.h"
#include "SecondThread.h"
#include "Signals.h"

#include <benchmark/benchmark.h>

#include <array>
#include <atomic>
#include <cstdint>
#include <thread>

namespace
{

constexpr std::uint32_t WRITE_SIZE = 1024;
constexpr std::uint32_t SHORT_WRITE_SIZE = 16;

/// The device confirms inside the register write.
void WriteConfirmedAtOnce(benchmark::State& aState)
{
    StartASecondThread();
    ConfirmingDevice device;
    OpenPort port(device, KoDeviceSerialUart0);
    const std::array<std::uint8_t, WRITE_SIZE> data{};
    for (auto _ : aState)
    {
        port.Write(data.data(), WRITE_SIZE);
    }
    aState.SetBytesProcessed(aState.iterations() * WRITE_SIZE);
}
BENCHMARK(WriteConfirmedAtOnce)->Name("uart_write/koserial");

/// The same with an event as one would write it with the standard library.
class ConditionWriter : private IKoDeviceEventSink
{
public:
    explicit ConditionWriter(IKoDeviceAdapter& aDevice) : mDevice(aDevice) { mDevice.RegisterEventSink(this); }

    void Write(const std::uint8_t* aData, std::uint32_t aSize)
    {
        for (std::uint32_t i = 0; i < aSize; ++i)
        {
            mConfirmed.Reset();
            mDevice.WriteRegister(UART0_DATA_REGISTER, aData[i]);
            Check(mConfirmed.WaitUntilSet(READ_TIMEOUT_MS), "a byte was not confirmed");
        }
    }

private:
    void NotifyEvent(std::uint16_t, std::uint16_t, std::uint64_t, std::uint64_t, const void*, std::uint32_t) override
    {
        mConfirmed.Send();
    }
    void NotifyInvalidatedGenParameter(const KoString&) override {}

    IKoDeviceAdapter& mDevice;
    ConditionSignal mConfirmed;
};

void WriteWithCondition(benchmark::State& aState)
{
    StartASecondThread();
    ConfirmingDevice device;
    ConditionWriter writer(device);
    const std::array<std::uint8_t, WRITE_SIZE> data{};
    for (auto _ : aState)
    {
        writer.Write(data.data(), WRITE_SIZE);
    }
    aState.SetBytesProcessed(aState.iterations() * WRITE_SIZE);
}
BENCHMARK(WriteWithCondition)->Name("uart_write/condition_variable");

/// A device with a thread that confirms each byte.
class ThreadedDevice : public RegisterDevice
{
public:
    explicit ThreadedDevice(std::size_t aCpu) : mThread([this, aCpu] { Run(aCpu); }) {}
    ~ThreadedDevice() override { Stop(); }

    KoResult WriteRegister(std::uint32_t aAddress, std::uint32_t) override
    {
        if (aAddress == UART0_DATA_REGISTER)
        {
            mWritten.Send();
        }
        return Ok();
    }

    /// The thread may still be on its way out of the sink: the last Write did not wait for that.
    KoResult UnregisterEventSink(IKoDeviceEventSink* aSink) override
    {
        Stop();
        return RegisterDevice::UnregisterEventSink(aSink);
    }

private:
    void Stop()
    {
        if (mThread.joinable())
        {
            mStopping = true;
            mWritten.Send();
            mThread.join();
        }
    }

    void Run(std::size_t aCpu)
    {
        const CpuPin pin(aCpu);
        for (mWritten.Wait(); !mStopping; mWritten.Wait())
        {
            Interrupt(UART0_SENT);
        }
    }

    FutexSignal mWritten;
    std::atomic<bool> mStopping{false};
    std::thread mThread;
};

void WriteConfirmedByThread(benchmark::State& aState)
{
    const CpuPin pin(0);
    ThreadedDevice device(static_cast<std::size_t>(aState.range(0) - 1));
    OpenPort port(device, KoDeviceSerialUart0);
    const std::array<std::uint8_t, SHORT_WRITE_SIZE> data{};
    Samples samples;
    for (auto _ : aState)
    {
        samples.Measure([&] { port.Write(data.data(), SHORT_WRITE_SIZE); });
    }
    samples.Report(aState, SHORT_WRITE_SIZE);
}

void Cpus(benchmark::internal::Benchmark* aBenchmark)
{
    aBenchmark->ArgName("cpus")->UseRealTime()->Arg(1);
    if (GetCpus().size() > 1)
    {
        aBenchmark->Arg(2);
    }
}
BENCHMARK(WriteConfirmedByThread)->Name("uart_write/thread")->Apply(Cpus);

} // namespace
