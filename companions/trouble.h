// A failure told as symptom, expectation, finding and meaning.
#pragma once

#include <stdexcept>
#include <string>

namespace companions {

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

// Thrown where a program cannot go on; main prints it and exits with the status. Each program has a kind of
// its own, with its own statuses.
class Failure : public std::runtime_error {
  public:
    Failure(int exitStatus, const Trouble& trouble)
        : std::runtime_error(describe(trouble)), exitStatus_(exitStatus) {}

    int exitStatus() const {
        return exitStatus_;
    }

  private:
    int exitStatus_;
};

// The exit status of a wrong command line, in every program.
inline constexpr int wrongUsage = 2;

} // namespace companions
