#pragma once

#include <gtest/gtest.h>

#include <string>

/// Whether a text contains another one.
testing::AssertionResult Contains(const std::string& aText, const std::string& aPart);

/// Whether a whole text matches an extended regular expression, in which a dot matches a line end too.
testing::AssertionResult Matches(const std::string& aText, const std::string& aPattern);
