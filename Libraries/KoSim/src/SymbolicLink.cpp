#include "SymbolicLink.h"

#include <filesystem>
#include <system_error>

namespace KoSim
{

SymbolicLink::SymbolicLink(const std::string& aPath, const std::string& aTarget) : mPath(aPath), mTarget(aTarget)
{
    if (mPath.empty())
    {
        return;
    }
    std::error_code ignored;
    if (std::filesystem::is_symlink(mPath, ignored) && !std::filesystem::exists(mPath, ignored))
    {
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
    if (!mPath.empty() && std::filesystem::read_symlink(mPath, ignored) == mTarget)
    {
        std::filesystem::remove(mPath, ignored);
    }
}

} // namespace KoSim
