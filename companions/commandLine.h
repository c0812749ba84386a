// What the command lines of the programs have in common; CLI11 reads them.
#pragma once

#include <CLI/CLI.hpp>

#include <string>

namespace companions {

// A whole decimal number in this range, digits and nothing else, a minus for a negative one.
CLI::Validator wholeNumber(int least, int most);

// Adds -h, --help and --version to the program that the app is named after, reads its command line, and
// returns true. Prints on standard output what was asked for and returns false when it was help or the
// version. Throws Failure for wrong usage: what the app does not understand, an option without a value behind
// its "=", a flag with one. `expected` says what would have been right.
bool readCommandLine(CLI::App& app, int argumentCount, const char* const* arguments,
                     const std::string& expected);

} // namespace companions
