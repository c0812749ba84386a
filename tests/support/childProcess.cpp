#include "childProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

#include <linux/close_range.h>

namespace testSupport {
namespace {

struct Pipe {
    int read = -1;
    int write = -1;
};

Pipe makePipe() {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "pipe2");
    }
    fcntl(ends[0], F_SETFL, O_NONBLOCK);
    return {ends[0], ends[1]};
}

std::vector<char*> pointers(const std::vector<std::string>& texts) {
    std::vector<char*> result;
    std::transform(texts.begin(), texts.end(), std::back_inserter(result),
                   [](const std::string& text) { return const_cast<char*>(text.c_str()); });
    result.push_back(nullptr);
    return result;
}

std::vector<std::string> withOwnEnvironment(std::vector<std::string> added) {
    for (char** entry = environ; *entry != nullptr; ++entry) {
        added.emplace_back(*entry);
    }
    return added;
}

} // namespace

ChildProcess::ChildProcess(const std::vector<std::string>& words,
                           const std::vector<std::string>& environment) {
    const Pipe outputPipe = makePipe();
    const Pipe errorPipe = makePipe();
    const std::vector<std::string> wholeEnvironment = withOwnEnvironment(environment);
    const std::vector<char*> arguments = pointers(words);
    const std::vector<char*> variables = pointers(wholeEnvironment);
    pid = fork();
    if (pid == 0) {
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        dup2(outputPipe.write, STDOUT_FILENO);
        dup2(errorPipe.write, STDERR_FILENO);
        close_range(STDERR_FILENO + 1, ~0U, CLOSE_RANGE_CLOEXEC); // whatever our own parent has left open
        execvpe(arguments[0], arguments.data(), variables.data());
        _exit(127);
    }
    close(outputPipe.write);
    close(errorPipe.write);
    output = outputPipe.read;
    error = errorPipe.read;
    if (pid < 0) {
        throw std::system_error(errno, std::generic_category(), "fork");
    }
}

ChildProcess::~ChildProcess() {
    if (pid > 0 && !status) {
        kill(pid, SIGKILL);
        waitpid(pid, nullptr, 0);
    }
    closeOutput();
    closeError();
}

void ChildProcess::closeOutput() {
    if (output >= 0) {
        close(output);
        output = -1;
    }
}

void ChildProcess::closeError() {
    if (error >= 0) {
        close(error);
        error = -1;
    }
}

void ChildProcess::signal(int number) const {
    kill(pid, number);
}

bool ChildProcess::sleeps() const {
    return state() == 'S';
}

bool ChildProcess::isStopped() const {
    return state() == 'T';
}

// As proc(5) has it; ' ' once the child has gone.
char ChildProcess::state() const {
    std::ifstream stat("/proc/" + std::to_string(pid) + "/stat");
    std::string text;
    std::getline(stat, text);
    // The state follows the program's name, which is in parentheses and may hold any character.
    const std::size_t name = text.rfind(')');
    return name != std::string::npos && name + 2 < text.size() ? text[name + 2] : ' ';
}

std::size_t ChildProcess::descriptorCount() const {
    const std::filesystem::directory_iterator entries("/proc/" + std::to_string(pid) + "/fd");
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

std::string ChildProcess::descriptorTarget(int descriptor) const {
    return std::filesystem::read_symlink("/proc/" + std::to_string(pid) + "/fd/" +
                                         std::to_string(descriptor));
}

void ChildProcess::limitDescriptors(std::size_t limit) const {
    rlimit limits{};
    int result = prlimit(pid, RLIMIT_NOFILE, nullptr, &limits);
    limits.rlim_cur = limit;
    result = result == 0 ? prlimit(pid, RLIMIT_NOFILE, &limits, nullptr) : result;
    if (result != 0) {
        throw std::system_error(errno, std::generic_category(), "prlimit");
    }
}

std::optional<int> ChildProcess::waitFor(std::chrono::milliseconds limit) {
    if (status) {
        return status;
    }
    const int handle = static_cast<int>(syscall(SYS_pidfd_open, pid, 0));
    if (handle < 0) {
        throw std::system_error(errno, std::generic_category(), "pidfd_open");
    }
    pollfd ended{handle, POLLIN, 0};
    const int ready = poll(&ended, 1, static_cast<int>(limit.count()));
    close(handle);
    int result = 0;
    if (ready == 1 && waitpid(pid, &result, 0) == pid) {
        status = result;
    }
    return status;
}

std::string describeStatus(int status) {
    if (WIFSIGNALED(status)) {
        const int number = WTERMSIG(status);
        return "signal " + std::to_string(number) + " (" + strsignal(number) + ")";
    }
    return "exit code " + std::to_string(WEXITSTATUS(status));
}

} // namespace testSupport
