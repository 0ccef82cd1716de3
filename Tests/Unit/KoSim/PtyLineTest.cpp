#include <KoSim/PtyLine.h>

#include "FakeLine.h"
#include "ForeignTerminal.h"
#include "PtyProgram.h"
#include "PtyTerminal.h"
#include "RunInChild.h"
#include "TemporaryFolder.h"
#include "WaitUntil.h"

#include <gtest/gtest.h>

#include <chrono>
#include <fstream>
#include <optional>
#include <system_error>
#include <thread>

#include <sys/resource.h>
#include <unistd.h>

using namespace KoSim;
namespace fs = std::filesystem;

namespace
{

/// More than the terminal itself holds.
constexpr std::size_t LONG = 20000;
constexpr std::size_t CAPACITY = std::size_t{1} << 20;

/// Every byte value, many times over.
std::string MakeText(std::size_t aLength)
{
    std::string text;
    for (std::size_t i = 0; i < aLength; ++i)
    {
        text += static_cast<char>(i + i / 256);
    }
    return text;
}

/// Lets this process open so many more files.
class DescriptorLimit
{
public:
    explicit DescriptorLimit(rlim_t aCount)
    {
        ::getrlimit(RLIMIT_NOFILE, &mPrevious);
        const int next = ::dup(STDIN_FILENO);
        ::close(next);
        const rlimit limit{static_cast<rlim_t>(next) + aCount, mPrevious.rlim_max};
        ::setrlimit(RLIMIT_NOFILE, &limit);
    }
    ~DescriptorLimit() { ::setrlimit(RLIMIT_NOFILE, &mPrevious); }
    DescriptorLimit(const DescriptorLimit&) = delete;
    DescriptorLimit& operator=(const DescriptorLimit&) = delete;

private:
    rlimit mPrevious{};
};

bool WaitForSent(FakeLine& aLine, std::size_t aLength)
{
    return WaitUntil([&] { return aLine.GetSent().size() >= aLength; });
}

} // namespace

TEST(PtyLineTest, CarriesBytesFromAProgramToTheDevice)
{
    const std::string text = MakeText(LONG);
    FakeLine line;
    PtyLine pty;
    pty.Attach(line);
    PtyProgram(pty.GetPath()).Write(text);

    EXPECT_TRUE(WaitForSent(line, LONG));
    EXPECT_EQ(line.GetSent(), text);
    pty.Detach();
}

TEST(PtyLineTest, CarriesBytesFromTheDeviceToAProgram)
{
    const std::string text = MakeText(LONG);
    FakeLine line;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    Receive(pty, text.substr(0, 5));
    Receive(pty, text.substr(5));

    EXPECT_EQ(program.Read(LONG), text);
    pty.Detach();
    EXPECT_EQ(pty.GetLostBytes(), 0U);
}

TEST(PtyLineTest, DoesNotSendBackWhatItCarries)
{
    FakeLine line;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    Receive(pty, "from the device\r\n");
    EXPECT_EQ(program.Read(17), "from the device\r\n");
    program.Write("from the program\n");

    EXPECT_TRUE(WaitForSent(line, 17));
    pty.Detach();
    EXPECT_EQ(line.GetSent(), "from the program\n");
    EXPECT_EQ(program.GetWaiting(), 0);
}

TEST(PtyLineTest, KeepsBytesForAProgramThatOpensItLater)
{
    FakeLine line;
    PtyLine pty;
    pty.Attach(line);
    Receive(pty, "early");
    PtyProgram program(pty.GetPath());

    EXPECT_EQ(program.Read(5), "early");
    pty.Detach();
}

TEST(PtyLineTest, LivesOnWhenAProgramLeaves)
{
    FakeLine line;
    PtyLine pty;
    pty.Attach(line);
    PtyProgram(pty.GetPath()).Write("A");
    EXPECT_TRUE(WaitForSent(line, 1));
    PtyProgram second(pty.GetPath());
    second.Write("B");
    EXPECT_TRUE(WaitForSent(line, 2));
    Receive(pty, "C");

    EXPECT_EQ(second.Read(1), "C");
    EXPECT_EQ(line.GetSent(), "AB");
    pty.Detach();
}

TEST(PtyLineTest, HoldsBytesBackUntilTheDeviceTakesThem)
{
    const std::string text = MakeText(100);
    FakeLine line(10);
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    program.Write(text);
    EXPECT_TRUE(WaitForSent(line, 10));
    EXPECT_EQ(line.GetSent(), text.substr(0, 10));

    line.SetRoom(1000);
    EXPECT_TRUE(WaitForSent(line, 100));
    EXPECT_EQ(line.GetSent(), text);
    pty.Detach();
}

TEST(PtyLineTest, CanBeAttachedAgain)
{
    FakeLine first;
    FakeLine second;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(first);
    pty.Detach();
    pty.Attach(second);
    program.Write("A");

    EXPECT_TRUE(WaitForSent(second, 1));
    pty.Detach();
    EXPECT_EQ(first.GetSent(), "");
}

TEST(PtyLineTest, TakesNothingFromAProgramOnceItIsDetached)
{
    FakeLine line;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    pty.Detach();
    program.Write("A");
    std::this_thread::sleep_for(std::chrono::milliseconds(20));

    EXPECT_EQ(line.GetSent(), "");
}

