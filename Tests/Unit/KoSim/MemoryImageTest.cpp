#include <KoSim/MemoryImage.h>

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/resource.h>
#include <unistd.h>

using namespace KoSim;

namespace
{

std::string ReadAll(const std::filesystem::path& aPath)
{
    std::ifstream file(aPath, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

void WriteAll(const std::filesystem::path& aPath, const std::string& aContent)
{
    std::ofstream(aPath, std::ios::binary) << aContent;
}

/// Lets no file of this process grow beyond a size, as a disk that is full does.
class FileSizeLimit
{
public:
    explicit FileSizeLimit(rlim_t aSize) : mHandler(std::signal(SIGXFSZ, SIG_IGN))
    {
        ::getrlimit(RLIMIT_FSIZE, &mPrevious);
        const rlimit limit{aSize, mPrevious.rlim_max};
        ::setrlimit(RLIMIT_FSIZE, &limit);
    }
    ~FileSizeLimit()
    {
        ::setrlimit(RLIMIT_FSIZE, &mPrevious);
        std::signal(SIGXFSZ, mHandler);
    }
    FileSizeLimit(const FileSizeLimit&) = delete;
    FileSizeLimit& operator=(const FileSizeLimit&) = delete;

private:
    void (*const mHandler)(int);
    rlimit mPrevious{};
};

/// True while this process has that file open.
bool IsOpen(const std::string& aPath)
{
    std::error_code ignored;
    for (const auto& descriptor : std::filesystem::directory_iterator("/proc/self/fd"))
    {
        if (std::filesystem::read_symlink(descriptor.path(), ignored) == aPath)
        {
            return true;
        }
    }
    return false;
}

} // namespace

TEST(MemoryImageTest, IsErasedAtFirst)
{
    const MemoryImage image(100);

    EXPECT_EQ(image.GetSize(), 100U);
    for (std::size_t i = 0; i < image.GetSize(); ++i)
    {
        EXPECT_EQ(image[i], 0xFF) << i;
    }
}

TEST(MemoryImageTest, MakesAFileOfErasedBytes)
{
    const TemporaryFolder folder;
    const MemoryImage image(8, folder / "image");

    EXPECT_EQ(ReadAll(folder / "image"), std::string(8, '\xFF'));
}

TEST(MemoryImageTest, FillsAnEmptyFile)
{
    const TemporaryFolder folder;
    WriteAll(folder / "image", "");
    const MemoryImage image(8, folder / "image");

    EXPECT_EQ(ReadAll(folder / "image"), std::string(8, '\xFF'));
}

TEST(MemoryImageTest, HoldsWhatTheFileHolds)
{
    const TemporaryFolder folder;
    WriteAll(folder / "image", "abcd");
    MemoryImage image(4, folder / "image");

    EXPECT_EQ(image[1], 'b');
    image.Set(1, 'B');
    EXPECT_EQ(ReadAll(folder / "image"), "aBcd");
}

TEST(MemoryImageTest, SharesTheFileWithOthersThatHaveItOpen)
{
    const TemporaryFolder folder;
    MemoryImage first(4, folder / "image");
    MemoryImage second(4, folder / "image");

    first.Set(2, 7);
    EXPECT_EQ(second[2], 7);
}

TEST(MemoryImageTest, RefusesAFileOfAnotherSizeAndLeavesItAlone)
{
    const TemporaryFolder folder;
    WriteAll(folder / "image", "abc");
    try
    {
        const MemoryImage image(4, folder / "image");
        FAIL();
    }
    catch (const std::invalid_argument& error)
    {
        EXPECT_EQ(error.what(), (folder / "image").string() + " has 3 bytes and not the 4 of the chip");
    }
    EXPECT_EQ(ReadAll(folder / "image"), "abc");
}

TEST(MemoryImageTest, SaysWhyAFileCannotBeOpened)
{
    const TemporaryFolder folder;
    try
    {
        const MemoryImage image(4, folder / "missing" / "image");
        FAIL();
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code(), std::errc::no_such_file_or_directory);
        EXPECT_NE(std::string(error.what()).find("cannot open " + (folder / "missing" / "image").string()),
                  std::string::npos);
    }
}

TEST(MemoryImageTest, StaysWithTheObjectThatItIsMovedTo)
{
    MemoryImage first(4);
    first.Set(3, 9);
    const MemoryImage second = std::move(first);

    EXPECT_EQ(second.GetSize(), 4U);
    EXPECT_EQ(second[3], 9);
}

TEST(MemoryImageTest, ReadsAsErasedWhereSomebodyHasCutTheFileOff)
{
    const TemporaryFolder folder;
    WriteAll(folder / "image", std::string(8192, 'a'));
    MemoryImage image(8192, folder / "image");
    std::filesystem::resize_file(folder / "image", 2);
    EXPECT_EQ(image[1], 'a');
    EXPECT_EQ(image[2], 0xFF);
    EXPECT_EQ(image[8191], 0xFF);

    image.Set(4, 'b');
    EXPECT_EQ(ReadAll(folder / "image"), "aa\xFF\xFF" + ("b" + std::string(8192 - 5, '\xFF')));
}

TEST(MemoryImageTest, IsEmptyAgainWhenThereIsNoRoomForANewFile)
{
    const TemporaryFolder folder;
    const FileSizeLimit limit(5000);
    try
    {
        const MemoryImage image(10000, folder / "image");
        FAIL();
    }
    catch (const std::system_error& error)
    {
        EXPECT_EQ(error.code(), std::errc::file_too_large);
        EXPECT_NE(std::string(error.what()).find("cannot write " + (folder / "image").string()), std::string::npos);
    }
    EXPECT_EQ(std::filesystem::file_size(folder / "image"), 0U);
}

TEST(MemoryImageTest, WaitsForAnotherProcessThatFillsTheFile)
{
    const TemporaryFolder folder;
    const int other = ::open((folder / "image").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    ASSERT_GE(other, 0);
    ASSERT_EQ(::flock(other, LOCK_EX), 0);
    std::atomic<bool> isMade{false};
    std::thread maker(
        [&]
        {
            const MemoryImage image(4, folder / "image");
            isMade = true;
            EXPECT_EQ(image[0], 'a');
        });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(isMade);

    EXPECT_EQ(::write(other, "abcd", 4), 4);
    ::close(other);
    maker.join();
    EXPECT_EQ(ReadAll(folder / "image"), "abcd");
}

TEST(MemoryImageTest, KeepsNothingOfTheFileWhenItEnds)
{
    const TemporaryFolder folder;
    const std::string path = folder / "image";
    {
        MemoryImage first(4, path);
        const MemoryImage second = std::move(first);
        EXPECT_TRUE(IsOpen(path));
    }
    EXPECT_FALSE(IsOpen(path));
    EXPECT_EQ(ReadAll("/proc/self/maps").find(path), std::string::npos);
}
