#pragma once

#include <cstdint>

namespace KoTool
{

class OpenPort;
class OutputFile;

/// Receives aCount bytes and writes them out.
/// @throws Failure when nothing has come for aTimeoutMs milliseconds; what has come is written out nevertheless
void ReceiveBytes(OpenPort& aPort, OutputFile& aOutput, std::uint64_t aCount, std::uint32_t aTimeoutMs);

} // namespace KoTool
