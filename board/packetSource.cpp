#include "packetSource.h"

#include "boardError.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace board {

namespace {

class DescriptorSource final : public PacketSource {
  public:
    DescriptorSource(int descriptor, std::string name, bool seekable)
        : descriptor_(descriptor), name_(std::move(name)), seekable_(seekable) {}
    DescriptorSource(const DescriptorSource&) = delete;
    DescriptorSource& operator=(const DescriptorSource&) = delete;
    ~DescriptorSource() override {
        if (descriptor_ != STDIN_FILENO) {
            ::close(descriptor_);
        }
    }

    std::size_t read(std::span<std::uint8_t> buffer) override {
        const ssize_t count = ::read(descriptor_, buffer.data(), buffer.size());
        if (count < 0 && errno != EINTR) {
            throw BoardError({"cannot read " + name_, "the bytes of a transport stream", std::strerror(errno),
                              "check the disk or the program that writes them"});
        }
        return count < 0 ? 0 : static_cast<std::size_t>(count);
    }

    bool rewind() override {
        return seekable_ && ::lseek(descriptor_, 0, SEEK_SET) == 0;
    }

  private:
    int descriptor_;
    std::string name_;
    bool seekable_;
};

} // namespace

std::unique_ptr<PacketSource> openSource(const std::string& name) {
    if (name == "-") {
        return std::make_unique<DescriptorSource>(STDIN_FILENO, "standard input", false);
    }
    const int descriptor = ::open(name.c_str(), O_RDONLY | O_CLOEXEC);
    if (descriptor < 0) {
        throw BoardError({"cannot open " + name, "a readable transport stream file", std::strerror(errno),
                          "check the path and its permissions"});
    }
    auto source = std::make_unique<DescriptorSource>(descriptor, name, true);
    struct stat status {};
    if (::fstat(descriptor, &status) == 0 && S_ISDIR(status.st_mode)) {
        throw BoardError(
            {"cannot read " + name, "a transport stream file", "a directory", "name a file in it"});
    }
    return source;
}

} // namespace board
