// The real service, board and media manager, of which some are killed and come back: in every order, and
// whatever they were at. The others are at work again within 2 s.
#include "boardProcess.h"

#include "wire/endpoints.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <map>
#include <poll.h>
#include <regex>
#include <thread>
#include <tuple>
#include <unistd.h>
#include <utility>

namespace {

using namespace boardProcess;
using testSupport::ChildProcess;
using Clock = std::chrono::steady_clock;

// From the return of those that were killed until a request is served. What a program takes to start is part
// of it.
constexpr std::chrono::seconds promptly{2};

// For how long a process's threads have waited for a processor that others had.
Clock::duration waitedForProcessor(const std::string& process) {
    std::chrono::nanoseconds sum{0};
    std::error_code gone;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/" + process + "/task", gone)) {
        std::ifstream file(thread.path() / "schedstat");
        std::int64_t ran = 0;
        std::int64_t waited = 0;
        if (file >> ran >> waited) {
            sum += std::chrono::nanoseconds(waited);
        }
    }
    return sum;
}

// What the service is at when the first of them is killed.
enum class Phase {
    resting,        // with a feed that is open
    waitingForData, // it has acknowledged a request, and the board says nothing
    documentOut,    // it has sent a document, and the manager does not acknowledge it
};

// A program and what it has printed on standard output so far.
class Program {
  public:
    void start(const std::vector<std::string>& words) {
        process_.emplace(words, std::vector<std::string>{});
        printed_.clear();
        waitedBefore_ = {};
    }

    // How long it has waited for a processor since it started, or since the last call.
    Clock::duration waited() {
        if (runs()) {
            const Clock::duration now = waitedForProcessor(std::to_string(process_->processId()));
            waited_ += now - std::exchange(waitedBefore_, now);
        }
        return std::exchange(waited_, {});
    }

    void kill() {
        process_->signal(SIGKILL);
        process_->waitFor(patience);
        process_.reset();
    }

    bool runs() const {
        return process_.has_value();
    }
    void signal(int number) const {
        process_->signal(number);
    }
    void awaitSleep() const {
        while (!process_->sleeps()) {
            std::this_thread::yield();
        }
    }

    // Whether it printed this in time.
    bool awaitText(const std::string& text) {
        while (printed_.find(text) == std::string::npos) {
            if (!read()) {
                return false;
            }
        }
        return true;
    }

    // The same of what it prints from now on, when all that it had printed before has been looked for.
    bool awaitMore(const std::string& text) {
        const std::string before = std::exchange(printed_, {});
        return awaitText(text);
    }

    // All that it prints until it ends by itself, and how it ends.
    std::string end() {
        while (read()) {
        }
        waited_ = waited();
        const auto status = process_->waitFor(patience);
        process_.reset();
        return printed_ + (status ? testSupport::describeStatus(*status) : "still running");
    }

  private:
    bool read() {
        std::array<char, 4096> piece{};
        pollfd item{process_->outputDescriptor(), POLLIN, 0};
        if (::poll(&item, 1, patience.count()) != 1) {
            return false;
        }
        const ssize_t count = ::read(process_->outputDescriptor(), piece.data(), piece.size());
        printed_.append(piece.data(), static_cast<std::size_t>(std::max<ssize_t>(0, count)));
        return count > 0;
    }

    std::optional<ChildProcess> process_;
    std::string printed_;
    Clock::duration waitedBefore_{}; // for a processor, as far as it has been told
    Clock::duration waited_{};       // and what has not been told
};

// Which of them are killed, and come back in the same order: b, s, m.
using Victims = std::string;

class Restart : public BoardProcess, public testing::WithParamInterface<std::tuple<Phase, Victims>> {
  protected:
    void startProgram(char name) {
        switch (name) {
        case 'b':
            boardProgram.start({MPEGFE_BOARD, sampleWithAllTables});
            break;
        case 's':
            service.start({MPEGFE_PROGRAM});
            break;
        default:
            manager.start({MPEGFE_MANAGER, "NIT", "on", "--timeout", "15"});
            break;
        }
    }

    void kill(char name) {
        Program& program = name == 'b' ? boardProgram : name == 's' ? service : manager;
        if (program.runs()) {
            program.kill();
        }
    }

