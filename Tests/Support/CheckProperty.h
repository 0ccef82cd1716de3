#pragma once

#include <gtest/gtest.h>
#include <rapidcheck.h>

#include <sstream>
#include <string>

/// A sanitizer makes each case ten times as long, and what it looks for shows in a tenth of them.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int CASES_PER_CHECKED_ONE = 10;
#else
constexpr int CASES_PER_CHECKED_ONE = 1;
#endif

/// Checks a property with RapidCheck on aCases random cases, on fewer under a sanitizer. A failure of the test shows
/// the smallest case that breaks the property, and how to see it again.
template <typename Property>
void CheckProperty(int aCases, Property aProperty)
{
    const ::testing::TestInfo& test = *::testing::UnitTest::GetInstance()->current_test_info();
    rc::detail::TestMetadata metadata;
    metadata.id = std::string(test.test_suite_name()) + '/' + test.name();
    metadata.description = test.name();
    rc::detail::TestParams parameters = rc::detail::configuration().testParams;
    parameters.maxSuccess = aCases / CASES_PER_CHECKED_ONE;

    const rc::detail::TestResult result = rc::detail::checkTestable(aProperty, metadata, parameters);
    if (!result.is<rc::detail::SuccessResult>())
    {
        std::ostringstream text;
        rc::detail::printResultMessage(result, text);
        ADD_FAILURE() << text.str();
    }
}
