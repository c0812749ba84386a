// The cases under cases/: what is played, and what must come out.
#pragma once

#include "script.h"

#include <string>
#include <vector>

namespace serviceTest {

// Names of all cases, in order. A folder with variants is a case for each, named "FOLDER-VARIANT".
std::vector<std::string> caseNames();

// The transcript of a case, its blocks expanded and the library's version filled in.
std::string expectedTranscript(const std::string& caseName);

// What the service itself has printed: a transcript without the recorder's lines.
std::string consoleLines(const std::string& transcript);

// Plays a case against a new service.
Outcome playCase(const std::string& caseName, RunOptions options);

} // namespace serviceTest
