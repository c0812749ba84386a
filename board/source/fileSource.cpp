#include "source/fileSource.h"

#include "boardError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace board {

namespace {

class DescriptorSource final : public PacketSource {
  public:
    DescriptorSource(int descriptor, std::string name) : descriptor_(descriptor), name_(std::move(name)) {
        struct stat status {};
        regular_ = ::fstat(descriptor_, &status) == 0 && S_ISREG(status.st_mode);
        if (S_ISDIR(status.st_mode)) {
            throw BoardError(
                {"cannot read " + name_, "a transport stream file", "a directory", "name a file in it"});
        }
    }
    DescriptorSource(const DescriptorSource&) = delete;
    DescriptorSource& operator=(const DescriptorSource&) = delete;
    ~DescriptorSource() override {
        if (descriptor_ != STDIN_FILENO) {
            ::close(descriptor_);
        }
    }

    Arrival read(std::span<std::uint8_t> buffer) override {
        if (!regular_ && !somethingArrived()) {
            return {0, false};
        }
        const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
        if (count >= 0) {
            return {static_cast<std::size_t>(count), count == 0};
        }
        if (errno == EINTR || errno == EAGAIN) {
            return {0, false};
        }
        throw BoardError({"cannot read " + name_, "the bytes of a transport stream", std::strerror(errno),
                          "check the disk or the program that writes them"});
    }

    bool rewind() override {
        return regular_ && ::lseek(descriptor_, 0, SEEK_SET) == 0;
    }

    int descriptor() const override {
        return regular_ ? -1 : descriptor_;
    }

    bool live() const override {
        return false;
    }

  private:
    // A pipe that is slow must not keep clients waiting. It is asked before each read: standard input cannot
    // be made non-blocking, because that would hold for every program that shares it, and after our end.
    bool somethingArrived() const {
        pollfd waiting{descriptor_, POLLIN, 0};
        return ::poll(&waiting, 1, 0) > 0;
    }

    int descriptor_;
    std::string name_;
    bool regular_ = false;
};

} // namespace

std::unique_ptr<PacketSource> openFileSource(const std::string& name) {
    if (name == "-") {
        return std::make_unique<DescriptorSource>(STDIN_FILENO, "standard input");
    }
    // A named pipe is not waited for here: until it has a writer it is a stream that has not begun.
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        throw BoardError({"cannot open " + name, "a readable transport stream file", std::strerror(errno),
                          "check the path and its permissions"});
    }
    return std::make_unique<DescriptorSource>(descriptor, name);
}

} // namespace board
