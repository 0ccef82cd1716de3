#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace KoTool
{

/// Shows on standard error how far a transfer has come, when that is a terminal that can erase a line. The bar
/// disappears with the object.
class ProgressBar
{
public:
    /// @param aTotal number of bytes to transfer; nothing when unknown
    /// @param aWanted false to show nothing: where the bar would mix with output on the same terminal
    ProgressBar(std::optional<std::uint64_t> aTotal, bool aWanted);
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(std::uint64_t aDone);

    /// The text of the bar, which gets shorter, and then loses its parts from the most dispensable one on, where there
    /// is no room for it.
    /// @param aWidth most characters
    static std::string Format(std::uint64_t aDone, std::optional<std::uint64_t> aTotal, std::size_t aWidth);

private:
    const std::optional<std::uint64_t> mTotal;
    const bool mIsShown;
};

} // namespace KoTool
