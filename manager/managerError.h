// What ends the manager early, and the statuses with which it exits.
#pragma once

#include <stdexcept>
#include <string>

namespace manager {

// Exit statuses; --help tells them to the user.
enum class ExitStatus {
    success = 0,       // acknowledged, and every document arrived
    refused = 1,       // the service refused or answered in a way that cannot be understood, no table form,
                       // or no such program
    usage = 2,         // the command line is wrong
    noAnswer = 3,      // nothing acknowledged the request in time
    noDocument = 4,    // acknowledged, but a document did not arrive in time
    noEndpoints = 5,   // the endpoints cannot be used
    interrupted = 128, // plus the signal's number
};

// Four parts of a message. The meaning says what it means for the user and what to do.
struct Trouble {
    std::string symptom;
    std::string expected;
    std::string got;
    std::string meaning;
};

// The four parts as one console line, without a line end.
inline std::string describe(const Trouble& trouble) {
    return trouble.symptom + ": expected " + trouble.expected + ", got " + trouble.got + "; " +
           trouble.meaning;
}

// Thrown where the manager cannot go on; main prints it and exits with the status.
class ManagerError : public std::runtime_error {
  public:
    ManagerError(ExitStatus exitStatus, const Trouble& trouble)
        : std::runtime_error(describe(trouble)), status(exitStatus) {}

    const ExitStatus status;
};

} // namespace manager
