#pragma once

#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace KoSim
{

/// A new folder that is gone with this object.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string path = (std::filesystem::temp_directory_path() / "KoSimTest.XXXXXX").string();
        if (::mkdtemp(path.data()) == nullptr)
        {
            throw std::runtime_error("cannot make a folder");
        }
        mPath = path;
    }
    ~TemporaryFolder()
    {
        std::error_code ignored;
        std::filesystem::remove_all(mPath, ignored);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::filesystem::path operator/(const std::string& aName) const { return mPath / aName; }

private:
    std::filesystem::path mPath;
};

} // namespace KoSim
