#pragma once

#include <cstddef>
#include <functional>
#include <string>

/// A new empty directory, removed with everything in it at the end.
class TemporaryDirectory
{
public:
    TemporaryDirectory();
    ~TemporaryDirectory();

    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    /// Path of a file in the directory.
    std::string operator/(const std::string& aName) const { return mPath + '/' + aName; }

private:
    std::string mPath;
};

/// The whole file; empty when there is none.
std::string ReadFile(const std::string& aPath);

void WriteFile(const std::string& aPath, const std::string& aContent);

/// The same bytes for the same size in every run.
std::string MakeRandomBytes(std::size_t aSize);

/// True for a symbolic link, even one that points nowhere.
bool IsLink(const std::string& aPath);

/// Waits until the condition holds, at most as long as a slow machine may need.
bool WaitUntil(const std::function<bool()>& aCondition);
