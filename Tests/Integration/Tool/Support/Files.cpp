#include "Support/Files.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <random>
#include <sstream>
#include <thread>

#include <cstdlib>

TemporaryDirectory::TemporaryDirectory()
    : mPath((std::filesystem::temp_directory_path() / "koserial-test-XXXXXX").string())
{
    if (::mkdtemp(mPath.data()) == nullptr)
    {
        throw std::runtime_error("cannot make a temporary directory");
    }
}

TemporaryDirectory::~TemporaryDirectory()
{
    std::error_code ignored;
    std::filesystem::remove_all(mPath, ignored);
}

std::string ReadFile(const std::string& aPath)
{
    std::ifstream file(aPath, std::ios::binary);
    std::ostringstream content;
    content << file.rdbuf();
    return content.str();
}

void WriteFile(const std::string& aPath, const std::string& aContent)
{
    std::ofstream file(aPath, std::ios::binary);
    file << aContent;
    ASSERT_TRUE(file.flush()) << aPath;
}

std::string MakeRandomBytes(std::size_t aSize)
{
    std::mt19937 generator(4711);
    std::string bytes(aSize, '\0');
    for (char& byte : bytes)
    {
        byte = static_cast<char>(generator() & 0xFF);
    }
    return bytes;
}

bool IsLink(const std::string& aPath)
{
    std::error_code ignored;
    return std::filesystem::is_symlink(aPath, ignored);
}

bool WaitUntil(const std::function<bool()>& aCondition)
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
    while (!aCondition())
    {
        if (std::chrono::steady_clock::now() > deadline)
        {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}
