// Sources from a network that the system refuses or breaks.
#include "source/openSource.h"

#include "../support/isolation.h"
#include "boardError.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <string>

namespace {

class BrokenSource : public testing::Test {
  protected:
    BrokenSource() {
        testSupport::enterIsolation();
    }
};

// UndefinedBehaviorSanitizer opens a pipe to look at an object's type, and calls a type wrong when it cannot.
#if defined(__has_feature)
#if __has_feature(undefined_behavior_sanitizer)
constexpr bool needsDescriptorsItself = true;
#else
constexpr bool needsDescriptorsItself = false;
#endif
#else
constexpr bool needsDescriptorsItself = false;
#endif

// No further descriptor for this process, as long as it lives.
class DescriptorsUsedUp {
  public:
    DescriptorsUsedUp() {
        EXPECT_EQ(::getrlimit(RLIMIT_NOFILE, &before), 0);
        const int lowest = ::dup(STDERR_FILENO);
        ::close(lowest);
        const rlimit none{static_cast<rlim_t>(lowest), before.rlim_max};
        EXPECT_EQ(::setrlimit(RLIMIT_NOFILE, &none), 0);
    }
    DescriptorsUsedUp(const DescriptorsUsedUp&) = delete;
    DescriptorsUsedUp& operator=(const DescriptorsUsedUp&) = delete;
    ~DescriptorsUsedUp() {
        ::setrlimit(RLIMIT_NOFILE, &before);
    }

  private:
    rlimit before{};
};

std::string refusalOf(const std::string& name) {
    try {
        board::openSource(name, {});
        return "opened";
    } catch (const board::BoardError& error) {
        return error.what();
    }
}

std::string problemOfReading(board::PacketSource& source) {
    std::array<std::uint8_t, 10> buffer{};
    try {
        return "read " + std::to_string(source.read(buffer).bytes);
    } catch (const board::BoardError& error) {
        return error.what();
    }
}

// Puts what is no socket into the place of the one that a source receives on.
void breakSocketOf(const board::PacketSource& source) {
    const int other = ::open("/dev/null", O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(::dup2(other, source.descriptor()), source.descriptor());
    ::close(other);
}

TEST_F(BrokenSource, IsRefusedWithoutADescriptorForItsSocket) {
    if (needsDescriptorsItself) {
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    }
    const DescriptorsUsedUp none;
    EXPECT_EQ(
        refusalOf("udp://127.0.0.1:5630"),
        "cannot open udp://127.0.0.1:5630: expected a socket, got Too many open files; check the limits "
        "of this process, and that this machine has such a network");
}

TEST_F(BrokenSource, IsRefusedWithoutDescriptorsForTheWayFromItsReceiver) {
    if (needsDescriptorsItself) {
        GTEST_SKIP() << "the sanitizer needs descriptors of its own";
    }
    const DescriptorsUsedUp none;
    EXPECT_EQ(refusalOf("srt://127.0.0.1:5631?mode=listener"),
              "cannot open srt://127.0.0.1:5631?mode=listener: expected a pair of sockets, got Too many open "
              "files; check the limits of this process");
}

TEST_F(BrokenSource, OfDatagramsSaysSo) {
    const auto source = board::openSource("udp://127.0.0.1:5632", {});
    EXPECT_EQ(problemOfReading(*source), "read 0");
    breakSocketOf(*source);
    EXPECT_EQ(problemOfReading(*source),
              "cannot receive udp://127.0.0.1:5632: expected a transport stream, got Socket operation on "
              "non-socket; check the sender and the network");
}

TEST_F(BrokenSource, OfSrtSaysSo) {
    const auto source = board::openSource("srt://127.0.0.1:5633?mode=listener", {});
    EXPECT_EQ(problemOfReading(*source), "read 0");
    EXPECT_EQ(::shutdown(source->descriptor(), SHUT_RD), 0);
    EXPECT_EQ(problemOfReading(*source),
              "cannot receive srt://127.0.0.1:5633?mode=listener: expected a transport stream, got a broken "
              "listener; check the sender and the network");
    breakSocketOf(*source);
    EXPECT_EQ(problemOfReading(*source),
              "cannot receive srt://127.0.0.1:5633?mode=listener: expected a transport stream, got Socket "
              "operation on non-socket; check the sender and the network");
}

} // namespace
