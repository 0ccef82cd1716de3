#include "SymbolicLink.h"

#include "TerminalMark.h"

#include <filesystem>
#include <system_error>

namespace KoSim
{
namespace
{

const char* const TERMINALS = "/dev/pts/";

/// True when a path is a link that whoever made it has left behind.
bool IsStaleLink(const std::string& aPath)
{
    std::error_code ignored;
    const std::string target = std::filesystem::read_symlink(aPath, ignored);
    return target.rfind(TERMINALS, 0) == 0 && !IsTerminalInUse(target);
}

} // namespace

SymbolicLink::SymbolicLink(const std::string& aPath, const std::string& aTarget) : mPath(aPath), mTarget(aTarget)
{
    if (mPath.empty())
    {
        return;
    }
    if (IsStaleLink(mPath))
    {
        std::error_code ignored;
        std::filesystem::remove(mPath, ignored);
    }
    std::error_code failure;
    std::filesystem::create_symlink(mTarget, mPath, failure);
    if (failure)
    {
        throw std::system_error(failure, "cannot make the link " + mPath);
    }
}

SymbolicLink::~SymbolicLink()
{
    std::error_code ignored;
    if (!mPath.empty() && !mProcess.IsLeft() && std::filesystem::read_symlink(mPath, ignored) == mTarget)
    {
        std::filesystem::remove(mPath, ignored);
    }
}

} // namespace KoSim
