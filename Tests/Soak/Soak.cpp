// Soak SECONDS: works all ports of two simulated devices at once, as fast as they go, with pieces of random size, with
// ports that are closed and opened again and devices that are unplugged at random. Everything that is sent comes back
// from a loopback and is compared. Prints a line of figures a second; ends with status 1 at the first byte that is lost
// or wrong, and when memory or the number of threads grow.

#include <KoDeviceSerialPort.h>
#include <KoSim/Loopback.h>
#include <KoSim/SimulatedDevice.h>
#include <KuUtilsLib/Logger.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace
{

using namespace std::chrono_literals;
using Bytes = std::vector<std::uint8_t>;

constexpr std::size_t LARGEST_PIECE = 4000;

/// Longer than anything takes on a machine that is busy.
constexpr std::uint32_t LONG_TIME_MS = 20000;

/// How long a read waits that may have to end because the device was unplugged.
constexpr std::uint32_t QUIET_TIME_MS = 100;

/// Bytes that no other ones are taken for.
constexpr std::size_t MARKER_SIZE = 16;

/// What the process may need more after its first seconds.
#ifdef KOSERIAL_SOAK_WATCHES_MEMORY
constexpr long MEMORY_MARGIN_KIB = 16384;
#else
constexpr long MEMORY_MARGIN_KIB = std::numeric_limits<int>::max();
#endif

std::atomic<bool> sStop{false};
std::atomic<bool> sFailed{false};
std::atomic<std::uint64_t> sBytes{0};
std::atomic<std::uint64_t> sRounds{0};
std::atomic<std::uint64_t> sUnpluggings{0};
std::atomic<std::uint64_t> sAbandoned{0};

void Fail(const std::string& aWhat)
{
    if (!sFailed.exchange(true))
    {
        std::fprintf(stderr, "soak: %s\n", aWhat.c_str());
    }
    sStop = true;
}

/// A device with loopbacks on all lines.
struct Device
{
    explicit Device(const char* aId) : mSimulated(MakeProfile(aId))
    {
        for (std::size_t port = 0; port < KoSim::PORT_COUNT; ++port)
        {
            mSimulated.SetLineEnd(static_cast<KoSim::Port>(port), std::make_shared<KoSim::Loopback>());
        }
    }

    static KoSim::DeviceProfile MakeProfile(const char* aId)
    {
        KoSim::DeviceProfile profile;
        profile.mId = aId;
        return profile;
    }

    KoSim::SimulatedDevice mSimulated;
    std::mutex mOpening;                        ///< ports of one device are opened and closed one after the other
    std::atomic<std::uint64_t> mUnpluggings{0}; ///< counted before and after, so odd while it is unplugged
};

/// One port at work.
class Worker
{
public:
    Worker(Device& aDevice, KoDeviceSerial aPort, unsigned aSeed) : mDevice(aDevice), mId(aPort), mRandom(aSeed) {}

    void Run()
    {
        Open();
        while (!sStop)
        {
            const std::uint64_t before = mDevice.mUnpluggings;
            const std::string failure = DoRound();
            const bool wasPluggedIn = before % 2 == 0 && mDevice.mUnpluggings == before;
            if (!failure.empty() && wasPluggedIn)
            {
                Fail("port " + std::to_string(mId) + ": " + failure);
            }
            if (!failure.empty() || mRandom() % 200 == 0)
            {
                Reopen();
            }
        }
        Close();
    }

private:
    void Open()
    {
        while (!sFailed)
        {
            WaitUntilPluggedIn();
            const std::lock_guard<std::mutex> lock(mDevice.mOpening);
            if (mPort.Open(&mDevice.mSimulated, mId).IsOK())
            {
                return;
            }
            // Unplugged meanwhile: what it has claimed is given up.
            mPort.Abandon();
        }
    }

    /// Closes the port, or gives it up where the device is unplugged.
    void Close()
    {
        const std::lock_guard<std::mutex> lock(mDevice.mOpening);
        if (!mPort.Close().IsOK())
        {
            mPort.Abandon();
            ++sAbandoned;
        }
    }

    void Reopen()
    {
        do
        {
            Close();
            Open();
        } while (!sStop && !DropStaleBytes());
    }

    /// Reads up to the end of a marker that it sends: what was under way when the device was unplugged must not be
    /// taken for an answer. False when the device is unplugged again.
    bool DropStaleBytes()
    {
        const std::uint64_t before = mDevice.mUnpluggings;
        const Bytes marker = MakeBytes(MARKER_SIZE);
        if (!Send(marker).empty())
        {
            return false;
        }
        Bytes last(MARKER_SIZE);
        for (std::uint32_t waited = 0; last != marker;)
        {
            std::uint8_t byte = 0;
            std::uint32_t count = 0;
            if (mPort.Read(&byte, 1, count, QUIET_TIME_MS).IsOK())
            {
                last.erase(last.begin());
                last.push_back(byte);
                continue;
            }
            waited += QUIET_TIME_MS;
            if (mDevice.mUnpluggings == before && waited > LONG_TIME_MS)
            {
                Fail("port " + std::to_string(mId) + ": lost what it sent first");
            }
            if (sStop || mDevice.mUnpluggings != before)
            {
                return false;
            }
        }
        return true;
    }

    Bytes MakeBytes(std::size_t aSize)
    {
        Bytes bytes(aSize);
        std::generate(bytes.begin(), bytes.end(), [this] { return static_cast<std::uint8_t>(mRandom() >> 8); });
        return bytes;
    }

    void WaitUntilPluggedIn() const
    {
        while (!mDevice.mSimulated.IsConnected())
        {
            std::this_thread::sleep_for(1ms);
        }
    }

    /// Sends a piece and takes it back; says what went wrong, or nothing.
    std::string DoRound()
    {
        const Bytes sent = MakeBytes(1 + mRandom() % LARGEST_PIECE);
        std::string failure = Send(sent);
        if (!failure.empty())
        {
            return failure;
        }
        const Bytes received = Receive(sent.size());
        if (received != sent)
        {
            return "received " + std::to_string(received.size()) + " of " + std::to_string(sent.size()) +
                   " bytes, or others";
        }
        sBytes += sent.size();
        ++sRounds;
        return "";
    }

    /// Sends all bytes; says what went wrong, or nothing. A write that ends because a busy machine has kept the thread
    /// of the device from running is no failure: the next one goes on where it ended.
    std::string Send(const Bytes& aBytes)
    {
        for (std::uint32_t done = 0; done < aBytes.size();)
        {
            std::uint32_t written = 0;
            const KoResult result =
                mPort.Write(aBytes.data() + done, static_cast<std::uint32_t>(aBytes.size()) - done, written);
            done += written;
            if (!result.IsOK() && result.GetCode() != GetCodeOfLateDevice())
            {
                return "wrote " + std::to_string(done) + " of " + std::to_string(aBytes.size()) +
                       " bytes: " + result.GetCodeString();
            }
        }
        return "";
    }

    KoResult::Code GetCodeOfLateDevice() const
    {
        return mId <= KoDeviceSerialUart1 ? KoResult::GENERIC_ERROR : KoResult::TIMEOUT;
    }

    Bytes Receive(std::size_t aSize)
    {
        Bytes received(aSize);
        std::size_t done = 0;
        const std::uint64_t before = mDevice.mUnpluggings;
        while (done < aSize)
        {
            std::uint32_t count = 0;
            const KoResult result = mPort.Read(received.data() + done, static_cast<std::uint32_t>(aSize - done), count,
                                               mDevice.mUnpluggings == before ? LONG_TIME_MS / 20 : QUIET_TIME_MS);
            done += count;
            if (!result.IsOK() && (mDevice.mUnpluggings != before || ++mTimeouts > 20))
            {
                break;
            }
        }
        mTimeouts = 0;
        received.resize(done);
        return received;
    }

    Device& mDevice;
    const KoDeviceSerial mId;
    std::minstd_rand mRandom;
    KoDeviceSerialPort mPort;
    int mTimeouts = 0;
};

/// Unplugs a device now and then, for a moment.
void Unplug(Device& aDevice, unsigned aSeed)
{
    std::minstd_rand random(aSeed);
    while (!sStop)
    {
        std::this_thread::sleep_for(std::chrono::milliseconds(500 + random() % 1000));
        ++aDevice.mUnpluggings;
        aDevice.mSimulated.Disconnect();
        std::this_thread::sleep_for(std::chrono::milliseconds(random() % 20));
        aDevice.mSimulated.Connect();
        ++aDevice.mUnpluggings;
        ++sUnpluggings;
    }
}

/// A number that the kernel tells about this process, such as "VmRSS" in KiB.
long GetStatus(const std::string& aName)
{
    std::ifstream status("/proc/self/status");
    std::string line;
    while (std::getline(status, line))
    {
        if (line.compare(0, aName.size() + 1, aName + ":") == 0)
        {
            return std::stol(line.substr(aName.size() + 1));
        }
    }
    return 0;
}

/// Prints the figures second by second, and watches memory and threads from the time on when everything has started.
void Watch(int aSeconds)
{
    constexpr int WARM_UP_SECONDS = 2;
    long memory = 0;
    long threads = 0;
    for (int second = 1; second <= aSeconds && !sStop; ++second)
    {
        std::this_thread::sleep_for(1s);
        const long memoryNow = GetStatus("VmRSS");
        const long threadsNow = GetStatus("Threads");
        std::printf("%5d s  %12llu bytes  %9llu rounds  %6llu unpluggings  %6llu abandoned  %7ld KiB  %3ld threads\n",
                    second, static_cast<unsigned long long>(sBytes), static_cast<unsigned long long>(sRounds),
                    static_cast<unsigned long long>(sUnpluggings), static_cast<unsigned long long>(sAbandoned),
                    memoryNow, threadsNow);
        std::fflush(stdout);
        if (second == WARM_UP_SECONDS)
        {
            memory = memoryNow;
            threads = threadsNow;
        }
        if (second > WARM_UP_SECONDS && (memoryNow > memory + MEMORY_MARGIN_KIB || threadsNow != threads))
        {
            Fail("memory or the number of threads has grown");
        }
    }
    sStop = true;
}

void Soak(int aSeconds)
{
    Device devices[] = {Device("first"), Device("second")};
    std::vector<std::unique_ptr<Worker>> workers;
    std::vector<std::thread> threads;
    for (Device& device : devices)
    {
        for (int port = KoDeviceSerialUart0; port <= KoDeviceSerialBulk7; ++port)
        {
            const auto seed = static_cast<unsigned>(1 + workers.size());
            workers.push_back(std::make_unique<Worker>(device, static_cast<KoDeviceSerial>(port), seed));
            threads.emplace_back([&worker = *workers.back()] { worker.Run(); });
        }
        threads.emplace_back([&device, seed = static_cast<unsigned>(threads.size())] { Unplug(device, seed); });
    }
    Watch(aSeconds);
    for (std::thread& thread : threads)
    {
        thread.join();
    }
}

} // namespace

int main(int aArgumentCount, char** aArguments)
{
    const int seconds = aArgumentCount == 2 ? std::atoi(aArguments[1]) : 0;
    if (seconds < 1)
    {
        std::fprintf(stderr, "usage: %s SECONDS\n", aArguments[0]);
        return 2;
    }
    // Transfers that fail because a device is unplugged are no news here.
    KuUtilsLib::Logger::SetLevel(static_cast<KuUtilsLib::PriorityLevel>(0));
    Soak(seconds);
    return sFailed ? 1 : 0;
}
