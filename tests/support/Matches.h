#pragma once

#include <gtest/gtest.h>

#include <regex.h>

#include <string>

/// Whether the whole text matches an extended regular expression.
inline testing::AssertionResult Matches(const std::string& text, const std::string& pattern) {
    regex_t expression = {};
    EXPECT_EQ(regcomp(&expression, ("^(" + pattern + ")$").c_str(), REG_EXTENDED | REG_NOSUB), 0);
    const bool matches = regexec(&expression, text.c_str(), 0, nullptr, 0) == 0;
    regfree(&expression);
    return matches ? testing::AssertionSuccess() : testing::AssertionFailure() << text;
}
