// Test cases of the service: a directory with a script of what its peers do, and the expected transcript.
#pragma once

#include "serviceRun.h"

#include <filesystem>
#include <string>
#include <vector>

namespace serviceTest {

// What a script led to.
struct Outcome {
    std::string transcript; // console lines, with the recorder's among them
    std::string trouble;    // why the script could not be played to its end; empty when it could
    std::string errors;     // standard error of the service
    ServiceRun::Ending ending;
    // What the recorder saw the service send, and what the peers heard over the wire: equal, line by line.
    std::string sent;
    std::string heard;
};

// Plays a case's script against a new service; README.md has the verbs. The records that all cases share are
// given as text too. A script that ends with "ends-waiting" leaves the service waiting, and is over
// once there are as many lines as expectedTranscript has; after any other, a last request is refused, whose
// part is not shown in the transcript. From the moment in which a script closes the console, the transcript
// is what the peers hear.
Outcome playScript(const std::string& script, const std::string& sharedRecordText,
                   const std::string& expectedTranscript, RunOptions options);

// The whole of a text file. Throws std::runtime_error when it cannot be read.
std::string readFile(const std::filesystem::path& file);

} // namespace serviceTest
