#pragma once

#include "InputFile.h"

namespace KoTool
{

/// The keys of a person at a terminal in raw mode: an input that ends with Ctrl-].
class TerminalInput : public InputFile
{
public:
    TerminalInput() : InputFile(STANDARD_STREAM) {}

    std::optional<std::size_t> Read(std::uint8_t* aBuffer, std::size_t aSize, int aTimeoutMs) override;

private:
    bool mLeft = false;
};

} // namespace KoTool
