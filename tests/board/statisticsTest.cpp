// What the real board tells of errors: documents, the line at the end, the exit status, and how far it is.
#include "boardProcess.h"

#include "progress.h"
#include "streamWriter.h"

#include "companions/json.h"

#include <fcntl.h>
#include <poll.h>
#include <pty.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace {

using namespace boardProcess;
using companions::Json;
using streamWriter::Bytes;

Json parsedJson(const std::string& text) {
    return Json(json_loads(text.c_str(), 0, nullptr));
}

std::string contentOf(const std::string& name) {
    std::ifstream stream(name, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::vector<std::string> linesOf(const std::string& text) {
    std::istringstream stream(text);
    std::vector<std::string> lines;
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

json_int_t numberOf(const Json& document, const char* key) {
    return json_integer_value(json_object_get(document.get(), key));
}

// The count of an indicator in a document; -1 where it has none.
json_int_t countOf(const Json& document, const std::string& name, const char* key = "count") {
    std::size_t index = 0;
    json_t* one = nullptr;
    json_array_foreach(json_object_get(document.get(), "indicators"), index, one) {
        if (companions::textOf(one, "name") == name) {
            const json_t* const count = json_object_get(one, key);
            return count == nullptr ? -1 : json_integer_value(count);
        }
    }
    return -1;
}

class Statistics : public BoardProcess {
  protected:
    Statistics() : document(file + ".json") {}
    ~Statistics() override {
        std::filesystem::remove(document);
    }

    // The sample, altered, as the file.
    template <class Alter>
    void writeSample(Alter alter) const {
        std::string bytes = contentOf(sample);
        alter(bytes);
        std::ofstream(file, std::ios::binary) << bytes;
    }

    // A file of two packets that stand where the same PID's counter leaves no gap but one.
    void writeSampleWithGap() const {
        writeSample([](std::string& bytes) { bytes.erase(firstOf(bytes, 273, 9000), 188); });
    }

    // Where a packet of this PID stands, from this packet on.
    static std::size_t firstOf(const std::string& bytes, unsigned pid, std::size_t packet) {
        for (std::size_t at = packet * 188; at < bytes.size(); at += 188) {
            const unsigned found = (static_cast<unsigned char>(bytes[at + 1]) & 0x1FU) << 8U |
                                   static_cast<unsigned char>(bytes[at + 2]);
            const bool hasPayload = (static_cast<unsigned char>(bytes[at + 3]) & 0x10U) != 0;
            if (found == pid && hasPayload) {
                return at;
            }
        }
        return 0;
    }

    std::string document;
};

TEST_F(Statistics, StandInAFileThatHoldsTheNewestDocument) {
    const std::string said = outcome({"--fast", "--once", "--statistics", document, sample});
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
    const std::string text = contentOf(document);
    EXPECT_EQ(linesOf(text).size(), 1U);
    const Json last = parsedJson(text);
    ASSERT_TRUE(last) << text;
    EXPECT_EQ(numberOf(last, "packets"), 17624);
    EXPECT_EQ(countOf(last, "Continuity_count_error"), 0);
    EXPECT_EQ(json_array_size(json_object_get(last.get(), "indicators")), 13U);
    EXPECT_EQ(json_array_size(json_object_get(last.get(), "pids")), 14U);
    EXPECT_FALSE(std::filesystem::exists(document + ".new"));
}

TEST_F(Statistics, TakeThePlaceOfAFileAndNotOfTheLinkToIt) {
    std::filesystem::create_symlink(document, file);
    std::ofstream(document) << "an old one";
    EXPECT_NE(outcome({"--fast", "--once", "--statistics", file, sample}).find("exit code 0"),
              std::string::npos);
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    EXPECT_TRUE(parsedJson(contentOf(document)));
}

TEST_F(Statistics, GoToStandardOutputOneALineForEachPeriod) {
    writeSampleWithGap();
    start({"--fast", "--once", "--statistics", "-", "--rate-period", "2000", file});
    const std::vector<std::string> lines = linesOf(output());
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
    ASSERT_GE(lines.size(), 3U);
    double before = 0;
    json_int_t gaps = 0;
    for (const std::string& line : lines) {
        const Json one = parsedJson(line);
        ASSERT_TRUE(one) << line;
        const double time = json_real_value(json_object_get(one.get(), "streamSeconds"));
        EXPECT_TRUE(&line == &lines.back() ? time >= before : time >= before + 2)
            << time << " behind " << before;
        before = time;
        gaps += countOf(one, "Continuity_count_error", "countOfPeriod");
        EXPECT_EQ(countOf(one, "Continuity_count_error"), gaps);
    }
    EXPECT_EQ(gaps, 1);
}

TEST_F(Statistics, OfTheWholeStreamAreOneDocument) {
    start({"--fast", "--once", "--statistics", "-", "--rate-period", "0", sample});
    EXPECT_EQ(linesOf(output()).size(), 1U);
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
}

// However often it is looked at.
TEST_F(Statistics, AreNeverSeenInPart) {
    start({"--fast", "--statistics", document, "--rate-period", "1", sample});
    ASSERT_TRUE(awaitConsole("playing "));
    while (!std::filesystem::exists(document)) {
        ASSERT_FALSE(board->waitFor(std::chrono::milliseconds(1)));
    }
    for (int k = 0; k < 3000; ++k) {
        const std::string text = contentOf(document);
        ASSERT_TRUE(parsedJson(text)) << text;
    }
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(Statistics, ThatFindNoRoomAreSaidOnceAndDoNotStopTheBoard) {
    const std::string said =
        outcome({"--fast", "--once", "--statistics", "/dev/full", "--rate-period", "100", sample});
    const std::string line =
        "mpegfe-board: cannot write statistics to /dev/full: expected room for a document, "
        "and a reader, got No space left on device; the board goes on without\n";
    EXPECT_EQ(said.find(line), said.rfind(line)) << said;
    EXPECT_NE(said.find(line), std::string::npos) << said;
    EXPECT_NE(said.find("stopped after 17624 packets"), std::string::npos) << said;
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(Statistics, ThatFindNoDirectoryAreSaidOnceAndDoNotStopTheBoard) {
    const std::string said = outcome(
        {"--fast", "--once", "--statistics", "/nowhere/statistics.json", "--rate-period", "100", sample});
    const std::string line =
        "mpegfe-board: cannot write statistics to /nowhere/statistics.json: expected room for a document, "
        "and a "
        "reader, got No such file or directory; the board goes on, and tries again with each document\n";
    EXPECT_EQ(said.find(line), said.rfind(line)) << said;
    EXPECT_NE(said.find(line), std::string::npos) << said;
    EXPECT_NE(said.find("exit code 0"), std::string::npos) << said;
}

TEST_F(Statistics, GoOnBeingMadeWhenTheirReaderHasGone) {
    start({"--fast", "--statistics", "-", sample});
    board->closeOutput();
    ASSERT_TRUE(
        awaitConsole("cannot write statistics to standard output: expected room for a document, and a "
                     "reader, got Broken pipe; the board goes on without\n"))
        << console;
    ASSERT_TRUE(awaitConsole("playing ")) << console;
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit);
    EXPECT_NE(stop().find("exit code 0"), std::string::npos);
}

TEST_F(Statistics, LeaveOutWholeDocumentsForASlowReader) {
    start({"--statistics", "-", "--rate-period", "1", sample}); // in real time, which waits for nobody
    ASSERT_TRUE(
        awaitConsole("cannot write statistics to standard output: expected a reader that keeps up, got a "
                     "full pipe; documents are left out until it reads on\n"))
        << console;
    EXPECT_EQ(Client().instruct(wire::patBit), wire::patBit);
    board->signal(SIGTERM);
    const std::string text = output();
    EXPECT_NE(end().find("exit code 0"), std::string::npos);
    ASSERT_FALSE(text.empty());
    EXPECT_EQ(text.back(), '\n');
    for (const std::string& line : linesOf(text)) {
        EXPECT_TRUE(parsedJson(line)) << line;
    }
}

TEST_F(Statistics, StandInTheLineAtTheEndWhereSomethingIsWrong) {
    writeSampleWithGap();
    EXPECT_NE(
        outcome({"--fast", "--once", file})
            .find("mpegfe-board: stopped after 17623 packets: 0 transport errors, 1 gaps, 0 bad sections, "
                  "0 losses of sync; Continuity_count_error 1; PIDs with errors: 273\nexit code 0"),
        std::string::npos)
        << console;
    EXPECT_NE(
        outcome({"--fast", "--once", sample})
            .find("mpegfe-board: stopped after 17624 packets: 0 transport errors, 0 gaps, 0 bad sections, "
                  "0 losses of sync\nexit code 0"),
        std::string::npos)
        << console;
}

TEST_F(Statistics, DecideTheExitStatusWhereTheyAreAskedTo) {
    const auto status = [&](std::vector<std::string> words) {
        words.insert(words.begin(), {"--fast", "--once"});
        const std::string said = outcome(words);
        return said.substr(said.rfind("exit"));
    };
    EXPECT_EQ(status({"--fail-on", "errors", sample}), "exit code 0");
    EXPECT_EQ(status({"--fail-on", "priority-1", sample}), "exit code 0");
    writeSampleWithGap();
    EXPECT_EQ(status({file}), "exit code 0");
    EXPECT_EQ(status({"--fail-on", "errors", file}), "exit code 3");
    EXPECT_EQ(status({"--fail-on", "priority-1", file}), "exit code 3");
    writeSample([](std::string& bytes) { bytes[firstOf(bytes, 8191, 9000) + 1] = '\x9F'; }); // a null packet
    EXPECT_EQ(status({"--fail-on", "errors", file}), "exit code 3");
    EXPECT_EQ(status({"--fail-on", "priority-1", file}), "exit code 0") << "a transport error has the second";
}

TEST_F(Statistics, DecideTheExitStatusOfPrinting) {
    writeSampleWithGap();
    start({"--print", "--fail-on", "errors", file});
    const Json printed = parsedJson(output());
    EXPECT_EQ(end(), "exit code 3");
    EXPECT_EQ(countOf(printed, "Continuity_count_error"), 1);
    EXPECT_EQ(outcome({"--print", "--fail-on", "errors", sample}), "exit code 0");
}

TEST_F(Statistics, TellOfSyncThatIsLost) {
    writeSample([](std::string& bytes) {
        bytes[firstOf(bytes, 8191, 9000)] = 'x';
        const std::size_t at = firstOf(bytes, 8191, 12'000);
        bytes[at] = bytes[at + 188] = 'x';
    });
    start({"--print", file});
    const Json printed = parsedJson(output());
    EXPECT_EQ(countOf(printed, "Sync_byte_error"), 3);
    EXPECT_EQ(countOf(printed, "TS_sync_loss"), 1);
    end();
}

// The board with its console on a terminal.
class OnATerminal : public BoardProcess {
  protected:
    ~OnATerminal() override {
        if (child > 0) {
            ::kill(child, SIGKILL);
            ::waitpid(child, nullptr, 0);
        }
        ::close(terminal);
    }

    void startThere(std::vector<std::string> words, unsigned short columns) {
        words.insert(words.begin(), MPEGFE_BOARD);
        std::vector<char*> arguments;
        for (std::string& word : words) {
            arguments.push_back(word.data());
        }
        arguments.push_back(nullptr);
        const winsize size{24, columns, 0, 0};
        child = ::forkpty(&terminal, nullptr, nullptr, &size);
        ASSERT_GE(child, 0);
        if (child == 0) {
            ::prctl(PR_SET_PDEATHSIG, SIGKILL);
            ::dup2(::open("/dev/null", O_WRONLY), STDOUT_FILENO);
            ::execv(arguments[0], arguments.data());
            ::_exit(127);
        }
    }

    // Reads what is shown. Returns whether there was any in time, and not the end.
    bool readShown() {
        pollfd waiting{terminal, POLLIN, 0};
        std::array<char, 4096> piece{};
        if (::poll(&waiting, 1, patience.count()) <= 0) {
            return false;
        }
        const ssize_t count = ::read(terminal, piece.data(), piece.size());
        shown.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return count > 0;
    }

    bool awaitShown(const std::string& text) {
        while (shown.find(text) == std::string::npos) {
            if (!readShown()) {
                return false;
            }
        }
        return true;
    }

    // A sample with a hole behind it that takes minutes to read, and no room on the disk.
    void writeLongFile() const {
        std::filesystem::copy_file(sample, file);
        std::filesystem::resize_file(file, std::uintmax_t{200'000'000'000});
    }

    pid_t child = -1;
    int terminal = -1;
    std::string shown;
};

TEST_F(OnATerminal, ShowsHowFarItIsAndTakesItAwayAtTheEnd) {
    writeLongFile();
    startThere({"--fast", "--once", file}, 80);
    ASSERT_TRUE(awaitShown(" left\x1B[K")) << shown;
    ::kill(child, SIGTERM);
    while (readShown()) {
    }
    EXPECT_NE(shown.find("%  "), std::string::npos) << shown;
    EXPECT_NE(shown.find(" Mbit/s  "), std::string::npos) << shown;
    EXPECT_NE(shown.find("\r\x1B[Kmpegfe-board: stopped after 17624 packets"), std::string::npos) << shown;
    EXPECT_EQ(shown.substr(shown.size() - 2), "\r\n") << shown;
}

TEST_F(OnATerminal, FitsWhatItShowsIntoATerminalThatBecomesNarrow) {
    writeLongFile();
    startThere({"--print", file}, 80);
    ASSERT_TRUE(awaitShown(" left\x1B[K")) << shown;
    const winsize narrow{24, 10, 0, 0};
    ASSERT_EQ(::ioctl(terminal, TIOCSWINSZ, &narrow), 0);
    shown.clear();
    const auto fits = [](const std::string& text) { // of all lines that are whole
        std::size_t count = 0;
        for (std::size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at + 1)) {
            const std::size_t length = text.find("\x1B[K", at);
            count += length != std::string::npos && length - at - 1 == 9 ? 1 : 0;
        }
        return count;
    };
    while (fits(shown) < 2) {
        ASSERT_TRUE(readShown()) << shown;
    }
    ::kill(child, SIGTERM);
    while (readShown()) {
    }
    EXPECT_EQ(shown.substr(shown.rfind('\r')), "\r\x1B[K");
}

TEST_F(OnATerminal, ShowsNothingOfAShortFileOrOneThatIsPlayedInRealTime) {
    startThere({sample}, 80);
    ASSERT_TRUE(awaitShown("playing "));
    ::kill(child, SIGTERM);
    while (readShown()) {
    }
    EXPECT_EQ(shown.find('%'), std::string::npos) << shown;
    EXPECT_EQ(shown.find('\x1B'), std::string::npos) << shown;
}

TEST_F(BoardProcess, ShowsNoProgressInAPipe) {
    std::filesystem::copy_file(sample, file);
    std::filesystem::resize_file(file, 30'000'000); // a hole takes longer to search than packets to read
    EXPECT_EQ(outcome({"--print", file}), "exit code 0");
}

TEST(ProgressLine, TellsPercentSpeedAndTimeThatIsLeft) {
    using std::chrono::seconds;
    EXPECT_EQ(board::progressLine(250'000'000, 1'000'000'000, seconds(2), 80),
              " 25%  1000 Mbit/s  0:00:06 left");
    EXPECT_EQ(board::progressLine(1, 4'000'000'000'000'000'000, seconds(1), 80),
              "  0%  0 Mbit/s  99:59:59 left");
    EXPECT_EQ(board::progressLine(0, 100, seconds(0), 80), "  0%  0 Mbit/s  99:59:59 left");
    EXPECT_EQ(board::progressLine(200, 100, seconds(1), 80), "100%  0 Mbit/s  0:00:00 left")
        << "it has grown";
    EXPECT_EQ(board::progressLine(0, 0, seconds(1), 80), "100%  0 Mbit/s  99:59:59 left");
    EXPECT_EQ(board::progressLine(250'000'000, 1'000'000'000, seconds(2), 9), " 25%  100");
}

} // namespace
