// What ends the manager early, and the statuses with which it exits.
#pragma once

#include "companions/trouble.h"

namespace manager {

// Exit statuses; --help tells them to the user.
enum class ExitStatus {
    success = 0, // acknowledged, and every document arrived
    refused = 1, // the service refused or answered in a way that cannot be understood, or the stream has no
                 // such program
    usage = companions::wrongUsage, // the command line is wrong
    noAnswer = 3,                   // nothing acknowledged the request in time
    noDocument = 4,                 // acknowledged, but a document did not arrive in time
    noEndpoints = 5,                // the endpoints cannot be used
    interrupted = 128,              // plus the signal's number
};

// Thrown where the manager cannot go on; main prints it and exits with the status.
class ManagerError : public companions::Failure {
  public:
    ManagerError(ExitStatus status, const companions::Trouble& trouble)
        : companions::Failure(static_cast<int>(status), trouble) {}
};

} // namespace manager
