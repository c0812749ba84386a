// Requests to the service and what answers them: one on the wire at a time, a queue behind it.
#pragma once

#include "exchange/connectedServices.h"
#include "exchange/request.h"

#include <array>
#include <chrono>
#include <deque>
#include <functional>
#include <optional>
#include <string_view>
#include <zmq.hpp>

namespace manager {

// The time of whoever drives an exchange; only its differences count.
using Time = std::chrono::steady_clock::time_point;

// A request, and how many documents answer it.
struct Order {
    Request request;
    int documents = 1; // 0: over when it is acknowledged
};

// What the service does, as far as the wire tells.
enum class ServiceState {
    absent,     // none is connected
    answering,  // nothing is asked of it, or the last message has just come
    unanswered, // a request went out and is not acknowledged: it works on an earlier one
    waiting,    // a request is acknowledged, and its document waits for the parser's records
    noStream,   // for so long that the board has no stream, or is away
};

struct ServiceCondition {
    ServiceState state = ServiceState::absent;
    Time since{}; // of the message that led to it, or of the exchange's beginning
};

// What an exchange tells while it steps. A document answers the order when it comes after the acknowledgement
// and belongs to the data stream asked for; others answer an earlier request, whose manager has gone or which
// was given up.
struct Listener {
    std::function<void(std::string_view reply)> replied; // whatever it says
    std::function<void(std::string_view reply)> refused; // it was no acknowledgement: the order is over
    std::function<void(const Request& request, std::string_view document)> answered;
    std::function<void(std::string_view document)> strayed;
    std::function<void()> shared; // the first time that a second service is connected
};

// Waits for nothing itself: whoever drives it polls its items, beside others of his own, and steps it when
// one is ready or at the time that it names. Acknowledges every document that arrives.
class Exchange {
  public:
    // Speaks over these sockets, REQ and REP, which must outlive it.
    Exchange(zmq::socket_t& toRequests, zmq::socket_t& toDocuments, ConnectedServices& connected,
             Listener whoListens, Time now);

    // Takes an order behind those that wait. False when there is no room for it.
    bool take(Order order);

    // Gives up waiting for the documents of the order on the wire, once it is acknowledged.
    void giveUp(Time now);

    // Whether a service has gone since the order on the wire was sent: most likely the one that has it.
    bool isLost() const {
        return sent() && services.ended() != endingsBefore;
    }

    // Lets go of the order on the wire. When it is not acknowledged, the socket must be able to send without
    // a reply (ZMQ_REQ_RELAXED).
    void abandon(Time now);

    // What to wait for now, each readable or writable.
    std::array<zmq::pollitem_t, 3> pollItems() const;

    // When to step although nothing is ready.
    std::optional<Time> wakeUp() const;

    // Takes and sends what can be taken and sent without waiting, at most one message of each kind.
    void step(Time now);

    // Whether no order is left.
    bool idle() const {
        return orders.empty();
    }

    ServiceCondition condition(Time now) const;

    // Of the order on the wire.
    bool sent() const {
        return stage != Stage::unsent;
    }
    bool acknowledged() const {
        return stage == Stage::acknowledged;
    }
    int documentsTaken() const {
        return documents;
    }
    Time lastProgress() const {
        return progress;
    }

  private:
    enum class Stage { unsent, sent, acknowledged };

    void send(Time now);
    void takeReply(Time now);
    void takeDocument(Time now);
    void finish(Time now);
    void finishWhenComplete(Time now);
    bool isOvertaken(Time now);

    zmq::socket_t& requestSocket;
    zmq::socket_t& documentSocket;
    ConnectedServices& services;
    Listener listener;
    std::deque<Order> orders; // the first is on the wire
    Stage stage = Stage::unsent;
    int documents = 0;
    int endingsBefore = 0;         // of connections, when the order was sent
    std::optional<Time> starved;   // an order given up waited since then, and no reply has come behind it
    Time progress;                 // when the last message of the order went or came
    std::optional<Time> heldSince; // a document has waited for the acknowledgement before it since then
};

} // namespace manager
