#pragma once

#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

namespace KoSim
{

/// The other program: opens the far end of a line as it would open a serial port.
class PtyProgram
{
public:
    explicit PtyProgram(const std::string& aPath) : mTerminal(::open(aPath.c_str(), O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (mTerminal < 0)
        {
            throw std::runtime_error("cannot open " + aPath);
        }
    }
    ~PtyProgram() { ::close(mTerminal); }
    PtyProgram(const PtyProgram&) = delete;
    PtyProgram& operator=(const PtyProgram&) = delete;

    /// Blocks until the terminal has taken everything.
    void Write(const std::string& aText)
    {
        for (std::size_t done = 0; done < aText.size();)
        {
            const ssize_t count = ::write(mTerminal, aText.data() + done, aText.size() - done);
            if (count < 0)
            {
                throw std::runtime_error("cannot write to the terminal");
            }
            done += static_cast<std::size_t>(count);
        }
    }

    /// Reads what is there, at most aMost bytes; waits for the first byte, half a minute if it must be.
    std::string ReadSome(std::size_t aMost)
    {
        pollfd polled{mTerminal, POLLIN, 0};
        std::string text(aMost, '\0');
        const bool ready = ::poll(&polled, 1, 30000) == 1;
        const ssize_t count = ready ? ::read(mTerminal, text.data(), text.size()) : 0;
        text.resize(count < 0 ? 0 : static_cast<std::size_t>(count));
        return text;
    }

    /// Reads aLength bytes; fewer when no more come.
    std::string Read(std::size_t aLength)
    {
        std::string text;
        while (text.size() < aLength)
        {
            const std::string piece = ReadSome(aLength - text.size());
            if (piece.empty())
            {
                break;
            }
            text += piece;
        }
        return text;
    }

    /// Number of bytes that wait to be read.
    int GetWaiting() const
    {
        int count = 0;
        ::ioctl(mTerminal, FIONREAD, &count);
        return count;
    }

private:
    const int mTerminal;
};

} // namespace KoSim
