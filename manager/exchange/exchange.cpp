#include "exchange/exchange.h"

#include "documents/documentReader.h"
#include "exchange/uninterrupted.h"
#include "tunables.h"

#include "companions/json.h"

#include <string>
#include <utility>

namespace manager {
namespace {

bool isReady(zmq::socket_t& socket, short events) {
    return (uninterrupted([&] { return socket.get(zmq::sockopt::events); }) & events) != 0;
}

void takePart(zmq::socket_t& socket, zmq::message_t& part) {
    static_cast<void>(uninterrupted([&] { return socket.recv(part, zmq::recv_flags::dontwait); }));
}

// One part; ours wait for no room.
void sendPart(zmq::socket_t& socket, std::string_view text) {
    static_cast<void>(
        uninterrupted([&] { return socket.send(zmq::buffer(text), zmq::send_flags::dontwait); }));
}

// The first part of a message; mpegFE sends no more than one, and what else there is must still be taken
// before the socket can be used again.
std::string receive(zmq::socket_t& socket) {
    zmq::message_t first;
    zmq::message_t more;
    takePart(socket, first);
    for (bool further = first.more(); further; further = more.more()) {
        takePart(socket, more);
    }
    return first.to_string();
}

bool isAcknowledgement(std::string_view reply) {
    const companions::Json object(json_loadb(reply.data(), reply.size(), 0, nullptr));
    return companions::textOf(object.get(), "reply") == "ack";
}

} // namespace

Exchange::Exchange(zmq::socket_t& toRequests, zmq::socket_t& toDocuments, ConnectedServices& connected,
                   Listener whoListens, Time now)
    : requestSocket(toRequests), documentSocket(toDocuments), services(connected),
      listener(std::move(whoListens)), progress(now) {}

bool Exchange::take(Order order) {
    if (orders.size() == tunables::mostOrders) {
        return false;
    }
    orders.push_back(std::move(order));
    return true;
}

void Exchange::giveUp(Time now) {
    if (acknowledged()) {
        starved = starved.value_or(progress);
        finish(now);
    }
}

void Exchange::abandon(Time now) {
    if (sent()) {
        starved.reset();
        finish(now);
    }
}

// While nothing is known to be connected, a request waits here and not in the socket, so that it never
// reaches a service that starts after this process has given up. The socket alone does not tell: when a
// service has gone, it can be written to for a moment longer, and what is written is lost.
std::array<zmq::pollitem_t, 3> Exchange::pollItems() const {
    constexpr short nothing = 0;
    constexpr short readable = ZMQ_POLLIN;
    constexpr short writable = ZMQ_POLLOUT;
    const short send = orders.empty() || !services.any() ? nothing : writable;
    const short unacknowledged = stage == Stage::sent ? readable : nothing;
    const short requestEvents = stage == Stage::unsent ? send : unacknowledged;
    const short documentEvents = heldSince ? nothing : readable;
    return {{{requestSocket.handle(), 0, requestEvents, 0},
             {documentSocket.handle(), 0, documentEvents, 0},
             {services.handle(), 0, readable, 0}}};
}

std::optional<Time> Exchange::wakeUp() const {
    return heldSince ? std::optional(*heldSince + tunables::overtaking) : std::nullopt;
}

void Exchange::step(Time now) {
    if (stage == Stage::unsent && !orders.empty() && services.any() && isReady(requestSocket, ZMQ_POLLOUT)) {
        send(now);
    } else if (stage == Stage::sent && isReady(requestSocket, ZMQ_POLLIN)) {
        takeReply(now);
    }
    if (isReady(documentSocket, ZMQ_POLLIN) && !isOvertaken(now)) {
        takeDocument(now);
    }
    if (services.newlyShared()) {
        listener.shared();
    }
}

ServiceCondition Exchange::condition(Time now) const {
    if (!services.any()) {
        return {ServiceState::absent, progress};
    }
    if (!starved && stage == Stage::unsent) {
        return {ServiceState::answering, progress};
    }
    if (!starved && stage == Stage::sent) {
        return {ServiceState::unanswered, progress};
    }
    const Time since = starved.value_or(progress);
    return {now - since >= tunables::recordsWait ? ServiceState::noStream : ServiceState::waiting, since};
}

void Exchange::send(Time now) {
    sendPart(requestSocket, requestText(orders.front().request));
    stage = Stage::sent;
    endingsBefore = services.ended();
    progress = now;
}

void Exchange::takeReply(Time now) {
    const std::string reply = receive(requestSocket);
    starved.reset(); // the service has come to the next request
    listener.replied(reply);
    if (!isAcknowledgement(reply)) {
        finish(now);
        listener.refused(reply);
        return;
    }
    stage = Stage::acknowledged;
    progress = now;
    finishWhenComplete(now);
}

// Acknowledges first: the service stands still until it has the answer.
void Exchange::takeDocument(Time now) {
    const std::string document = receive(documentSocket);
    sendPart(documentSocket, R"({"reply": "ack"})");
    starved.reset();
    if (!acknowledged() || documentStream(document) != orders.front().request.dataStream) {
        listener.strayed(document);
        return;
    }
    ++documents;
    progress = now;
    listener.answered(orders.front().request, document);
    finishWhenComplete(now);
}

void Exchange::finish(Time now) {
    orders.pop_front();
    stage = Stage::unsent;
    documents = 0;
    progress = now;
}

void Exchange::finishWhenComplete(Time now) {
    if (documents >= orders.front().documents) {
        finish(now);
    }
}

// The service acknowledges a request before it works on it, but the two messages come over two connections:
// the later one may be seen first. So a document waits a little for the acknowledgement.
bool Exchange::isOvertaken(Time now) {
    if (stage != Stage::sent) {
        heldSince.reset();
        return false;
    }
    if (!heldSince) {
        heldSince = now;
        return true;
    }
    if (now - *heldSince < tunables::overtaking) {
        return true;
    }
    heldSince.reset();
    return false;
}

} // namespace manager
