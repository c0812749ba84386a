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
    bool recorded = true;              // with the recorder's lines among those of the console
    std::vector<std::string> launcher; // put before the program: a checker and its options
    // How long an event may take before a test gives up. Only a test that fails waits so long.
    std::chrono::milliseconds patience = std::chrono::seconds(20);
};

// Starts nothing by itself, so that a test chooses the order. One thread: whoever waits also hears the peers.
class ServiceRun {
  public:
    explicit ServiceRun(RunOptions runOptions);

    void startService();
    void startTrufios() {
        trufiosPeer.emplace(context);
    }
    void startParser() {
        parserPeer.emplace(context);
    }

    // The peers; throws when they have not been started.
    testSupport::Trufios& trufios() {
        return trufiosPeer.value();
    }
    testSupport::Parser& parser() {
        return parserPeer.value();
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

    // Interrupts the call that the service waits in, once it waits in one.
    void interrupt();

    // How many files and sockets the service has open.
    std::size_t descriptorCount() const {
        return service.value().descriptorCount();
    }

    // Waits until the service has ended by itself, and returns how.
    std::string waitForEnd();

    // Ends the service in the way that this build can be checked in, and returns what that should look like
    // and what it looked like.
    struct Ending {
        std::string expected;
        std::string actual;
    };
    Ending end();

  private:
    void hearOnce(std::chrono::milliseconds limit);
    void waitForSleep();

    RunOptions options;
    zmq::context_t context;
    std::optional<testSupport::Trufios> trufiosPeer;
    std::optional<testSupport::Parser> parserPeer;
    std::optional<testSupport::ChildProcess> service;
    std::string consoleText;
    std::string errorText;
    bool serviceEnded = false;
};

} // namespace serviceTest
