// Which service the tests of processes run: the one that was built with them, or another that the environment
// names, such as one for another machine behind its emulator.
#pragma once

#include <string>
#include <vector>

namespace testSupport {

// Returns the words that start the service: those of MPEGFE_SERVICE in the environment, which blanks
// separate, or the path of the built one.
std::vector<std::string> serviceCommand(const std::string& built);

// Whether the environment names the service, so that it is not the built one that is tested.
bool serviceIsNamed();

// Returns the library that is preloaded into the service to note its calls: MPEGFE_SERVICE_RECORDER of the
// environment, or the built one.
std::string serviceRecorder(const std::string& built);

// Returns what a program said on standard error, without the line that qemu adds when a signal ends it.
std::string withoutEmulatorsWord(const std::string& errors);

} // namespace testSupport
