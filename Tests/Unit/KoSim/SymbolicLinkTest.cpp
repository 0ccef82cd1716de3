#include "SymbolicLink.h"

#include "ForeignTerminal.h"
#include "RunInChild.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

#include <fstream>
#include <optional>
#include <system_error>

using namespace KoSim;
namespace fs = std::filesystem;

class SymbolicLinkTest : public ::testing::Test
{
protected:
    SymbolicLinkTest() { std::ofstream(mTarget) << "target"; }

    const TemporaryFolder mFolder;
    const std::string mTarget = mFolder / "target";
    const std::string mPath = mFolder / "link";
};

TEST_F(SymbolicLinkTest, LeadsToItsTargetAsLongAsItLives)
{
    {
        const SymbolicLink link(mPath, mTarget);
        EXPECT_EQ(fs::read_symlink(mPath), mTarget);
    }
    EXPECT_FALSE(fs::is_symlink(mPath));
    EXPECT_TRUE(fs::exists(mTarget));
}

TEST_F(SymbolicLinkTest, IsNotMadeForAnEmptyPath)
{
    EXPECT_NO_THROW(SymbolicLink("", mTarget));
}

TEST_F(SymbolicLinkTest, ReplacesALinkToATerminalThatIsGone)
{
    fs::create_symlink("/dev/pts/999999", mPath);
    const SymbolicLink link(mPath, mTarget);

    EXPECT_EQ(fs::read_symlink(mPath), mTarget);
}

TEST_F(SymbolicLinkTest, ReplacesALinkToATerminalThatSomebodyElseHasByNow)
{
    const ForeignTerminal terminal;
    fs::create_symlink(terminal.GetPath(), mPath);
    const SymbolicLink link(mPath, mTarget);

    EXPECT_EQ(fs::read_symlink(mPath), mTarget);
}

TEST_F(SymbolicLinkTest, LeavesALinkInItsPlaceAloneThatPointsToAFileThatIsMissing)
{
    fs::create_symlink(mFolder / "gone", mPath);

    EXPECT_THROW(SymbolicLink(mPath, mTarget), std::system_error);
    EXPECT_EQ(fs::read_symlink(mPath), mFolder / "gone");
}

TEST_F(SymbolicLinkTest, StaysWhenAChildOfItsProcessEnds)
{
    std::optional<SymbolicLink> link(std::in_place, mPath, mTarget);
    EXPECT_TRUE(RunInChild([&] { link.reset(); }));

    EXPECT_EQ(fs::read_symlink(mPath), mTarget);
}

TEST_F(SymbolicLinkTest, LeavesAFileInItsPlaceAlone)
{
    std::ofstream(mPath) << "precious";
    EXPECT_THROW(SymbolicLink(mPath, mTarget), std::system_error);

    std::string content;
    std::ifstream(mPath) >> content;
    EXPECT_EQ(content, "precious");
}

TEST_F(SymbolicLinkTest, LeavesALinkInItsPlaceAloneThatPointsSomewhere)
{
    std::ofstream(mFolder / "other") << "other";
    fs::create_symlink(mFolder / "other", mPath);

    EXPECT_THROW(SymbolicLink(mPath, mTarget), std::system_error);
    EXPECT_EQ(fs::read_symlink(mPath), mFolder / "other");
}

TEST_F(SymbolicLinkTest, NamesThePathThatItCannotMake)
{
    const std::string path = mFolder / "no folder/link";
    try
    {
        const SymbolicLink link(path, mTarget);
        FAIL() << "made a link in a folder that does not exist";
    }
    catch (const std::system_error& error)
    {
        EXPECT_NE(std::string(error.what()).find("cannot make the link " + path), std::string::npos) << error.what();
    }
}

TEST_F(SymbolicLinkTest, LeavesALinkAloneThatPointsElsewhereByNow)
{
    std::optional<SymbolicLink> link(std::in_place, mPath, mTarget);
    fs::remove(mPath);
    fs::create_symlink(mFolder / "elsewhere", mPath);
    link.reset();

    EXPECT_EQ(fs::read_symlink(mPath), mFolder / "elsewhere");
}

TEST_F(SymbolicLinkTest, IsNotDisturbedWhenSomebodyHasRemovedIt)
{
    std::optional<SymbolicLink> link(std::in_place, mPath, mTarget);
    fs::remove(mPath);
    link.reset();

    EXPECT_FALSE(fs::is_symlink(mPath));
}
