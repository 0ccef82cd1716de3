#pragma once

#include <cstdlib>
#include <stdexcept>
#include <string>

#include <fcntl.h>
#include <unistd.h>

namespace KoSim
{

/// A pseudo-terminal that the library has not made.
class ForeignTerminal
{
public:
    ForeignTerminal() : mMaster(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC))
    {
        if (mMaster < 0 || ::grantpt(mMaster) != 0 || ::unlockpt(mMaster) != 0)
        {
            throw std::runtime_error("cannot open a pseudo-terminal");
        }
    }
    ~ForeignTerminal() { ::close(mMaster); }
    ForeignTerminal(const ForeignTerminal&) = delete;
    ForeignTerminal& operator=(const ForeignTerminal&) = delete;

    std::string GetPath() const { return ::ptsname(mMaster); }

private:
    const int mMaster;
};

} // namespace KoSim
