#include <OutputFile.h>

#include "Support/Program.h"

#include <gtest/gtest.h>

#include <csignal>

#include <fcntl.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

TEST(OutputFile, IsWrittenWhole)
{
    const TemporaryDirectory directory;
    const std::string content = MakeRandomBytes(100000);
    KoTool::OutputFile(directory / "out").Write(reinterpret_cast<const std::uint8_t*>(content.data()), content.size());
    EXPECT_TRUE(ReadFile(directory / "out") == content);
}

TEST(OutputFile, ThatNobodyReadsDoesNotHoldUpAnInterruption)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDWR | O_CLOEXEC);
    const std::string filling(static_cast<std::size_t>(::fcntl(reader, F_GETPIPE_SZ)), 'x');
    ASSERT_EQ(::write(reader, filling.data(), filling.size()), static_cast<ssize_t>(filling.size()));

    const std::string link = directory / "link";
    Program program(Koserial({"--device", "sim,uart0=pty:" + link, "term", "uart1"}));
    WriteFile(directory / "in", "hello");
    program.WithInput(directory / "in").WithOutput(fifo).Start();
    ASSERT_TRUE(WaitUntil([&] { return IsLink(link); }));
    ::usleep(200000);
    EXPECT_TRUE(program.IsRunning());
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_FALSE(IsLink(link));
    ::close(reader);
}

TEST(OutputFile, ThatNobodyReadsDoesNotHoldUpAnInterruptedTable)
{
    const TemporaryDirectory directory;
    const std::string fifo = directory / "fifo";
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    const int reader = ::open(fifo.c_str(), O_RDWR | O_NONBLOCK | O_CLOEXEC);
    Program program(Koserial({"i2c", "scan", "bulk0"}));
    program.WithOutput(fifo).Start();
    int printed = 0;
    ASSERT_TRUE(WaitUntil([&] { return ::ioctl(reader, FIONREAD, &printed) == 0 && printed > 0; }));
    while (::write(reader, "x", 1) == 1)
    {
    }
    program.Signal(SIGINT);

    EXPECT_EQ(program.Wait(), 130);
    EXPECT_EQ(program.GetErrors(), "koserial: interrupted\n");
    ::close(reader);
}
