#pragma once

#include <csignal>

#include <termios.h>

namespace KoTool
{

/// Puts a terminal into raw mode, in which every key goes to the program as it is, for as long as the object lives.
/// While the program is suspended (SIGTSTP) the terminal is in the mode it was in, and when the program goes on
/// (SIGCONT) it is in raw mode again. There is one such object at a time.
class RawTerminal
{
public:
    /// @throws Failure when the descriptor is no terminal or cannot be changed
    explicit RawTerminal(int aDescriptor);

    /// Puts the terminal back into the mode it was in.
    ~RawTerminal();

    RawTerminal(const RawTerminal&) = delete;
    RawTerminal& operator=(const RawTerminal&) = delete;

private:
    struct sigaction mFormerStop = {};
    struct sigaction mFormerContinue = {};
};

} // namespace KoTool
