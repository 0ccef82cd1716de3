#pragma once

#include <termios.h>

namespace KoTool
{

/// Puts a terminal into raw mode, in which every key goes to the program as it is, for as long as the object lives.
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
    const int mDescriptor;
    termios mFormerSettings{};
};

} // namespace KoTool
