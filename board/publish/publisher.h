// The board's two sockets: XPUB on the parser's TCP port, on which records are published, and the instruction
// endpoint's, on which a client says which.
#pragma once

#include "tunables.h"

#include "wire/endpoints.h"
#include "wire/topics.h"

#include <chrono>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace board {

// Time as the publisher is told it: since any fixed moment, real or the stream's own.
using Instant = std::chrono::nanoseconds;

// Tells what time it is now.
using Now = std::function<Instant()>;

inline constexpr char lockFile[] = WIRE_DIRECTORY "/mpegfe-board.lock";

// What becomes of a client that reads more slowly than the board publishes.
enum class SlowClient {
    missesMessages,
    isWaitedFor, // until it reads on, goes away or takes its topics back, has read nothing for so long that
                 // it must be resting, or a signal asks to stop
};

// Where records are published, unless said otherwise: to this machine.
inline constexpr char thisMachine[] = "127.0.0.1";

struct PublishOptions {
    std::string address = thisMachine; // IPv4, IPv6, a network interface's name, or * for every address
    std::chrono::milliseconds interval = tunables::publishInterval; // between two publications of a
                                                                    // requested topic, at most
    SlowClient slowClient = SlowClient::missesMessages;
};

class Publisher {
  public:
    // Takes the lock and binds both sockets, for the user and the group of their directory. Throws Failure
    // when the directory is missing or a stranger's, another board is running, the port is in use or the
    // address is not one of this machine.
    explicit Publisher(const PublishOptions& options);
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;
    ~Publisher();

    // Where records are published, as ZeroMQ names it.
    const std::string& endpoint() const {
        return endpoint_;
    }

    // Waits up to this long, real time, for instructions and subscriptions and answers them. Returns early
    // when one came, when descriptor (of a source; -1 for none) is readable, or at a signal. now is asked
    // behind the wait, because that is when a client came.
    void attend(std::chrono::milliseconds longest, int descriptor, const Now& now);

    // Attends to clients until one is ready, or a signal asks to stop, and publishes nothing.
    void awaitClient();

    // Publishes what is due: every requested record after an instruction or a subscription and once an
    // interval, and in between those that have changed.
    void publish(const wire::RecordSet& records, Instant now);

    // How long until publish has something to look at; 0 when it has.
    std::chrono::milliseconds untilDue(Instant now) const;

    // Lets the clients in that have joined and publishes every requested record of these topics at once.
    void publishRound(const wire::RecordSet& records, wire::TopicBits known, Instant now);

    // Whether a client has instructed or subscribed since the last round, and the pause for more to follow is
    // over.
    bool clientJoined(Instant now) const;

    // Lets waiting clients in without a pause, and without publishing. Takes no more than so many of their
    // messages that it soon ends.
    void acceptClients();

    // Publishes one record, when it is requested.
    void publishTopic(const wire::Topic& topic, std::span<const std::uint8_t> record);

    // Whether a client has asked for topics and has subscribed to all that it asked for.
    bool clientReady() const;

  private:
    // Waits as attend says. Returns whether a client instructed or subscribed.
    bool serve(std::chrono::milliseconds longest, int descriptor);

    // The same once: it returns early for a connection that has come or gone, too.
    enum class Served { nothing, connections, clients };
    Served serveOnce(std::chrono::milliseconds longest, int descriptor);

    // Takes and answers an instruction if there is one. Returns whether there was.
    bool takeInstruction();

    // Sends the first part of a message. Returns false when that has become pointless.
    bool sendTopic(const wire::Topic& topic);

    // How long a client that reads nothing is waited for.
    std::chrono::milliseconds patience() const;

    void takeSubscriptions();
    void takeSubscription(std::string_view text);
    void countSubscription(std::string_view topic, bool joins);
    bool subscribed(std::string_view topic) const;

    struct EndContext;
    struct Sockets;
    std::string endpoint_;
    std::unique_ptr<Sockets> sockets_;
    std::chrono::milliseconds interval_;
    wire::TopicBits requested_ = 0;
    std::uint32_t sequence_ = 0;
    std::unique_ptr<wire::RecordSet> published_; // as last sent
    std::map<std::string, int> subscriptions_;   // how many there are of each that selects a topic
    std::optional<Instant> joinDue_;             // a client has joined and gets its round then
    Instant nextRound_{0};
    Instant nextComparison_{0};
    bool subscriptionsWait_ = false; // for the next round
    bool subscriptionsLeft_ = false; // behind as many as are taken in a turn
    bool clientKnown_ = true;        // whose message is next
};

} // namespace board
