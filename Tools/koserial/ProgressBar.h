#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace KoTool
{

/// Shows on standard error how far a transfer has come, when that is a terminal. The bar disappears with the object.
class ProgressBar
{
public:
    /// @param aTotal number of bytes to transfer; nothing when unknown
    explicit ProgressBar(std::optional<std::uint64_t> aTotal);
    ~ProgressBar();

    ProgressBar(const ProgressBar&) = delete;
    ProgressBar& operator=(const ProgressBar&) = delete;

    void Show(std::uint64_t aDone);

    /// The text of the bar.
    static std::string Format(std::uint64_t aDone, std::optional<std::uint64_t> aTotal);

private:
    const std::optional<std::uint64_t> mTotal;
    const bool mOnTerminal;
};

} // namespace KoTool
