#pragma once

#include <cstdint>

namespace KoTool
{

class InputFile;
class OpenPort;
class OutputFile;

/// Sends what the input holds and collects meanwhile what comes back, until the line has been quiet for aQuietMs
/// milliseconds after that; with aOutput NULL it only sends. A summary goes to standard error in any case.
/// @throws Failure
void SendInput(OpenPort& aPort, InputFile& aInput, OutputFile* aOutput, std::uint32_t aQuietMs);

} // namespace KoTool
