// Lines for a console that somebody floods, or that nobody reads.
#include "companions/console.h"
#include "companions/lineLimit.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <string>
#include <sys/socket.h>
#include <unistd.h>

namespace {

using namespace std::chrono_literals;
using companions::Console;
using companions::LineLimit;
using testing::Test;

constexpr LineLimit::Instant start{1000s};

TEST(LineLimit, ShowsTheFirstLinesOfAKindInAPeriod) {
    LineLimit limit;
    for (std::size_t k = 0; k < LineLimit::linesAPeriod; ++k) {
        EXPECT_TRUE(limit.admits("a new stream begins", start)) << k;
    }
    EXPECT_FALSE(limit.admits("a new stream begins", start + LineLimit::period / 2));
    EXPECT_FALSE(limit.admits("a new stream begins", start + LineLimit::period / 2));
    EXPECT_TRUE(limit.over(start + LineLimit::period - 1ms).empty());
    EXPECT_EQ(limit.over(start + LineLimit::period),
              std::vector<std::string>{"a new stream ... 2 more lines of this kind"});
    EXPECT_TRUE(limit.over(start + LineLimit::period).empty());
    EXPECT_TRUE(limit.admits("a new stream begins", start + LineLimit::period));
}

TEST(LineLimit, TellsOfOneLine) {
    LineLimit limit;
    for (std::size_t k = 0; k <= LineLimit::linesAPeriod; ++k) {
        limit.admits("no packets for 2000 ms", start);
    }
    EXPECT_EQ(limit.all(), std::vector<std::string>{"no packets for ... 1 more line of this kind"});
}

TEST(LineLimit, KnowsAKindByItsFirstPlainWords) {
    LineLimit limit;
    for (std::size_t k = 0; k < LineLimit::linesAPeriod; ++k) {
        limit.admits("publishing TOPIC-" + std::to_string(k), start);
        limit.admits("too many " + std::to_string(k) + " PIDs", start);
        limit.admits("ended: " + std::to_string(k), start);
        limit.admits("\x1b" + std::to_string(k), start);
        limit.admits("", start);
    }
    for (const char* line : {"publishing", "publishing nothing at all", "publishing TOPIC", "too many",
                             "ended: x", "\x1b", "", "7"}) {
        const bool another = std::string(line) == "publishing nothing at all";
        EXPECT_EQ(limit.admits(line, start), another) << line;
    }
}

// A console whose reader can be slow, or gone.
class ConsoleOnAPipe : public Test {
  protected:
    ConsoleOnAPipe() {
        EXPECT_EQ(::pipe2(ends_.data(), O_CLOEXEC), 0);
        ::fcntl(ends_[0], F_SETFL, O_NONBLOCK);
        companions::outliveReaders();
    }
    ~ConsoleOnAPipe() override {
        closeReader();
        ::close(ends_[1]);
    }

    void closeReader() {
        if (ends_[0] >= 0) {
            ::close(ends_[0]);
            ends_[0] = -1;
        }
    }

    int writer() const {
        return ends_[1];
    }

    std::string read() const {
        std::string text;
        std::array<char, 4096> piece{};
        for (ssize_t count = 0; (count = ::read(ends_[0], piece.data(), piece.size())) > 0;) {
            text.append(piece.data(), static_cast<std::size_t>(count));
        }
        return text;
    }

  private:
    std::array<int, 2> ends_{};
};

TEST_F(ConsoleOnAPipe, PrintsALine) {
    Console("program", writer()).say("a line");
    EXPECT_EQ(read(), "program: a line\n");
}

TEST_F(ConsoleOnAPipe, PrintsALongLineWhole) {
    const std::string line(10'000, 'x');
    Console("program", writer()).say(line);
    EXPECT_EQ(read(), "program: " + line + "\n");
}

TEST_F(ConsoleOnAPipe, TellsAtItsEndHowManyLinesWereTooMany) {
    Console console("program", writer());
    for (std::size_t k = 0; k < LineLimit::linesAPeriod + 3; ++k) {
        console.say("again");
    }
    read();
    console.finish();
    EXPECT_EQ(read(), "program: again ... 3 more lines of this kind\n");
}

TEST_F(ConsoleOnAPipe, LosesLinesThatNobodyReadsAndTellsHowMany) {
    Console console("program", writer());
    ASSERT_EQ(::fcntl(writer(), F_SETPIPE_SZ, 8192), 8192);
    console.say(std::string(8192 - std::string("program: \n").size(), 'x'));
    console.say(std::string(200, 'y'));
    console.say(std::string(200, 'z'));
    read();
    console.say("read again");
    EXPECT_EQ(read(), "program: 2 lines lost: nobody read the console\nprogram: read again\n");
    EXPECT_EQ(::fcntl(writer(), F_GETFL) & O_NONBLOCK, 0) << "others may write to it too";
}

TEST_F(ConsoleOnAPipe, OutlivesItsReader) {
    Console console("program", writer());
    closeReader();
    console.say("a line");
    console.say("another line");
}

TEST(ConsoleOnASocket, LosesLinesThatNobodyReads) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    Console console("program", ends[1]);
    for (int k = 0; k < 1000; ++k) {
        console.say(std::to_string(k) + std::string(10'000, 'x'));
        console.finish();
    }
    ::close(ends[0]);
    console.say("a line");
    ::close(ends[1]);
}

} // namespace
