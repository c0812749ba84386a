// The command line of mpegfe-manager.
#pragma once

#include "exchange/request.h"
#include "tunables.h"

#include <chrono>
#include <optional>
#include <string>

namespace manager {

// How documents are printed.
enum class Output { asTheyCome, tables, json };

struct Options {
    Request request;            // of a program known by its number, still without index
    std::optional<int> program; // that number, whose index the PAT tells
    Output output = Output::asTheyCome;
    int documents = 0;                                // answers to wait for
    std::chrono::seconds timeout = tunables::timeout; // for each message
    // How often the request is repeated; nothing when it is made once.
    std::optional<std::chrono::seconds> watchPeriod;
    std::optional<std::string> webAddress; // where to serve the page, instead of all that
};

// Reads the command line. Nothing when it was --help or --version, which are then printed on standard output.
// Throws ManagerError (usage) for what it does not understand.
std::optional<Options> parseCommandLine(int argumentCount, const char* const* arguments);

} // namespace manager
