#pragma once

#include <string>

namespace KoTool
{

/// The name that stands for standard input or standard output on the command line.
constexpr const char* STANDARD_STREAM = "-";

/// An open file descriptor: a file's own one, which is closed on destruction, or a standard stream, which stays open.
class Descriptor
{
public:
    /// Opens a file as open(2) does. STANDARD_STREAM stands for aStandard.
    /// @throws Failure when the file cannot be opened
    Descriptor(const std::string& aPath, int aFlags, int aStandard);
    ~Descriptor();

    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;

    int Get() const { return mDescriptor; }

    /// Name of the file for messages.
    const std::string& GetName() const { return mName; }

    /// Waits, at most aTimeoutMs milliseconds, until a read (POLLIN) or write (POLLOUT) would not block.
    /// @return false when the time ran out or a signal came
    bool Poll(short aEvents, int aTimeoutMs) const;

private:
    std::string mName;
    int mDescriptor;
    bool mOwned;
};

} // namespace KoTool
