#pragma once

namespace KoTool
{

/// The request to stop that SIGINT, SIGTERM or SIGHUP makes. Whoever works for longer asks for it from time to time, so
/// that everything is left in order. There is one for the process; any thread may ask.
class Interruption
{
public:
    /// Turns those signals into requests from now on, and lets a write to a closed pipe fail instead of ending the
    /// program. SIGHUP stays ignored where the program was started so.
    static void CatchSignals();

    static bool IsRequested();

    /// @throws Failure with STATUS_SIGNAL and the number of the signal when there is a request
    static void ThrowIfRequested();
};

} // namespace KoTool