    // A request, and what it brings.
    std::string request() {
        startProgram('m');
        return manager.end();
    }

    // The last document of a manager and how it ended, without the rate, which is never twice the same.
    static std::string outcomeOf(const std::string& printed) {
        static const std::regex rate(R"("pidRate":"[^"]*")");
        const std::size_t begin = printed.rfind(R"({"requestReply")");
        return begin == std::string::npos
                   ? printed
                   : std::regex_replace(printed.substr(begin), rate, "\"pidRate\":\"\"");
    }

    // A service that has had its records is at this, with a manager that has asked for it.
    void bringTo(Phase phase) {
        if (phase == Phase::resting) {
            return;
        }
        ASSERT_TRUE(service.awaitText("Update GUI/WEB MPEG Metadata") ||
                    service.awaitText("Exit MPEG Processing"));
        boardProgram.signal(SIGSTOP);
        startProgram('m');
        ASSERT_TRUE(manager.awaitText("ack"));
        if (phase == Phase::documentOut) {
            manager.signal(SIGSTOP);
            boardProgram.signal(SIGCONT);
            ASSERT_TRUE(service.awaitMore("sendJsonToGUI entered"));
            service.awaitSleep(); // between two looks for the acknowledgement
        }
    }

    // How long this test and the programs have waited for a processor since the last call.
    Clock::duration waitedForOthers() {
        const Clock::duration own = waitedForProcessor("self");
        return own - std::exchange(ownBefore, own) + boardProgram.waited() + service.waited() +
               manager.waited();
    }

    Program boardProgram;
    Program service;
    Program manager;

  private:
    Clock::duration ownBefore{};
};

TEST_P(Restart, LeavesTheOthersAtWork) {
    const auto& [phase, victims] = GetParam();
    startProgram('b');
    startProgram('s');
    const std::string expected = outcomeOf(request());
    ASSERT_NE(expected.find("\"descriptorCount\":\"2\""), std::string::npos) << expected;
    ASSERT_TRUE(expected.ends_with("exit code 0")) << expected;

    bringTo(phase);
    for (const char name : victims) {
        kill(name);
    }
    for (Program* program : {&boardProgram, &manager}) {
        if (program->runs()) {
            program->signal(SIGCONT);
        }
    }
    waitedForOthers();
    for (const char name : victims) {
        startProgram(name);
    }
    const Clock::time_point back = Clock::now();
    const bool mayHaveLostItsRequest = phase != Phase::resting && victims.find('s') != std::string::npos &&
                                       victims.find('m') == std::string::npos;
    if (mayHaveLostItsRequest) {
        manager.kill();
    }
    EXPECT_EQ(outcomeOf(manager.runs() ? manager.end() : request()), expected);
    const Clock::duration took = Clock::now() - back;
    const Clock::duration waited = waitedForOthers();
    RecordProperty("milliseconds",
                   std::to_string(std::chrono::round<std::chrono::milliseconds>(took).count()));
    // The service waits for a document's acknowledgement, 5 s, also when the document went with the manager.
    const bool isAwaited = phase == Phase::documentOut && victims.find('m') != std::string::npos &&
                           victims.find('s') == std::string::npos;
    EXPECT_LT(took - waited, promptly + std::chrono::seconds(isAwaited ? 5 : 0))
        << "of which others had the processors for " << std::chrono::duration<double>(waited).count() << " s";
    EXPECT_EQ(outcomeOf(request()), expected);
}

std::string nameOf(const testing::TestParamInfo<Restart::ParamType>& restart) {
    static const std::map<Phase, std::string> phases{{Phase::resting, "Resting_"},
                                                     {Phase::waitingForData, "WaitingForData_"},
                                                     {Phase::documentOut, "DocumentOut_"}};
    return phases.at(std::get<0>(restart.param)) + std::get<1>(restart.param);
}

INSTANTIATE_TEST_SUITE_P(, Restart,
                         testing::Combine(testing::Values(Phase::resting, Phase::waitingForData,
                                                          Phase::documentOut),
                                          testing::Values("b", "s", "m", "bs", "sb", "bm", "mb", "sm", "ms",
                                                          "bsm", "bms", "sbm", "smb", "mbs", "msb")),
                         nameOf);

} // namespace
