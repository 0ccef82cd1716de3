#pragma once

namespace KoTool
{

/// Runs the command that the command line asks for.
/// @return exit status of the program; a failure is reported on standard error
int RunCommandLine(int aArgumentCount, const char* const* aArguments);

} // namespace KoTool
