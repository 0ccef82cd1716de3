#pragma once

#include <cerrno>
#include <string>
#include <system_error>

#include <unistd.h>

namespace KoSim
{

/// Throws the error of the last system call.
[[noreturn]] inline void ThrowErrno(const std::string& aWhat)
{
    throw std::system_error(errno, std::generic_category(), aWhat);
}

/// Owns an open file descriptor.
class FileDescriptor
{
public:
    /// Takes what a system call returned.
    /// @throws std::system_error when that is a failure
    FileDescriptor(int aDescriptor, const char* aWhat) : mDescriptor(aDescriptor)
    {
        if (mDescriptor < 0)
        {
            ThrowErrno(aWhat);
        }
    }
    ~FileDescriptor() { ::close(mDescriptor); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    int Get() const { return mDescriptor; }

private:
    const int mDescriptor;
};

} // namespace KoSim
