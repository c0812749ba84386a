#include "serviceRun.h"

#include "../support/testedService.h"

#include <algorithm>
#include <array>
#include <csignal>
#include <fcntl.h>
#include <stdexcept>
#include <sys/ioctl.h>
#include <unistd.h>

namespace serviceTest {
namespace {

using Clock = std::chrono::steady_clock;

// Adds what can be read now. Returns false at the end of the stream.
bool readInto(std::string& text, int descriptor) {
    std::array<char, 65536> buffer{};
    ssize_t length = 0;
    while ((length = read(descriptor, buffer.data(), buffer.size())) > 0) {
        text.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return length != 0;
}

std::chrono::milliseconds until(Clock::time_point deadline) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

// A wait that has to run out first takes 5 s.
constexpr auto promptly = std::chrono::seconds(2);

// Sanitizers, gcov and memcheck report when a process exits, not when a signal kills it.
bool mustExit(const RunOptions& options) {
    return options.recorded && (MPEGFE_EXIT_TO_CHECK || !options.launcher.empty());
}

} // namespace

ServiceRun::ServiceRun(RunOptions runOptions) : options(std::move(runOptions)) {}

void ServiceRun::startService() {
    std::vector<std::string> words = options.launcher;
    const std::vector<std::string> command = testSupport::serviceCommand(MPEGFE_PROGRAM);
    words.insert(words.end(), command.begin(), command.end());
    std::vector<std::string> environment = options.environment;
    // The runtime of g++'s sanitizer insists on being loaded first, which nothing here depends on.
    environment.emplace_back("ASAN_OPTIONS=verify_asan_link_order=0");
    if (options.recorded) {
        environment.emplace_back("LD_PRELOAD=" + testSupport::serviceRecorder(MPEGFE_RECORDER));
    }
    service.emplace(words, environment);
}

void ServiceRun::hearOnce(std::chrono::milliseconds limit) {
    std::vector<zmq::pollitem_t> items;
    const auto add = [&](void* socket, int descriptor) {
        items.push_back({socket, descriptor, ZMQ_POLLIN, 0});
    };
    if (service && !serviceEnded) {
        if (readsConsole()) {
            add(nullptr, service->outputDescriptor());
        }
        add(nullptr, service->errorDescriptor());
    }
    if (trufiosPeer) {
        add(trufios().requestSocket.handle(), 0);
        add(trufios().documentSocket.handle(), 0);
    }
    if (parserPeer) {
        add(parser().publisher.handle(), 0);
        add(parser().instructionSocket.handle(), 0);
    }
    zmq::poll(items, limit);
    if (trufiosPeer) {
        trufios().hear();
    }
    if (parserPeer) {
        parser().hear();
    }
    if (service && !serviceEnded) {
        if (readsConsole()) {
            readInto(consoleText, service->outputDescriptor());
        }
        serviceEnded = !readInto(errorText, service->errorDescriptor());
    }
}

void ServiceRun::waitUntil(const std::string& what, const std::function<bool()>& isThere) {
    hearUntil(what, isThere, options.patience);
}

void ServiceRun::watchUntil(const std::string& what, const std::function<bool()>& isThere) {
    hearUntil(what, isThere, std::chrono::milliseconds(1));
}

void ServiceRun::hearUntil(const std::string& what, const std::function<bool()>& isThere,
                           std::chrono::milliseconds step) {
    const Clock::time_point deadline = Clock::now() + options.patience;
    while (!isThere()) {
        if (serviceEnded) {
            throw std::runtime_error("the service ended while the test waited for " + what);
        }
        if (Clock::now() >= deadline) {
            throw std::runtime_error("there never was " + what + "; the console:\n" + consoleText);
        }
        hearOnce(std::min(until(deadline), step));
    }
}

void ServiceRun::letPass(std::chrono::milliseconds time) {
    const Clock::time_point deadline = Clock::now() + time;
    while (Clock::now() < deadline) {
        hearOnce(until(deadline));
    }
}

void ServiceRun::waitForSleep() {
    const Clock::time_point deadline = Clock::now() + options.patience;
    while (!service->sleeps() && !serviceEnded && Clock::now() < deadline) {
        hearOnce(std::chrono::milliseconds(1));
    }
}

void ServiceRun::interrupt() {
    waitForSleep();
    service->signal(SIGUSR1);
}

bool ServiceRun::consoleIsFull() const {
    // The rest of the last pages may be too short for what is written next.
    int used = 0;
    const int size = fcntl(service->outputDescriptor(), F_GETPIPE_SZ);
    return ioctl(service->outputDescriptor(), FIONREAD, &used) == 0 && used > size * 9 / 10 &&
           service->sleeps();
}

void ServiceRun::freeze() {
    waitForSleep();
    service->signal(SIGSTOP);
    watchUntil("a stopped service", [&] { return service->isStopped(); });
}

void ServiceRun::thaw() {
    service->signal(SIGCONT);
}

std::string ServiceRun::waitForEnd() {
    const Clock::time_point deadline = Clock::now() + options.patience;
    while (!serviceEnded && Clock::now() < deadline) {
        hearOnce(until(deadline));
    }
    if (service->outputDescriptor() >= 0) {
        readInto(consoleText, service->outputDescriptor());
    }
    const std::optional<int> status = service->waitFor(options.patience);
    return status ? testSupport::describeStatus(*status) : "never ended";
}

std::string ServiceRun::terminate() {
    waitForSleep();
    service->signal(SIGTERM);
    const std::optional<int> status = service->waitFor(promptly);
    return status ? waitForEnd() : "still there 2 s after the signal";
}

ServiceRun::Ending ServiceRun::end() {
    const bool exits = mustExit(options);
    waitForSleep(); // a process that exits in the middle of a print would print twice
    service->signal(exits ? SIGUSR2 : SIGTERM);
    return {exits ? "exit code 0" : "signal 15 (Terminated)", waitForEnd()};
}

} // namespace serviceTest
