// The real service between scripted peers: every case under cases/ is a script and the transcript that it
// must lead to, compared whole.
#include "../support/isolation.h"
#include "cases.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>

namespace serviceTest {
namespace {

namespace fs = std::filesystem;

// Left in the build's directory, to be looked at with a tool of one's own.
void keepTranscript(const std::string& caseName, const std::string& transcript) {
    fs::create_directories("transcripts");
    std::ofstream("transcripts/" + caseName) << transcript;
}

class Service : public testing::TestWithParam<std::string> {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

TEST_P(Service, keepsToTheTranscript) {
    const std::string expected = expectedTranscript(GetParam());
    const Outcome outcome = playCase(GetParam(), {});
    keepTranscript(GetParam(), outcome.transcript);
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, expected);
    EXPECT_EQ(outcome.heard, outcome.sent);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.ending.actual, outcome.ending.expected);
}

// gtest's names have no dashes.
std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace(name.begin(), name.end(), '-', '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Case, Service, testing::ValuesIn(caseNames()), testName);

} // namespace
} // namespace serviceTest
