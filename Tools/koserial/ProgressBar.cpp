#include "ProgressBar.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <iostream>

#include <sys/ioctl.h>
#include <unistd.h>

namespace KoTool
{
namespace
{

constexpr std::size_t LONGEST_BAR = 40;
constexpr std::size_t SHORTEST_BAR = 10;
constexpr std::size_t BRACKETS = 3;
constexpr std::size_t USUAL_COLUMNS = 80;
constexpr const char* ERASE_LINE = "\r\033[K";

bool CanEraseLines()
{
    const char* const terminal = std::getenv("TERM"); // NOLINT(concurrency-mt-unsafe): nothing sets variables
    return ::isatty(STDERR_FILENO) != 0 && terminal != nullptr && *terminal != '\0' &&
           std::strcmp(terminal, "dumb") != 0;
}

/// Characters in a line of the terminal. The last column stays free: some terminals begin a new line after it.
std::size_t GetWidth()
{
    winsize size{};
    const bool isKnown = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
    return (isKnown ? size.ws_col : USUAL_COLUMNS) - 1;
}

/// The text and what may follow it where there is room for both.
std::string Append(const std::string& aText, const std::string& aRest, std::size_t aWidth)
{
    return aText.size() + aRest.size() <= aWidth ? aText + aRest : aText.substr(0, aWidth);
}

std::string FormatBar(double aShare, std::size_t aRoom)
{
    const std::size_t length = std::min(aRoom - std::min(aRoom, BRACKETS), LONGEST_BAR);
    if (length < SHORTEST_BAR)
    {
        return "";
    }
    const auto filled = static_cast<std::size_t>(aShare * static_cast<double>(length));
    return '[' + std::string(filled, '#') + std::string(length - filled, '.') + "] ";
}

} // namespace

ProgressBar::ProgressBar(std::optional<std::uint64_t> aTotal, bool aWanted)
    : mTotal(aTotal),
      mIsShown(aWanted && CanEraseLines())
{
}

ProgressBar::~ProgressBar()
{
    if (mIsShown)
    {
        std::cerr << ERASE_LINE << std::flush;
    }
}

void ProgressBar::Show(std::uint64_t aDone)
{
    if (mIsShown)
    {
        std::cerr << ERASE_LINE << Format(aDone, mTotal, GetWidth()) << std::flush;
    }
}

std::string ProgressBar::Format(std::uint64_t aDone, std::optional<std::uint64_t> aTotal, std::size_t aWidth)
{
    if (!aTotal || *aTotal == 0)
    {
        return (std::to_string(aDone) + " bytes").substr(0, aWidth);
    }
    // The file may have grown since its size was asked for.
    const double share = std::min(1.0, static_cast<double>(aDone) / static_cast<double>(*aTotal));
    const std::string percent = std::to_string(static_cast<int>(share * 100));
    const std::string text = Append(std::string(3 - percent.size(), ' ') + percent + " %",
                                    "  " + std::to_string(aDone) + " of " + std::to_string(*aTotal) + " bytes", aWidth);
    return FormatBar(share, aWidth - text.size()) + text;
}

} // namespace KoTool
