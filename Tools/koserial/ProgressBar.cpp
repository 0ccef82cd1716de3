#include "ProgressBar.h"

#include <algorithm>
#include <iostream>

#include <unistd.h>

namespace KoTool
{
namespace
{

constexpr std::size_t WIDTH = 40;
constexpr const char* ERASE_LINE = "\r\033[K";

} // namespace

ProgressBar::ProgressBar(std::optional<std::uint64_t> aTotal)
    : mTotal(aTotal),
      mOnTerminal(::isatty(STDERR_FILENO) != 0)
{
}

ProgressBar::~ProgressBar()
{
    if (mOnTerminal)
    {
        std::cerr << ERASE_LINE << std::flush;
    }
}

void ProgressBar::Show(std::uint64_t aDone)
{
    if (mOnTerminal)
    {
        std::cerr << ERASE_LINE << Format(aDone, mTotal) << std::flush;
    }
}

std::string ProgressBar::Format(std::uint64_t aDone, std::optional<std::uint64_t> aTotal)
{
    if (!aTotal || *aTotal == 0)
    {
        return std::to_string(aDone) + " bytes";
    }
    // The file may have grown since its size was asked for.
    const double share = std::min(1.0, static_cast<double>(aDone) / static_cast<double>(*aTotal));
    const auto filled = static_cast<std::size_t>(share * WIDTH);
    const std::string percent = std::to_string(static_cast<int>(share * 100));
    return '[' + std::string(filled, '#') + std::string(WIDTH - filled, '.') + "] " +
           std::string(3 - percent.size(), ' ') + percent + " %  " + std::to_string(aDone) + " of " +
           std::to_string(*aTotal) + " bytes";
}

} // namespace KoTool