TEST(PtyLineTest, HoldsBytesForASlowReaderWhenItIsDetached)
{
    FakeLine line;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    Receive(pty, MakeText(LONG));
    std::string received;
    std::thread reader(
        [&]
        {
            while (received.size() < LONG)
            {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                const std::string piece = program.ReadSome(1000);
                if (piece.empty())
                {
                    break;
                }
                received += piece;
            }
        });
    pty.Detach();

    EXPECT_EQ(program.GetWaiting(), 0);
    EXPECT_EQ(pty.GetLostBytes(), 0U);
    reader.join();
    EXPECT_EQ(received, MakeText(LONG));
}

TEST(PtyLineTest, CountsTheBytesThatNobodyReads)
{
    FakeLine line;
    PtyLine pty;
    pty.Attach(line);
    Receive(pty, MakeText(LONG));
    EXPECT_EQ(pty.GetLostBytes(), 0U);
    pty.Detach();

    EXPECT_EQ(pty.GetLostBytes(), LONG);
}

TEST(PtyLineTest, HoldsTheLineBackWhileTheProgramIsFarBehind)
{
    const std::string text = MakeText(CAPACITY + 100000);
    FakeLine line;
    PtyLine pty;
    PtyProgram program(pty.GetPath());
    pty.Attach(line);
    Receive(pty, text.substr(0, CAPACITY));
    EXPECT_FALSE(line.IsHeldBack());
    Receive(pty, text.substr(CAPACITY));
    EXPECT_TRUE(line.IsHeldBack());

    EXPECT_EQ(program.Read(text.size()), text);
    EXPECT_TRUE(WaitUntil([&] { return !line.IsHeldBack(); }));
    pty.Detach();
    EXPECT_EQ(pty.GetLostBytes(), 0U);
}

TEST(PtyLineTest, HoldsTheNextLineBackTooWhenItHasHeldBackTheOneBefore)
{
    const std::string text(CAPACITY + 1, 'x');
    PtyLine pty;
    for (int i = 0; i < 2; ++i)
    {
        FakeLine line;
        pty.Attach(line);
        Receive(pty, text);
        EXPECT_TRUE(line.IsHeldBack());
        pty.Detach();
    }
    EXPECT_EQ(pty.GetLostBytes(), 2 * text.size());
}

TEST(PtyLineTest, MakesALinkToItsTerminalForAsLongAsItLives)
{
    const TemporaryFolder folder;
    const std::string path = folder / "tty";
    FakeLine line;
    std::optional<PtyLine> pty(std::in_place, path);
    EXPECT_EQ(fs::read_symlink(path), pty->GetPath());
    pty->Attach(line);
    PtyProgram(path).Write("A");
    EXPECT_TRUE(WaitForSent(line, 1));
    pty->Detach();
    EXPECT_TRUE(fs::is_symlink(path));
    pty.reset();

    EXPECT_FALSE(fs::is_symlink(path));
}

TEST(PtyLineTest, ReplacesALinkThatWasLeftBehind)
{
    const TemporaryFolder folder;
    const ForeignTerminal terminal;
    const std::string path = folder / "tty";
    fs::create_symlink(terminal.GetPath(), path);
    const PtyLine pty(path);

    EXPECT_EQ(fs::read_symlink(path), pty.GetPath());
}

TEST(PtyLineTest, SaysWhyATerminalCannotBeOpened)
{
    try
    {
        // Without the class around it, whose virtual table a sanitizer looks up with descriptors of its own.
        const DescriptorLimit limit(1);
        const PtyTerminal terminal("");
        FAIL();
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code(), std::errc::too_many_files_open) << error.what();
    }
}

TEST(PtyLineTest, IsLeftToTheParentByAChild)
{
    const TemporaryFolder folder;
    const std::string path = folder / "tty";
    FakeLine line;
    std::optional<PtyLine> pty(std::in_place, path);
    pty->Attach(line);
    EXPECT_TRUE(RunInChild([&] { pty.reset(); }));

    EXPECT_EQ(fs::read_symlink(path), pty->GetPath());
    PtyProgram(path).Write("A");
    EXPECT_TRUE(WaitForSent(line, 1));
    pty->Detach();
}

TEST(PtyLineTest, RefusesToTakeThePlaceOfSomethingElse)
{
    const TemporaryFolder folder;
    const std::string path = folder / "tty";
    std::ofstream(path) << "precious";

    EXPECT_THROW(PtyLine{path}, std::system_error);
    EXPECT_TRUE(fs::is_regular_file(path));
}

TEST(PtyLineTest, RefusesTheLinkOfATerminalThatIsInUse)
{
    const TemporaryFolder folder;
    const std::string path = folder / "tty";
    const PtyLine first(path);

    EXPECT_THROW(PtyLine{path}, std::system_error);
    EXPECT_EQ(fs::read_symlink(path), first.GetPath());
}

TEST(PtyLineTest, HasATerminalOfItsOwn)
{
    const PtyLine first;
    const PtyLine second;

    EXPECT_NE(first.GetPath(), second.GetPath());
}
