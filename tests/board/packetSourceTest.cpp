// Files, pipes and standard input as sources of packets.
#include "source/openSource.h"

#include "boardError.h"
#include "boardProcess.h"

#include <array>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace boardProcess;

// A pipe that is this process's standard input, and that of the programs it starts, as long as it lives.
class StandardInput {
  public:
    StandardInput() : original(::dup(STDIN_FILENO)) {
        std::array<int, 2> ends{};
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        ::dup2(ends[0], STDIN_FILENO);
        ::close(ends[0]);
        writer = ends[1];
    }
    StandardInput(const StandardInput&) = delete;
    StandardInput& operator=(const StandardInput&) = delete;
    ~StandardInput() {
        end();
        ::dup2(original, STDIN_FILENO);
        ::close(original);
    }

    void write(const std::string& bytes) const {
        EXPECT_EQ(::write(writer, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void end() {
        if (writer >= 0) {
            ::close(writer);
            writer = -1;
        }
    }
    // The flags that every program sees that shares it.
    static int flags() {
        return ::fcntl(STDIN_FILENO, F_GETFL);
    }

  private:
    int original;
    int writer = -1;
};

// A named pipe that nobody writes to.
class PipeWithoutWriter : public BoardProcess {
  protected:
    PipeWithoutWriter() {
        EXPECT_EQ(::mkfifo(file.c_str(), 0600), 0);
    }
};

TEST_F(PipeWithoutWriter, KeepsNoClientWaiting) {
    start({file});
    Client client;
    EXPECT_EQ(client.instruct(wire::patBit), wire::patBit);
    EXPECT_NE(stop().find("mpegfe-board: stopped after 0 packets: 0 transport errors, 0 gaps, 0 bad "
                          "sections, 0 losses of sync\nexit code 0"),
              std::string::npos)
        << console;
}

TEST_F(PipeWithoutWriter, IsAStreamThatHasNotBegun) {
    const auto source = board::openSource(file, {});
    std::array<std::uint8_t, 10> buffer{};
    const auto read = [&] {
        const auto arrival = source->read(buffer);
        return std::to_string(arrival.bytes) + (arrival.ended ? " and the end" : "");
    };
    EXPECT_EQ(read(), "0");
    std::ofstream(file) << "bytes";
    EXPECT_EQ(read(), "5");
    EXPECT_EQ(read(), "0 and the end");
}

TEST(StandardInputSource, ReadsWhatHasArrivedAndNeverWaits) {
    StandardInput input;
    const auto source = board::openSource("-", {});
    std::array<std::uint8_t, 10> buffer{};
    const auto read = [&] {
        const auto arrival = source->read(buffer);
        return std::to_string(arrival.bytes) + (arrival.ended ? " and the end" : "");
    };
    EXPECT_EQ(read(), "0");
    input.write("twelve bytes");
    EXPECT_EQ(read(), "10");
    EXPECT_EQ(read(), "2");
    EXPECT_EQ(read(), "0");
    input.end();
    EXPECT_EQ(read(), "0 and the end");
}

// A regular file whose first byte belongs to no memory.
TEST(FileSource, SaysWhyItsFileCannotBeRead) {
    const auto source = board::openSource("/proc/self/mem", {});
    std::array<std::uint8_t, 10> buffer{};
    try {
        source->read(buffer);
        ADD_FAILURE() << "nothing can be read there";
    } catch (const board::BoardError& error) {
        EXPECT_STREQ(error.what(),
                     "cannot read /proc/self/mem: expected the bytes of a transport stream, got Input/output "
                     "error; check the disk or the program that writes them");
    }
}

TEST_F(BoardProcess, LeavesStandardInputToOthersAsItWas) {
    StandardInput input;
    const int before = StandardInput::flags();
    std::string packets(std::size_t{300} * 188, '\0'); // less than a pipe holds
    std::ifstream(sample, std::ios::binary)
        .read(packets.data(), static_cast<std::streamsize>(packets.size()));
    start({"--print", "-"});
    input.write(packets);
    input.end();
    EXPECT_NE(output().find("\"pat\""), std::string::npos);
    EXPECT_NE(end().find("exit code 0"), std::string::npos) << console;
    EXPECT_EQ(StandardInput::flags(), before);
}

} // namespace
