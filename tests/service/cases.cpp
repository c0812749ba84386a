#include "cases.h"

#include "textBlocks.h"

#include <filesystem>
#include <map>
#include <sstream>
#include <stdexcept>

#include <zmq.h>

namespace serviceTest {
namespace {

namespace fs = std::filesystem;

const fs::path caseDirectory = MPEGFE_SERVICE_CASES;

struct Case {
    fs::path directory;
    Values values; // of the variant
};

std::string libraryVersion() {
    int major = 0;
    int minor = 0;
    int patch = 0;
    zmq_version(&major, &minor, &patch);
    return std::to_string(major) + '.' + std::to_string(minor) + '.' + std::to_string(patch);
}

// The variants that a text lists, each with its values: "variant NAME", and below it lines "    NAME VALUE".
std::map<std::string, Values> readVariants(const std::string& text) {
    const std::string opening = "variant ";
    const std::string indent = "    ";
    std::map<std::string, Values> variants;
    Values* current = nullptr;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        if (line.starts_with(opening)) {
            current = &variants[line.substr(opening.size())];
        } else if (line.starts_with(indent) && current != nullptr) {
            const std::size_t end = line.find(' ', indent.size());
            std::vector<std::string>& values = (*current)[line.substr(indent.size(), end - indent.size())];
            if (end != std::string::npos) {
                values.push_back(line.substr(end + 1));
            }
        } else if (!line.empty() && line[0] != '#') {
            throw std::runtime_error("a line that belongs to no variant: " + line);
        }
    }
    return variants;
}

std::map<std::string, Case> findCases() {
    std::map<std::string, Case> cases;
    for (const fs::directory_entry& entry : fs::directory_iterator(caseDirectory)) {
        const fs::path variants = entry.path() / "variants";
        const std::string name = entry.path().filename();
        if (fs::exists(variants)) {
            for (const auto& [variant, values] : readVariants(readFile(variants))) {
                cases[name + '-' + variant] = {entry.path(), values};
            }
        } else if (fs::exists(entry.path() / "script")) {
            cases[name] = {entry.path(), {}};
        }
    }
    return cases;
}

const Case& caseCalled(const std::string& name) {
    static const std::map<std::string, Case> cases = findCases();
    return cases.at(name);
}

TextBlocks sharedBlocks() {
    TextBlocks blocks;
    blocks.define(readFile(caseDirectory / "blocks"));
    blocks.define(readFile(caseDirectory / "documents"));
    return blocks;
}

} // namespace

std::vector<std::string> caseNames() {
    std::vector<std::string> names;
    for (const auto& [name, found] : findCases()) {
        names.push_back(name);
    }
    return names;
}

std::string expectedTranscript(const std::string& caseName) {
    static const TextBlocks blocks = sharedBlocks();
    const Case& expected = caseCalled(caseName);
    Values values = expected.values;
    values["version"] = {libraryVersion()};
    return blocks.expand(readFile(expected.directory / "expected"), values);
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
    const Case& played = caseCalled(caseName);
    return playScript(fillIn(readFile(played.directory / "script"), played.values),
                      readFile(caseDirectory / "records"), expectedTranscript(caseName), std::move(options));
}

} // namespace serviceTest
