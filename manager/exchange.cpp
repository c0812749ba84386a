#include "exchange.h"

#include "displayText.h"
#include "documentTable.h"
#include "managerError.h"

#include "companions/json.h"
#include "companions/stopSignals.h"

#include <array>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <string>

namespace manager {
namespace {

using Clock = std::chrono::steady_clock;

[[noreturn]] void stopFor(int signal) {
    const int status = static_cast<int>(ExitStatus::interrupted) + signal;
    throw ManagerError(static_cast<ExitStatus>(status),
                       {"stopped before the exchange was complete", "time to finish",
                        std::string("signal ") + std::to_string(signal) + " (" + strsignal(signal) + ')',
                        "the service may still send a document; the next mpegfe-manager takes it"});
}

// The first part of a message; mpegFE sends no more than one, and what else there is must still be taken
// before the socket can be used again.
std::string receive(zmq::socket_t& socket) {
    zmq::message_t first;
    zmq::message_t more;
    static_cast<void>(socket.recv(first, zmq::recv_flags::dontwait));
    for (bool further = first.more(); further; further = more.more()) {
        static_cast<void>(socket.recv(more, zmq::recv_flags::dontwait));
    }
    return first.to_string();
}

void requireAcknowledgement(std::string_view reply) {
    const companions::Json object(json_loadb(reply.data(), reply.size(), 0, nullptr));
    const std::string_view verdict = companions::textOf(object.get(), "reply");
    if (verdict == "ack") {
        return;
    }
    const std::string meaning =
        verdict == "nak" ? "the service refused it: " +
                               displayable(companions::textOf(object.get(), "reason", "no reason given"))
                         : "what answers on the request endpoint does not speak mpegFE's protocol";
    throw ManagerError(ExitStatus::refused, {"the request was not accepted", R"(the reply {"reply": "ack"})",
                                             displayable(reply), meaning});
}

class Exchange {
  public:
    Exchange(Endpoints& bothEndpoints, const Options& theOptions, const Listener& theListener)
        : endpoints(bothEndpoints), options(theOptions), listener(theListener) {}

    void run() {
        while (!acknowledged || documents < options.documents) {
            if (const int signal = companions::stopSignal()) {
                stopFor(signal);
            }
            try {
                waitForMessage();
            } catch (const zmq::error_t& error) {
                if (error.num() != EINTR) { // a signal is seen above
                    throw;
                }
            }
        }
        lookForSharing();
    }

  private:
    // Takes what has arrived, or gives up at the deadline. While nothing is connected, the request waits here
    // and not in the socket, so that it never reaches a service that starts after this process has given up.
    void waitForMessage() {
        const short requestEvents = sent ? ZMQ_POLLIN : ZMQ_POLLOUT;
        std::array<zmq::pollitem_t, 4> items{{
            {endpoints.requests.handle(), 0, requestEvents, 0},
            {endpoints.documents.handle(), 0, ZMQ_POLLIN, 0},
            {nullptr, companions::stopDescriptor(), ZMQ_POLLIN, 0},
            {endpoints.services.handle(), 0, ZMQ_POLLIN, 0},
        }};
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
        if (left.count() <= 0 || zmq::poll(items, left) == 0) {
            giveUp();
        }
        if (items[2].revents != 0) {
            return;
        }
        if (items[3].revents != 0) {
            lookForSharing();
        }
        if (items[0].revents != 0) {
            sent ? takeReply() : send();
        }
        if (items[1].revents != 0) {
            waitForOvertakenReply();
            takeDocument();
        }
    }

    void lookForSharing() {
        if (endpoints.services.newlyShared()) {
            listener.shared();
        }
    }

    // The service acknowledges a request before it works on it, but the two messages come over two
    // connections: the later one may be seen first.
    void waitForOvertakenReply() {
        if (!sent || acknowledged) {
            return;
        }
        std::array<zmq::pollitem_t, 1> item{{{endpoints.requests.handle(), 0, ZMQ_POLLIN, 0}}};
        if (zmq::poll(item, tunables::overtaking) != 0) {
            takeReply();
        }
    }

    void send() {
        endpoints.requests.send(zmq::buffer(requestText(options.request)), zmq::send_flags::dontwait);
        sent = true;
        startWaiting();
    }

    void takeReply() {
        const std::string reply = receive(endpoints.requests);
        listener.acknowledged(reply);
        requireAcknowledgement(reply);
        acknowledged = true;
        startWaiting();
    }

    // Acknowledges first: the service stands still until it has the answer.
    void takeDocument() {
        const std::string document = receive(endpoints.documents);
        endpoints.documents.send(zmq::str_buffer(R"({"reply": "ack"})"), zmq::send_flags::dontwait);
        if (!acknowledged || documentStream(document) != options.request.dataStream) {
            listener.strayed(document);
            return;
        }
        listener.answered(document);
        ++documents;
        startWaiting();
    }

    void startWaiting() {
        deadline = Clock::now() + options.timeout;
    }

    [[noreturn]] void giveUp() const {
        const std::string inTime = " within " + std::to_string(options.timeout.count()) + " s";
        if (!sent) {
            throw ManagerError(ExitStatus::noAnswer,
                               {"no service took the request",
                                std::string("mpegFE to connect to ") + wire::requestEndpoint + inTime,
                                "no connection",
                                "mpegFE may not be running: start it, or everything with ./run --keep"});
        }
        if (!acknowledged) {
            throw ManagerError(ExitStatus::noAnswer,
                               {"the request was not acknowledged", "a reply" + inTime, "none",
                                "mpegFE is busy with an earlier request, most likely still waiting for the "
                                "parser's records: see that the parser board is running"});
        }
        throw ManagerError(ExitStatus::noDocument,
                           {"the request was acknowledged, but its documents are incomplete",
                            std::to_string(options.documents) + ", the next" + inTime,
                            std::to_string(documents),
                            "mpegFE may still be waiting for the parser's records, or the stream has nothing "
                            "to show: its console says which"});
    }

    Endpoints& endpoints;
    const Options& options;
    const Listener& listener;
    bool sent = false;
    bool acknowledged = false;
    int documents = 0;
    Clock::time_point deadline = Clock::now() + options.timeout;
};

} // namespace

void runExchange(Endpoints& endpoints, const Options& options, const Listener& listener) {
    Exchange(endpoints, options, listener).run();
}

} // namespace manager
