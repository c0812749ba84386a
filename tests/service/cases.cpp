#include "cases.h"

#include <algorithm>
#include <filesystem>
#include <sstream>

#include <zmq.h>

namespace serviceTest {
namespace {

namespace fs = std::filesystem;

const fs::path caseDirectory = MPEGFE_SERVICE_CASES;
const fs::path recordFile = caseDirectory / "records";

} // namespace

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

Outcome playCase(const std::string& caseName, RunOptions options) {
    return playScript(caseDirectory / caseName / "script", recordFile, expectedTranscript(caseName),
                      std::move(options));
}

} // namespace serviceTest
