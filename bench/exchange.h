// A program under measurement between its scripted peers, which answer at once: the media manager that asks
// for documents, and the parser board that publishes the records for them.
#pragma once

#include "childProcess.h"
#include "peers.h"
#include "workloads.h"

#include <chrono>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

// One request that ends in a document.
struct DocumentRequest {
    const char* name;
    const char* members;       // of the request's JSON object
    std::vector<Topic> topics; // that the service subscribes to, in the order in which they are published
    bool programsKnown;        // whether the service knows the programs' video and audio by then
};

// The requests that are measured. TS-STATUS is always published last, so that the service goes on with it.
// The programs' video and audio are unknown until a program's detail has been asked for once; then they are
// part of each PID list.
const std::vector<DocumentRequest>& documentRequests();

// The request of this name, one of those.
const DocumentRequest& documentRequest(std::string_view name);

struct ExchangeTimes {
    std::chrono::duration<double> toDocument; // from the request's send to the document's arrival
    // From the document's acknowledgement until the next request is acknowledged: the reply wait and what
    // follows it.
    std::chrono::duration<double> replyWait;
};

// The words that start the program with the "NAME=value" texts in its environment and its console to
// /dev/null: what it costs to print is measured with the reception.
std::vector<std::string> silently(const std::string& program,
                                  const std::vector<std::string>& environment = {});

// The peers and one program. Throws std::runtime_error when something expected does not come in time.
class Exchange {
  public:
    // Binds the peers' endpoints, then starts the program with these words, and waits until it acknowledges a
    // request that starts nothing.
    explicit Exchange(const std::vector<std::string>& words);

    // Requests the document, publishes its records when the program has subscribed to them all and sent its
    // instruction, and acknowledges the document. Then stops the feed again.
    ExchangeTimes run(const DocumentRequest& request);

    // The first half of run: leaves the feed open.
    ExchangeTimes start(const DocumentRequest& request);

    // Makes the programs known to the program if the request is to find them so, and runs the request once.
    void prepare(const DocumentRequest& request);

    double secondsToReady() const {
        return startUp.count();
    }
    pid_t processId() const {
        return program.processId();
    }

  private:
    void stop();
    void sendRequest(const std::string& text);
    void waitUntil(const char* what, const std::function<bool()>& isThere);

    zmq::context_t context;
    testSupport::Trufios trufios{context};
    testSupport::Parser parser{context};
    std::chrono::steady_clock::time_point started = std::chrono::steady_clock::now();
    testSupport::ChildProcess program;
    std::chrono::duration<double> startUp{};
    int instructionsAnswered = 0; // since the last request for a document
};

// Asks the service for each document once, because the bare program must be told how long they are.
void learnDocumentLengths(const std::string& service);
