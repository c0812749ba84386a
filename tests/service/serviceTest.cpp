// The real service between scripted peers: every case under cases/ is a script and the transcript that it
// must lead to, compared whole. Then the process itself: unrecorded, and under a memory checker.
#include "../support/isolation.h"
#include "script.h"

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <sstream>
#include <string>
#include <vector>

#include <zmq.h>

namespace serviceTest {
namespace {

namespace fs = std::filesystem;

const fs::path caseDirectory = MPEGFE_SERVICE_CASES;
const fs::path recordFile = caseDirectory / "records";

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const fs::directory_entry& entry : fs::directory_iterator(caseDirectory)) {
        if (fs::exists(entry.path() / "script")) {
            names.push_back(entry.path().filename());
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

// The transcript of a case, with the library's version filled in.
std::string expectedTranscript(const std::string& caseName) {
    std::string text = readFile(caseDirectory / caseName / "expected");
    int major = 0;
    int minor = 0;
    int patch = 0;
    zmq_version(&major, &minor, &patch);
    const std::string version =
        std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
    const std::string mark = "{version}";
    for (std::size_t at = text.find(mark); at != std::string::npos; at = text.find(mark, at)) {
        text.replace(at, mark.size(), version);
    }
    return text;
}

// Left in the build's directory, to be looked at with a tool of one's own.
void keepTranscript(const std::string& caseName, const std::string& transcript) {
    fs::create_directories("transcripts");
    std::ofstream("transcripts/" + caseName) << transcript;
}

// What the service itself has printed: the transcript without the recorder's lines.
std::string consoleLines(const std::string& transcript) {
    std::istringstream text(transcript);
    std::string lines;
    for (std::string line; std::getline(text, line);) {
        if (!line.starts_with("  | ")) {
            lines += line + '\n';
        }
    }
    return lines;
}

class Service : public testing::TestWithParam<std::string> {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

class Process : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }
};

TEST_P(Service, keepsToTheTranscript) {
    const std::string expected = expectedTranscript(GetParam());
    const Outcome outcome = playScript(caseDirectory / GetParam() / "script", recordFile, expected, {});
    keepTranscript(GetParam(), outcome.transcript);
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, expected);
    EXPECT_EQ(outcome.heard, outcome.sent);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.ending.actual, outcome.ending.expected);
}

// Nothing is preloaded: the recorder neither makes the console live nor ends the process.
TEST_F(Process, printsTheSameWithoutARecorder) {
    const std::string expected = consoleLines(expectedTranscript("every-request"));
    RunOptions options;
    options.recorded = false;
    const Outcome outcome =
        playScript(caseDirectory / "every-request" / "script", recordFile, expected, options);
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, expected);
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.ending.actual, "signal 15 (Terminated)");
}

// A broken precondition ends the process with the C library's report, in release builds too: four descriptors
// are enough for the program and its libraries, not for a socket.
TEST_F(Process, abortsWithAReportWhenThereIsNoSocket) {
    RunOptions options;
    options.recorded = false;
    options.launcher = {"prlimit", "--nofile=4", "--core=0"};
    ServiceRun run(options);
    run.startService();
    EXPECT_EQ(run.waitForEnd(), "signal 6 (Aborted)");
    const std::string startUp = consoleLines(expectedTranscript("start-up"));
    EXPECT_EQ(run.console(), startUp.substr(0, startUp.find('\n') + 1));
    EXPECT_EQ(run.errors(), "mpegFE: main:102: initMPEGsideofMLC_MPEG_CTX: Assertion "
                            "`vtx->mpegMstmlc != ((void *)0)' failed.\n");
}

// Every request, once: no byte is used before it is set, none outside its buffer, and none is lost.
TEST_F(Process, isCleanUnderMemcheck) {
    if (MPEGFE_SANITIZED) {
        GTEST_SKIP() << "the sanitizers of this build see to it";
    }
    if (std::string(MPEGFE_VALGRIND).empty()) {
        GTEST_SKIP() << "valgrind was not found when the build was configured";
    }
    const fs::path log = fs::absolute("memcheck.log");
    RunOptions options;
    options.launcher = {MPEGFE_VALGRIND, "--error-exitcode=99", "--leak-check=full",
                        "--errors-for-leak-kinds=definite,indirect", "--log-file=" + log.string()};
    options.patience = std::chrono::minutes(4);
    const std::string expected = expectedTranscript("every-request");
    const Outcome outcome =
        playScript(caseDirectory / "every-request" / "script", recordFile, expected, options);
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, expected);
    EXPECT_EQ(outcome.ending.actual, "exit code 0") << readFile(log);
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
