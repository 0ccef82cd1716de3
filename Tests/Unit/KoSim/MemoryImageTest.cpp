#include <KoSim/MemoryImage.h>

#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string>
#include <system_error>

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
    image[1] = 'B';
    EXPECT_EQ(ReadAll(folder / "image"), "aBcd");
}

TEST(MemoryImageTest, SharesTheFileWithOthersThatHaveItOpen)
{
    const TemporaryFolder folder;
    MemoryImage first(4, folder / "image");
    MemoryImage second(4, folder / "image");

    first[2] = 7;
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
    first[3] = 9;
    const MemoryImage second = std::move(first);

    EXPECT_EQ(second.GetSize(), 4U);
    EXPECT_EQ(second[3], 9);
}
