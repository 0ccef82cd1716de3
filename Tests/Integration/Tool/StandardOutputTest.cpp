#include <StandardOutput.h>

#include "Support/Complaint.h"
#include "Support/Files.h"

#include <Failure.h>

#include <gtest/gtest.h>

#include <iostream>

#include <fcntl.h>
#include <unistd.h>

using namespace KoTool;

namespace
{

/// Standard output goes to a file for as long as the object lives.
class Redirection
{
public:
    explicit Redirection(const std::string& aPath) : mFormer(::dup(STDOUT_FILENO))
    {
        std::cout.flush();
        const int file = ::open(aPath.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        ::dup2(file, STDOUT_FILENO);
        ::close(file);
    }

    ~Redirection()
    {
        ::dup2(mFormer, STDOUT_FILENO);
        ::close(mFormer);
    }

    Redirection(const Redirection&) = delete;
    Redirection& operator=(const Redirection&) = delete;

private:
    const int mFormer;
};

} // namespace

TEST(StandardOutput, IsWrittenWhole)
{
    const TemporaryDirectory directory;
    const std::string content = MakeRandomBytes(10000);
    {
        const Redirection redirection(directory / "out");
        StandardOutput output;
        std::cout << content.substr(0, 4095) << 'x' << content.substr(4096) << 12;
        output.Flush();
        std::cout << "the end";
    }
    std::string expected = content;
    expected[4095] = 'x';
    EXPECT_TRUE(ReadFile(directory / "out") == expected + "12the end");
}

TEST(StandardOutput, EndsWhatPrintsAsSoonAsItCannotBeWritten)
{
    const std::string failure = "cannot write standard output: No space left on device";
    const Redirection redirection("/dev/full");
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           []
                           {
                               const StandardOutput output;
                               std::cout << "a cell" << std::flush;
                           }),
              failure);
    EXPECT_EQ(GetComplaint(STATUS_FAILURE,
                           []
                           {
                               const StandardOutput output;
                               std::cout << std::string(4097, 'x');
                           }),
              failure);
    EXPECT_TRUE(std::cout.good());
}
