#include "SerialPeers.h"

#include <boost/asio/buffer.hpp>
#include <boost/asio/io_context.hpp>
#include <boost/asio/serial_port.hpp>
#include <libserialport.h>

#include <cstdarg>
#include <cstdlib>

#include <sys/ioctl.h>
#include <sys/syscall.h>
#include <termios.h>

namespace
{

std::string GetTerminalPath(int aMaster)
{
    std::array<char, 64> path{};
    Check(::grantpt(aMaster) == 0 && ::unlockpt(aMaster) == 0 && ::ptsname_r(aMaster, path.data(), path.size()) == 0,
          "cannot set up a pseudo-terminal");
    return path.data();
}

void MakeRaw(int aTerminal)
{
    termios settings{};
    ::tcgetattr(aTerminal, &settings);
    ::cfmakeraw(&settings);
    ::tcsetattr(aTerminal, TCSANOW, &settings);
}

void WriteAll(int aDescriptor, const std::vector<std::uint8_t>& aData)
{
    const ssize_t count = ::write(aDescriptor, aData.data(), aData.size());
    Check(count == static_cast<ssize_t>(aData.size()), "cannot write to a pseudo-terminal");
}

std::uint32_t CountReady(int aDescriptor)
{
    int count = 0;
    ::ioctl(aDescriptor, FIONREAD, &count);
    return static_cast<std::uint32_t>(count);
}

} // namespace

/// A pseudo-terminal has no modem lines, and libserialport opens nothing without: to this program every terminal has
/// them, all off for good.
extern "C" __attribute__((visibility("default"))) int ioctl(int aDescriptor, unsigned long aRequest, ...) noexcept
{
    va_list arguments;
    va_start(arguments, aRequest);
    void* const argument = va_arg(arguments, void*);
    va_end(arguments);
    switch (aRequest)
    {
    case TIOCMGET:
        *static_cast<int*>(argument) = 0;
        return 0;
    case TIOCMBIS:
    case TIOCMBIC:
        return 0;
    default:
        return static_cast<int>(::syscall(SYS_ioctl, aDescriptor, aRequest, argument));
    }
}

PtyPair::PtyPair(std::uint32_t aEventSize)
    : mEvent(aEventSize),
      mMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC), "cannot open a pseudo-terminal"),
      mPath(GetTerminalPath(mMaster.Get())),
      mTerminal(::open(mPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC), "cannot open a pseudo-terminal")
{
    MakeRaw(mTerminal.Get());
}

void PtyPair::Send()
{
    WriteAll(mMaster.Get(), mEvent);
}

std::uint32_t PtyPair::GetReadyCount() const
{
    return CountReady(mTerminal.Get());
}

struct LibserialportPeer::Port
{
    Port()
    {
        Check(sp_get_port_by_name("/dev/ptmx", &mPort) == SP_OK, "libserialport knows no pseudo-terminals");
        Check(sp_open(mPort, SP_MODE_READ) == SP_OK, "libserialport cannot open a pseudo-terminal");
        sp_get_port_handle(mPort, &mMaster);
        mTerminal = ::open(GetTerminalPath(mMaster).c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC);
        Check(mTerminal >= 0, "cannot open a pseudo-terminal");
        MakeRaw(mTerminal);
    }
    ~Port()
    {
        ::close(mTerminal);
        sp_close(mPort);
        sp_free_port(mPort);
    }
    Port(const Port&) = delete;
    Port& operator=(const Port&) = delete;

    sp_port* mPort = nullptr;
    int mMaster = -1;
    int mTerminal = -1;
};

LibserialportPeer::LibserialportPeer(std::uint32_t aEventSize) : mEvent(aEventSize), mPort(std::make_unique<Port>()) {}

LibserialportPeer::~LibserialportPeer() = default;

void LibserialportPeer::Send()
{
    WriteAll(mPort->mTerminal, mEvent);
}

std::uint32_t LibserialportPeer::GetReadyCount() const
{
    return CountReady(mPort->mMaster);
}

std::uint32_t LibserialportPeer::Take(std::uint8_t* aBuffer, std::uint32_t aSize)
{
    const int count = sp_blocking_read_next(mPort->mPort, aBuffer, aSize, 0);
    return count > 0 ? static_cast<std::uint32_t>(count) : 0;
}

struct AsioPeer::Port
{
    explicit Port(const std::string& aPath) : mPort(mContext, aPath) {}

    boost::asio::io_context mContext;
    boost::asio::serial_port mPort;
};

AsioPeer::AsioPeer(std::uint32_t aEventSize) : PtyPair(aEventSize), mPort(std::make_unique<Port>(GetPath())) {}

AsioPeer::~AsioPeer() = default;

std::uint32_t AsioPeer::Take(std::uint8_t* aBuffer, std::uint32_t aSize)
{
    return static_cast<std::uint32_t>(mPort->mPort.read_some(boost::asio::buffer(aBuffer, aSize)));
}
