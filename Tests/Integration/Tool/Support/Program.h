#pragma once

#include "Support/Files.h"

#include <string>
#include <vector>

#include <sys/types.h>

/// A program that runs beside the test. Its standard input is empty and its outputs go to files, unless they are put
/// elsewhere before the start; the log of the library has its usual level, and a terminal can do what an xterm can.
class Program
{
public:
    explicit Program(const std::vector<std::string>& aCommand);

    /// Ends the program if it still runs.
    ~Program();

    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    Program& WithInput(const std::string& aPath);
    Program& WithOutput(const std::string& aPath);
    Program& WithErrors(const std::string& aPath);

    /// Makes it the leader of a new session whose terminal this is, for all three streams.
    Program& OnTerminal(const std::string& aPath);

    Program& Start();
    void Signal(int aSignal);

    /// Waits for the end, starting the program first if need be.
    /// @return exit status, or minus the number of the signal that ended it
    int Wait();

    bool IsRunning();
    std::string GetOutput() const { return ReadFile(mOutput); }
    std::string GetErrors() const { return ReadFile(mErrors); }

private:
    const std::vector<std::string> mCommand;
    TemporaryDirectory mDirectory;
    std::string mInput = "/dev/null";
    std::string mOutput = mDirectory / "out";
    std::string mErrors = mDirectory / "errors";
    bool mNewSession = false;
    pid_t mProcess = 0;
    int mWaitStatus = 0;
};

/// The tool under test with these arguments.
std::vector<std::string> Koserial(const std::vector<std::string>& aArguments);

/// What a run of the tool did.
struct Outcome
{
    int mStatus;
    std::string mOutput;
    std::string mErrors;
};

/// Runs the tool to its end.
Outcome RunKoserial(const std::vector<std::string>& aArguments, const std::string& aInputFile = "/dev/null");
