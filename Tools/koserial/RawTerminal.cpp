#include "RawTerminal.h"

#include "Failure.h"

#include <cerrno>

namespace KoTool
{

RawTerminal::RawTerminal(int aDescriptor) : mDescriptor(aDescriptor)
{
    if (::tcgetattr(mDescriptor, &mFormerSettings) != 0)
    {
        throw MakeSystemFailure("cannot read the settings of the terminal", errno);
    }
    termios raw = mFormerSettings;
    ::cfmakeraw(&raw);
    if (::tcsetattr(mDescriptor, TCSADRAIN, &raw) != 0)
    {
        throw MakeSystemFailure("cannot change the settings of the terminal", errno);
    }
}

RawTerminal::~RawTerminal()
{
    ::tcsetattr(mDescriptor, TCSADRAIN, &mFormerSettings);
}

} // namespace KoTool
