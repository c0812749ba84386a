// The service's two peers, played over real sockets from within the service's own calls: a peer takes its
// turn the moment the service has sent it something or is about to wait for it. So everything happens in one
// thread and in one order, and the console, on which the peers note what they saw ("> ..."), is the
// transcript.
#pragma once

#include "serviceNames.h"
#include "support/zmqFaults.h"
#include "wire/topics.h"

#include <cstddef>
#include <deque>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <vector>

// One published message, a string a part.
using Message = std::vector<std::string>;

// The message that publishes this record of the newest ones as it stands now.
Message publishedNow(const Topic& topic);

template <typename Record>
Message published(const Topic& topic, const Record& record) {
    return {topic.name, "1", {reinterpret_cast<const char*>(&record), sizeof record}};
}

// A context with sockets that libzmq's callers in the service do not see.
class PeerSockets {
  public:
    PeerSockets();
    ~PeerSockets();
    PeerSockets(const PeerSockets&) = delete;
    PeerSockets& operator=(const PeerSockets&) = delete;

    void* bind(int type, const char* endpoint);
    void* connect(int type, const char* endpoint);

    static void send(void* socket, const std::string& bytes, int flags = 0);
    static std::string receive(void* socket);

  private:
    void* open(int type);

    void* context;
    std::vector<void*> sockets;
};

// The parser board: answers instruction words, and publishes the next message of its script whenever the
// service waits for one. A message that the service has not subscribed to is published and skipped. At the
// end of the script the service is left by ScriptEnded.
class ScriptedParser {
  public:
    ScriptedParser();

    void publishNext(const Message& message);
    void publishNext(const std::vector<Message>& messages);
    std::size_t unpublished() const;

  private:
    void noteSubscription(void* socket, bool subscribe, const std::string& topic);
    void answerInstruction(const std::string& word);
    void takeTurn(void* socket);
    void awaitSubscriptions();
    void publish(const Message& message);

    PeerSockets peer;
    void* publisher;
    void* instructions;
    std::deque<Message> script;
    std::map<void*, std::map<std::string, int>> subscriptions; // per socket of the service
    int subscribed = 0;                                        // calls of the service
    int seen = 0;                                              // subscriptions that have arrived here
};

// The media manager's end of the document channel: takes each document and gives the next answer, an "ack"
// once there are no others. An empty answer is none.
class ScriptedTrufios {
  public:
    ScriptedTrufios();

    void answerNext(const std::string& answer);
    void answerNow(const std::string& answer); // the last document, which has not been answered yet
    void* documentSocket() const;              // the service's end, connected

  private:
    PeerSockets peer;
    void* documents;
    void* serviceEnd;
    std::deque<std::string> answers;
};

// A test with peers on the service's fixed endpoints.
class PeersTest : public testing::Test {
  protected:
    static void SetUpTestSuite();
    PeersTest();
    ~PeersTest() override;
};
