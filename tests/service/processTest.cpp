// The process itself, rather than what it says: unrecorded, under a memory checker, with more requests than
// it can take and with consoles that nobody reads.
#include "../support/acknowledgement.h"
#include "../support/isolation.h"
#include "../support/testedService.h"
#include "cases.h"

#include <algorithm>
#include <filesystem>
#include <gtest/gtest.h>
#include <string>

namespace serviceTest {
namespace {

namespace fs = std::filesystem;

// A name of such a length that the lines of 400 requests are more than a pipe holds.
std::string unknownStream(std::size_t number) {
    return std::string(300, '-') + std::to_string(number);
}

std::string refusedRequest(std::size_t number) {
    return R"({"dataStream":")" + unknownStream(number) + R"("})";
}

std::string refusals(std::size_t count) {
    std::string lines;
    for (std::size_t number = 0; number < count; ++number) {
        lines +=
            "Illegal Client MPEG Request: " + unknownStream(number) + "\nClient Request not recognized\n";
    }
    return lines;
}

class Process : public testing::Test {
  protected:
    static void SetUpTestSuite() {
        testSupport::enterIsolation();
    }

    static RunOptions unrecorded(std::vector<std::string> launcher = {}) {
        RunOptions options;
        options.recorded = false;
        options.launcher = std::move(launcher);
        return options;
    }

    // Starts the service with Trufios, and waits until it has said so.
    static void start(ServiceRun& run) {
        run.startTrufios();
        run.startService();
        const std::string startUp = consoleLines(expectedTranscript("start-up"));
        run.waitUntil("the console's first lines", [&] { return run.console() == startUp; });
    }

    // A REP socket drops acknowledgements for which its queue has no room: it holds 1000, of which 500 may
    // have been sent already without its knowing.
    static constexpr std::size_t mostUnanswered = 400;

    // Sends requests as fast as there is room for them, and goes on with whatever else happens.
    static void flood(ServiceRun& run, std::size_t count) {
        std::size_t sent = 0;
        const auto hasRoom = [&] {
            return sent < count && sent - run.trufios().acknowledgements.size() < mostUnanswered;
        };
        run.watchUntil("room for all requests", [&] {
            while (hasRoom() && run.trufios().trySendRequest(refusedRequest(sent))) {
                ++sent;
            }
            return sent == count;
        });
    }

    static void awaitAnswers(ServiceRun& run, std::size_t count) {
        run.waitUntil("all acknowledgements", [&] { return run.trufios().acknowledgements.size() == count; });
        const std::string console = consoleLines(expectedTranscript("start-up")) + refusals(count);
        run.waitUntil("all refusals", [&] { return run.console().size() >= console.size(); });
        EXPECT_EQ(std::count(run.trufios().acknowledgements.begin(), run.trufios().acknowledgements.end(),
                             testSupport::ack),
                  static_cast<std::ptrdiff_t>(count));
        EXPECT_EQ(run.console(), console);
    }

    static void fillConsole(ServiceRun& run) {
        run.leaveConsoleUnread(true);
        flood(run, mostUnanswered);
        run.watchUntil("a full console", [&] { return run.consoleIsFull(); });
    }
};

// Nothing is preloaded: the recorder neither makes the console live nor ends the process.
TEST_F(Process, printsTheSameWithoutARecorder) {
    const Outcome outcome = playCase("every-request", unrecorded());
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, consoleLines(expectedTranscript("every-request")));
    EXPECT_EQ(outcome.errors, "");
    EXPECT_EQ(outcome.ending.actual, "signal 15 (Terminated)");
}

// Every request, once: no byte is used before it is set, none outside its buffer, and none is lost.
TEST_F(Process, isCleanUnderMemcheck) {
    if (MPEGFE_SANITIZED) {
        GTEST_SKIP() << "the sanitizers of this build see to it";
    }
    if (std::string(MPEGFE_VALGRIND).empty()) {
        GTEST_SKIP() << "valgrind was not found when the build was configured";
    }
    if (testSupport::serviceIsNamed()) {
        GTEST_SKIP() << "the service is an emulator's: memcheck would check the emulator";
    }
    const fs::path log = fs::absolute("memcheck.log");
    RunOptions options;
    options.launcher = {MPEGFE_VALGRIND, "--error-exitcode=99", "--leak-check=full",
                        "--errors-for-leak-kinds=definite,indirect", "--log-file=" + log.string()};
    options.patience = std::chrono::minutes(4);
    const Outcome outcome = playCase("every-request", options);
    EXPECT_EQ(outcome.trouble, "");
    EXPECT_EQ(outcome.transcript, expectedTranscript("every-request"));
    EXPECT_EQ(outcome.ending.actual, "exit code 0") << readFile(log);
}

TEST_F(Process, answersTenThousandRequestsInOrder) {
    ServiceRun run(unrecorded());
    start(run);
    flood(run, 10000);
    awaitAnswers(run, 10000);
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
    EXPECT_EQ(run.errors(), "");
}

// As a terminal that has been stopped: the service waits with its line, and its clients wait with it.
TEST_F(Process, goesOnWhenItsConsoleIsReadAgain) {
    ServiceRun run(unrecorded());
    start(run);
    fillConsole(run);
    EXPECT_LT(run.trufios().acknowledgements.size(), mostUnanswered);
    run.leaveConsoleUnread(false);
    awaitAnswers(run, mostUnanswered);
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
}

TEST_F(Process, endsAtOnceWhenItsConsoleIsNotRead) {
    ServiceRun run(unrecorded());
    start(run);
    fillConsole(run);
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
}

TEST_F(Process, answersWhenItsConsoleIsFullForEver) {
    ServiceRun run(unrecorded({"sh", "-c", R"(exec "$0" "$@" >/dev/full)"}));
    run.startTrufios();
    run.startService();
    flood(run, 3);
    run.waitUntil("all acknowledgements", [&] { return run.trufios().acknowledgements.size() == 3; });
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
    EXPECT_EQ(run.console(), "");
    EXPECT_EQ(run.errors(), "");
}

// ZeroMQ connects once there is something to connect to, wherever that comes from.
TEST_F(Process, waitsForTheDirectoryOfItsEndpoints) {
    const fs::path directory = "/run/shm/zmq";
    std::error_code inUse;
    if (!fs::remove(directory, inUse)) {
        GTEST_SKIP() << directory << " is used by others on this machine";
    }
    ServiceRun run(unrecorded());
    run.startService();
    const std::string startUp = consoleLines(expectedTranscript("start-up"));
    run.waitUntil("the console's first lines", [&] { return run.console() == startUp; });
    fs::create_directory(directory);
    run.startTrufios();
    flood(run, 1);
    awaitAnswers(run, 1);
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
    EXPECT_EQ(run.errors(), "");
}

// Without standard descriptors ZeroMQ's own would get their numbers, and the console lines.
TEST_F(Process, answersWithoutStandardDescriptors) {
    ServiceRun run(unrecorded({"sh", "-c", R"(exec "$0" "$@" <&- >&-)"}));
    run.startTrufios();
    run.startService();
    flood(run, 3);
    run.waitUntil("all acknowledgements", [&] { return run.trufios().acknowledgements.size() == 3; });
    EXPECT_EQ(run.descriptorTarget(1), "/dev/null");
    EXPECT_EQ(run.terminate(), "signal 15 (Terminated)");
    EXPECT_EQ(run.errors(), "");
}

} // namespace
} // namespace serviceTest
