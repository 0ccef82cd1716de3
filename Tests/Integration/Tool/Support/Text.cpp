#include "Support/Text.h"

#include <regex.h>

testing::AssertionResult Contains(const std::string& aText, const std::string& aPart)
{
    const bool found = aText.find(aPart) != std::string::npos;
    return found ? testing::AssertionSuccess() : testing::AssertionFailure() << "not found in: " << aText;
}

testing::AssertionResult Matches(const std::string& aText, const std::string& aPattern)
{
    regex_t pattern{};
    if (::regcomp(&pattern, ("^(" + aPattern + ")$").c_str(), REG_EXTENDED | REG_NOSUB) != 0)
    {
        return testing::AssertionFailure() << "no regular expression: " << aPattern;
    }
    const bool matches = ::regexec(&pattern, aText.c_str(), 0, nullptr, 0) == 0;
    ::regfree(&pattern);
    return matches ? testing::AssertionSuccess() : testing::AssertionFailure() << "no match: " << aText;
}
