// A program under test, started and watched by a test.
#pragma once

#include <chrono>
#include <csignal>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace testSupport {

// A running child with its standard output and standard error on pipes. The child dies with its parent.
class ChildProcess {
  public:
    // Starts words[0], found on the PATH, with the other words as arguments, and with the "NAME=value" texts
    // added to the environment. Throws std::system_error when that fails.
    ChildProcess(const std::vector<std::string>& words, const std::vector<std::string>& environment);
    // Kills the child if it still runs, and reaps it.
    ~ChildProcess();
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // Non-blocking ends of the pipes; -1 once closed.
    int outputDescriptor() const {
        return output;
    }
    int errorDescriptor() const {
        return error;
    }

    pid_t processId() const {
        return pid;
    }

    // As a reader that goes away.
    void closeOutput();
    void closeError();

    void signal(int number) const;

    // Whether the child's first thread waits for something, or has been stopped by a signal.
    bool sleeps() const;
    bool isStopped() const;

    // How many files and sockets the child has open.
    std::size_t descriptorCount() const;

    // What one of them is, as Linux names it: a path, or "pipe:[...]".
    std::string descriptorTarget(int descriptor) const;

    // How many it may have open from now on. Throws std::system_error when that cannot be set.
    void limitDescriptors(std::size_t limit) const;

    // The status as waitpid gives it, or nothing when the child has not ended in time.
    std::optional<int> waitFor(std::chrono::milliseconds limit);

  private:
    char state() const;

    pid_t pid = -1;
    int output = -1;
    int error = -1;
    std::optional<int> status;
};

// What ended a process, in words: "exit code 0", "signal 15 (Terminated)".
std::string describeStatus(int status);

} // namespace testSupport
