#pragma once

#include <string>

namespace KoSim
{

/// Marks an open terminal as one of ours, for every process to see, until it is closed. The mark does not get in the
/// way of other programs that lock their serial ports.
void MarkTerminal(int aTerminal);

/// True when a path leads to a pseudo-terminal of ours that somebody has open, or when that cannot be told.
bool IsTerminalInUse(const std::string& aPath);

} // namespace KoSim
