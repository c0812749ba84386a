#include "support/scriptedPeers.h"

#include "isolation.h"
#include "support/console.h"
#include "support/records.h"

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstring>
#include <stdexcept>

namespace {

constexpr const char* publisherEndpoint = "tcp://127.0.0.1:5101";
constexpr const char* instructionEndpoint = "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1";
constexpr const char* documentEndpoint = "ipc:///run/shm/zmq/uRO_MpegFE_MMR";
constexpr int patience = 10000; // ms until a peer calls a missing message a failure

} // namespace

Message publishedNow(const Topic& topic) {
    const char* record = reinterpret_cast<const char*>(&newestRecords) + topic.offset;
    return {topic.name, "1", {record, topic.size}};
}

PeerSockets::PeerSockets() : context(__real_zmq_ctx_new()) {}

PeerSockets::~PeerSockets() {
    for (void* socket : sockets) {
        __real_zmq_close(socket);
    }
    __real_zmq_ctx_destroy(context);
}

void* PeerSockets::open(int type) {
    void* socket = __real_zmq_socket(context, type);
    const int linger = 0;
    __real_zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
    __real_zmq_setsockopt(socket, ZMQ_RCVTIMEO, &patience, sizeof patience);
    if (type == ZMQ_XPUB) {
        const int verbose = 1;
        __real_zmq_setsockopt(socket, ZMQ_XPUB_VERBOSER, &verbose, sizeof verbose);
    }
    sockets.push_back(socket);
    return socket;
}

void* PeerSockets::bind(int type, const char* endpoint) {
    void* socket = open(type);
    if (zmq_bind(socket, endpoint) != 0) {
        throw std::runtime_error(std::string("cannot bind ") + endpoint + ": " + zmq_strerror(zmq_errno()));
    }
    return socket;
}

void* PeerSockets::connect(int type, const char* endpoint) {
    void* socket = open(type);
    __real_zmq_connect(socket, endpoint);
    return socket;
}

void PeerSockets::send(void* socket, const std::string& bytes, int flags) {
    if (__real_zmq_send(socket, bytes.data(), bytes.size(), flags) < 0) {
        throw std::runtime_error(std::string("a peer cannot send: ") + zmq_strerror(zmq_errno()));
    }
}

std::string PeerSockets::receive(void* socket) {
    std::string bytes(40000, '\0');
    const int length = __real_zmq_recv(socket, bytes.data(), bytes.size(), 0);
    if (length < 0) {
        throw std::runtime_error(std::string("a peer waits in vain: ") + zmq_strerror(zmq_errno()));
    }
    bytes.resize(static_cast<std::size_t>(length));
    return bytes;
}

ScriptedParser::ScriptedParser()
    : publisher(peer.bind(ZMQ_XPUB, publisherEndpoint)),
      instructions(peer.bind(ZMQ_REP, instructionEndpoint)) {
    zmqFaults::hooks.afterSubscription = [this](void* socket, bool subscribe, const std::string& topic) {
        noteSubscription(socket, subscribe, topic);
    };
    zmqFaults::hooks.beforeClose = [this](void* socket) { subscriptions.erase(socket); };
    zmqFaults::hooks.beforeMessage = [this](void* socket) { takeTurn(socket); };
    zmqFaults::hooks.afterSend = [this, others = zmqFaults::hooks.afterSend](
                                     void* socket, const std::string& endpoint, const std::string& bytes) {
        if (endpoint == instructionEndpoint) {
            answerInstruction(bytes);
        } else if (others) {
            others(socket, endpoint, bytes);
        }
    };
}

void ScriptedParser::publishNext(const Message& message) {
    script.push_back(message);
}

void ScriptedParser::publishNext(const std::vector<Message>& messages) {
    script.insert(script.end(), messages.begin(), messages.end());
}

std::size_t ScriptedParser::unpublished() const {
    return script.size();
}

void ScriptedParser::noteSubscription(void* socket, bool subscribe, const std::string& topic) {
    std::printf("> %s %s\n", subscribe ? "subscribe" : "unsubscribe", topic.c_str());
    int& count = subscriptions[socket][topic];
    count = subscribe ? count + 1 : std::max(count - 1, 0);
    subscribed += subscribe ? 1 : 0;
}

void ScriptedParser::answerInstruction(const std::string& word) {
    std::uint16_t bits = 0;
    std::memcpy(&bits, word.data(), std::min(word.size(), sizeof bits));
    std::printf("> instruction of %zu bytes: %03x\n", word.size(), bits);
    PeerSockets::receive(instructions);
    PeerSockets::send(instructions, std::string("\x5a\xa5", 2));
}

void ScriptedParser::takeTurn(void* socket) {
    awaitSubscriptions();
    while (!script.empty()) {
        const Message message = script.front();
        script.pop_front();
        publish(message);
        for (const auto& [topic, count] : subscriptions[socket]) {
            if (count > 0 && message.front().starts_with(topic)) {
                return;
            }
        }
    }
    throw ScriptEnded{};
}

void ScriptedParser::awaitSubscriptions() {
    while (seen < subscribed) {
        if (PeerSockets::receive(publisher).front() == '\1') {
            ++seen;
        }
    }
}

void ScriptedParser::publish(const Message& message) {
    for (std::size_t part = 0; part < message.size(); ++part) {
        PeerSockets::send(publisher, message[part], part + 1 < message.size() ? ZMQ_SNDMORE : 0);
    }
}

ScriptedTrufios::ScriptedTrufios() : documents(peer.bind(ZMQ_REP, documentEndpoint)) {
    serviceEnd = peer.connect(ZMQ_REQ, documentEndpoint);
    zmqFaults::hooks.afterSend = [this, others = zmqFaults::hooks.afterSend](
                                     void* socket, const std::string& endpoint, const std::string& bytes) {
        if (socket != serviceEnd && endpoint != documentEndpoint) {
            if (others) {
                others(socket, endpoint, bytes);
            }
            return;
        }
        std::printf("> document %s\n", PeerSockets::receive(documents).c_str());
        std::string answer = R"({"reply": "ack"})";
        if (!answers.empty()) {
            answer = answers.front();
            answers.pop_front();
        }
        if (!answer.empty()) {
            PeerSockets::send(documents, answer);
        }
    };
}

void ScriptedTrufios::answerNext(const std::string& answer) {
    answers.push_back(answer);
}

void ScriptedTrufios::answerNow(const std::string& answer) {
    PeerSockets::send(documents, answer);
}

void* ScriptedTrufios::documentSocket() const {
    return serviceEnd;
}

void PeersTest::SetUpTestSuite() {
    testSupport::enterIsolation();
}

PeersTest::PeersTest() {
    zmqFaults::forgetEverything();
    clearProcessState();
}

PeersTest::~PeersTest() {
    zmqFaults::forgetEverything();
}
