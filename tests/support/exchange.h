// A program between its scripted peers, which answer at once.
#pragma once

#include "childProcess.h"
#include "peers.h"

#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace testSupport {

// The words that start the program with the "NAME=value" texts in its environment and its console to
// /dev/null.
std::vector<std::string> silently(const std::string& program,
                                  const std::vector<std::string>& environment = {});

// What waits throws std::runtime_error when it does not come in time.
class Exchange {
  public:
    // Binds the peers' endpoints, then starts the program with these words.
    explicit Exchange(const std::vector<std::string>& words);

    // Sends a request and waits until it is acknowledged.
    void request(const std::string& text);
    // The same with a request that starts nothing, so that the program waits for the next one when this
    // returns.
    void awaitReady();
    // Requests a document, up to the answered instruction, when the program has made this many subscriptions
    // since.
    void startFeed(const std::string& text, std::size_t subscriptions);
    // Sends topic, second part and record.
    void publish(const std::string& topic, const std::string& record);
    // Waits for the document, and answers it.
    std::string awaitDocument();
    void acknowledgeDocument();
    // Requests the end of the feed, and waits until the program has taken all its subscriptions back.
    void stopFeed();

    const ChildProcess& process() const {
        return program;
    }
    // When the program was started.
    std::chrono::steady_clock::time_point startTime() const {
        return started;
    }

  private:
    void waitUntil(const char* what, const std::function<bool()>& isThere);

    zmq::context_t context;
    Trufios trufios{context};
    Parser parser{context};
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
    ChildProcess program;
    int instructionsAnswered = 0; // since the last start of a feed
};

} // namespace testSupport
