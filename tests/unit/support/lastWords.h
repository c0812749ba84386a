// What a process says on standard error as it dies, for death tests.
#pragma once

#include "support/testedService.h"

#include <gmock/gmock.h>
#include <string>

// Matches exactly this text.
inline auto lastWordsAre(const std::string& text) {
    return testing::ResultOf(testSupport::withoutEmulatorsWord, testing::StrEq(text));
}

// Matches this regular expression, as a whole.
inline auto lastWordsMatch(const std::string& expression) {
    return testing::ResultOf(testSupport::withoutEmulatorsWord, testing::MatchesRegex(expression));
}
