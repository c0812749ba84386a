// One run of the real service between scripted peers.
#pragma once

#include "../support/childProcess.h"
#include "../support/peers.h"

#include <chrono>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace serviceTest {

struct RunOptions {
    bool recorded = true;                 // with the recorder's lines among those of the console
    std::vector<std::string> launcher;    // put before the program: a checker and its options
    std::vector<std::string> environment; // "NAME=value", added to the tests' own
    // How long an event may take before a test gives up. Only a test that fails waits so long.
    std::chrono::milliseconds patience = std::chrono::seconds(20);
};

// A peer with a context of its own, whose end waits until the peer's endpoints are free again.
template <typename Peer>
struct Host {
    zmq::context_t context;
    Peer peer{context};
};

// Starts nothing by itself, so that a test chooses the order. One thread: whoever waits also hears the peers.
class ServiceRun {
  public:
    explicit ServiceRun(RunOptions runOptions);

    void startService();
    void startTrufios() {
        trufiosPeer.emplace();
    }
    void startParser() {
        parserPeer.emplace();
    }
    // Gone when these return, with whatever had reached the peer and was not yet looked at. It may start
    // again.
    void stopTrufios() {
        trufiosPeer.reset();
    }
    void stopParser() {
        parserPeer.reset();
    }

    // The peers; throws when they have not been started.
    testSupport::Trufios& trufios() {
        return trufiosPeer.value().peer;
    }
    testSupport::Parser& parser() {
        return parserPeer.value().peer;
    }
    bool hasTrufios() const {
        return trufiosPeer.has_value();
    }
    bool hasParser() const {
        return parserPeer.has_value();
    }

    // Hears the peers and the console until there is what is waited for. Throws std::runtime_error naming it
    // when the patience ends, or when the service has ended.
    void waitUntil(const std::string& what, const std::function<bool()>& isThere);
    // The same for what neither the peers nor the console tell of: looks again each millisecond.
    void watchUntil(const std::string& what, const std::function<bool()>& isThere);
    // Lets time pass, for a peer that is late on purpose.
    void letPass(std::chrono::milliseconds time);

    // What the service has printed so far.
    const std::string& console() const {
        return consoleText;
    }
    const std::string& errors() const {
        return errorText;
    }
    // As the reader of the console that goes away.
    void closeConsole() {
        service.value().closeOutput();
    }

    // As a reader of the console that is there and does not read.
    void leaveConsoleUnread(bool unread) {
        consoleUnread = unread;
    }
    // Whether there is no room for another line, however short.
    bool consoleIsFull() const;

    // Until the service waits in a call, or has ended.
    void waitForSleep();

    // Interrupts the call that the service waits in, once it waits in one.
    void interrupt();

    // Stops the service once it waits in a call, as a debugger or a shell does, and lets it go on.
    void freeze();
    void thaw();

    pid_t processId() const {
        return service.value().processId();
    }

    // How many files and sockets the service has open.
    std::size_t descriptorCount() const {
        return service.value().descriptorCount();
    }

    // What one of them is, as Linux names it: a path, or "pipe:[...]".
    std::string descriptorTarget(int descriptor) const {
        return service.value().descriptorTarget(descriptor);
    }
    // How many it may have open from now on.
    void limitDescriptors(std::size_t limit) const {
        service.value().limitDescriptors(limit);
    }

    // Waits until the service has ended by itself, and returns how.
    std::string waitForEnd();

    // Ends the service with SIGTERM while it waits in a call, and returns how it ended, or that it did not at
    // once.
    std::string terminate();

    // Ends the service in the way that this build can be checked in, and returns what that should look like
    // and what it looked like.
    struct Ending {
        std::string expected;
        std::string actual;
    };
    Ending end();

  private:
    bool readsConsole() const {
        return service->outputDescriptor() >= 0 && !consoleUnread;
    }
    void hearOnce(std::chrono::milliseconds limit);
    void hearUntil(const std::string& what, const std::function<bool()>& isThere,
                   std::chrono::milliseconds step);

    RunOptions options;
    std::optional<Host<testSupport::Trufios>> trufiosPeer;
    std::optional<Host<testSupport::Parser>> parserPeer;
    std::optional<testSupport::ChildProcess> service;
    std::string consoleText;
    std::string errorText;
    bool consoleUnread = false;
    bool serviceEnded = false;
};

} // namespace serviceTest
