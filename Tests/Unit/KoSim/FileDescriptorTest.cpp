#include "FileDescriptor.h"

#include <gtest/gtest.h>

#include <string>

#include <fcntl.h>

using namespace KoSim;

TEST(FileDescriptorTest, ClosesWhatItOwns)
{
    int number = -1;
    {
        const FileDescriptor descriptor(::open("/dev/null", O_RDWR | O_CLOEXEC), "cannot open");
        number = descriptor.Get();
        EXPECT_NE(::fcntl(number, F_GETFD), -1);
    }
    EXPECT_EQ(::fcntl(number, F_GETFD), -1);
}

TEST(FileDescriptorTest, ThrowsTheErrorOfAFailedCall)
{
    try
    {
        const FileDescriptor descriptor(::open("/no/such/file", O_RDWR | O_CLOEXEC), "cannot open");
        FAIL() << "opened a file that does not exist";
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_EQ(std::string(error.what()).find("cannot open: "), 0U);
    }
}
