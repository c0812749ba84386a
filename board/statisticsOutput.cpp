#include "statisticsOutput.h"

#include "boardError.h"
#include "tunables.h"

#include "companions/stopSignals.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace board {

namespace {

constexpr int readersPoll = 10; // ms, between looks at everything else

// The file that a name leads to over links, so that a document takes its place and not a link's.
std::string withoutLinks(const std::string& name) {
    struct Free {
        void operator()(char* path) const {
            std::free(path);
        }
    };
    const std::unique_ptr<char, Free> path(::realpath(name.c_str(), nullptr));
    return path ? path.get() : name;
}

bool isFileOrMissing(const std::string& name) {
    struct stat status {};
    return ::stat(name.c_str(), &status) != 0 || S_ISREG(status.st_mode);
}

// Writes all of it into a new file of its own. Returns 0, or why not.
int writeNewFile(const std::string& name, std::string_view text) {
    constexpr int forEverybodyToRead = 0644;
    ::unlink(name.c_str()); // of a board that was killed
    const int descriptor =
        ::open(name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, forEverybodyToRead);
    if (descriptor < 0) {
        return errno;
    }
    int problem = 0;
    while (!text.empty() && problem == 0) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count > 0) {
            text.remove_prefix(static_cast<std::size_t>(count));
        } else if (count == 0 || errno != EINTR) {
            problem = count == 0 ? ENOSPC : errno;
        }
    }
    const int closing = ::close(descriptor) == 0 ? 0 : errno;
    return problem != 0 ? problem : closing;
}

} // namespace

StatisticsOutput::StatisticsOutput(std::string name, SlowReader slowReader, Meanwhile meanwhile)
    : name_(std::move(name)), slowReader_(slowReader), meanwhile_(std::move(meanwhile)) {
    if (name_ == "-") {
        name_ = "standard output";
        descriptor_ = STDOUT_FILENO;
    } else if (isFileOrMissing(name_)) {
        name_ = withoutLinks(name_);
    } else {
        descriptor_ = ::open(name_.c_str(), O_WRONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
        if (descriptor_ < 0) {
            throw BoardError({"cannot open " + name_ + " for statistics", "a file, or a pipe with a reader",
                              std::strerror(errno), "check the name, and that somebody reads the pipe"});
        }
    }
}

StatisticsOutput::~StatisticsOutput() {
    if (descriptor_ > STDOUT_FILENO) {
        ::close(descriptor_);
    }
}

void StatisticsOutput::write(std::string_view document) {
    if (closed_) {
        return;
    }
    if (replacesFile()) {
        replace(document);
        return;
    }
    goOn();
    if (rest_.empty()) {
        rest_ = document;
        goOn();
    } else if (!std::exchange(missedTold_, true)) {
        say(describe({"cannot write statistics to " + name_, "a reader that keeps up", "a full pipe",
                      "documents are left out until it reads on"}));
    }
}

void StatisticsOutput::goOn() {
    writeRest(0);
    if (slowReader_ == SlowReader::isWaitedFor) {
        waitForReader();
    }
}

void StatisticsOutput::waitForReader() {
    while (!rest_.empty() && !closed_ && !companions::stopRequested()) {
        meanwhile_();
        writeRest(readersPoll);
    }
}

void StatisticsOutput::finish() {
    writeRest(static_cast<int>(tunables::closePatience.count()));
}

void StatisticsOutput::replace(std::string_view document) {
    const std::string fresh = name_ + ".new";
    int problem = writeNewFile(fresh, document);
    if (problem == 0 && ::rename(fresh.c_str(), name_.c_str()) != 0) {
        problem = errno;
    }
    if (problem != 0) {
        ::unlink(fresh.c_str());
        complain(problem);
    } else {
        told_ = false;
    }
}

// In pieces that a pipe takes whole as soon as it takes anything, so that the board never waits in the middle
// of one.
void StatisticsOutput::writeRest(int patience) {
    while (!rest_.empty() && !closed_ && writable(patience)) {
        const std::size_t size = std::min<std::size_t>(rest_.size(), PIPE_BUF);
        const ssize_t count = ::write(descriptor_, rest_.data(), size);
        if (count > 0) {
            rest_.erase(0, static_cast<std::size_t>(count));
            continue;
        }
        const int problem = count == 0 ? ENOSPC : errno;
        if (problem == EINTR || problem == EAGAIN) {
            continue;
        }
        complain(problem);
        closed_ = true; // whatever came next would follow half a document
    }
}

bool StatisticsOutput::writable(int patience) const {
    pollfd waiting{descriptor_, POLLOUT, 0};
    int ready = 0;
    do {
        ready = ::poll(&waiting, 1, patience);
    } while (ready < 0 && errno == EINTR);
    return ready > 0; // or broken, which writing tells
}

void StatisticsOutput::complain(int error) {
    if (!std::exchange(told_, true)) {
        say(describe({"cannot write statistics to " + name_, "room for a document, and a reader",
                      std::strerror(error),
                      replacesFile() ? "the board goes on, and tries again with each document"
                                     : "the board goes on without"}));
    }
}

} // namespace board
