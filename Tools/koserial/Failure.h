#pragma once

#include <KoResult.h>

#include <stdexcept>
#include <string>

namespace KoTool
{

/// @name Exit status of the program
/// What the words of the command line tell by themselves is wrong usage; what is found out with the device or a file is
/// a failure, even when another command line would have avoided it.
/// @{
constexpr int STATUS_OK = 0;
constexpr int STATUS_FAILURE = 1;  ///< the device or a file failed or does not have what was asked for
constexpr int STATUS_USAGE = 2;    ///< the command line is wrong, whatever the device and the files; nothing was done
constexpr int STATUS_SIGNAL = 128; ///< and the number of the signal that has ended the command
/// @}

/// What ends a command: a message for the user and the exit status of the program.
class Failure : public std::runtime_error
{
public:
    explicit Failure(const std::string& aMessage, int aExitStatus = STATUS_FAILURE);

    int GetExitStatus() const { return mExitStatus; }

private:
    int mExitStatus;
};

/// A command line that is wrong, whatever the device and the files.
Failure MakeUsageFailure(const std::string& aMessage);

/// An operation on a device that failed: "cannot open uart0: GENERIC_ERROR: The specified port is already in use."
Failure MakeDeviceFailure(const std::string& aWhat, const KoResult& aResult);

/// A system call that failed: "cannot open a.txt: No such file or directory"
Failure MakeSystemFailure(const std::string& aWhat, int aErrorNumber);

} // namespace KoTool
