#include "publish/publisher.h"

#include "boardError.h"
#include "publish/connectionGuard.h"
#include "publish/instructionChannel.h"
#include "tunables.h"

#include "companions/lockFile.h"
#include "companions/ownerOf.h"
#include "companions/stopSignals.h"

#include <zmq.hpp>

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cerrno>
#include <cstring>
#include <span>
#include <vector>

namespace board {

namespace {

using companions::stopRequested;

// A round ends with the records that a client waits for, so that whoever has those has the others of the same
// round: AVPGM before PMT and TS-STATUS, and the PAT last.
constexpr std::array<wire::Topic, 9> roundOrder{wire::sdtTopic, wire::avPgmTopic,    wire::catTopic,
                                                wire::nitTopic, wire::eitTopic,      wire::tdtTopic,
                                                wire::pmtTopic, wire::tsStatusTopic, wire::patTopic};

// Messages kept for a client that does not read: as many as it may fall behind, or next to none where it is
// waited for anyway, so that little is left to send at the end.
constexpr int sendQueue = 100;
constexpr int waitingSendQueue = 1;

// Bytes of what a client may send at once; no topic and no handshake is longer. Who sends more is cut off.
constexpr std::int64_t longestClientMessage = 64;

// The same of the instruction endpoint, whose words may be of any length: they are replied to.
constexpr std::int64_t longestInstruction = 65536;

constexpr int keepaliveProbes = 3;

// libzmq's own functions wait, send and receive here: with them a signal is a result and no exception.

int inMilliseconds(std::chrono::milliseconds time) {
    return static_cast<int>(time.count());
}

// Of the descriptors that no reserve needs, two thirds are for clients of the records.
constexpr std::size_t sharesOfDescriptors = 3;
constexpr std::size_t fewestClients = 6;

std::size_t descriptorsForClients() {
    constexpr std::size_t fewest = tunables::reservedDescriptors + fewestClients;
    const std::size_t all = raiseDescriptorLimit();
    if (all < fewest) {
        throw BoardError({"cannot serve clients",
                          "a limit of " + std::to_string(fewest) + " descriptors or more",
                          std::to_string(all), "raise the hard limit, which ulimit -Hn shows"});
    }
    return all - tunables::reservedDescriptors;
}

ConnectionGuard::Limits recordLimits(std::size_t descriptors) {
    return {std::min(tunables::mostClients, descriptors - descriptors / sharesOfDescriptors),
            tunables::clientMessagesASecond, tunables::uselessSubscriptionBytes};
}

ConnectionGuard::Limits instructionLimits(std::size_t descriptors) {
    return {std::min(tunables::mostInstructors, descriptors / sharesOfDescriptors), 0, 0};
}

// Ends connections of those that say nothing at all, and of those that have vanished without a word.
void endTheSilent(zmq::socket_t& socket) {
    socket.set(zmq::sockopt::handshake_ivl, inMilliseconds(tunables::handshakePatience));
    socket.set(zmq::sockopt::tcp_keepalive, 1);
    socket.set(zmq::sockopt::tcp_keepalive_idle, static_cast<int>(tunables::keepalive.count()));
    socket.set(zmq::sockopt::tcp_keepalive_intvl, static_cast<int>(tunables::keepalive.count()));
    socket.set(zmq::sockopt::tcp_keepalive_cnt, keepaliveProbes);
}

std::span<const std::uint8_t> bytesOf(const wire::Topic& topic, const wire::RecordSet& records) {
    return {reinterpret_cast<const std::uint8_t*>(&records) + topic.offset, topic.size};
}

// A subscription is to every topic that begins with it.
bool selects(std::string_view subscription, std::string_view topic) {
    return topic.starts_with(subscription);
}

bool selectsAny(std::string_view subscription) {
    return std::ranges::any_of(
        wire::topics, [subscription](const wire::Topic& topic) { return selects(subscription, topic.name); });
}

Trouble lockNotOpened(int error) {
    if (error == ENOENT) {
        return {"cannot open the instruction endpoint", std::string("the directory ") + wire::directory,
                std::strerror(error), std::string("make it with: mkdir -p ") + wire::directory};
    }
    return {std::string("cannot open ") + lockFile, "a writable file", std::strerror(error),
            "check who owns the directory"};
}

Trouble lockHeld(const std::string&) {
    return {std::string("cannot lock ") + lockFile, "no other board on this machine", "one that is running",
            "stop it first"};
}

constexpr companions::LockWords lockWords{cannotGoOn, lockNotOpened, lockHeld};

void bindRecords(zmq::socket_t& socket, const std::string& endpoint) {
    try {
        socket.bind(endpoint);
    } catch (const zmq::error_t& error) {
        if (error.num() == EADDRINUSE) {
            throw BoardError({"cannot bind " + endpoint, "a free endpoint", error.what(),
                              "another program uses port " WIRE_PARSER_PORT
                              "; find it with: ss -ltnp 'sport = :" WIRE_PARSER_PORT "'"});
        }
        throw BoardError({"cannot bind " + endpoint, "an address or a network interface of this machine",
                          error.what(), "check --bind, which looks up no names; ip address shows them"});
    }
}

void bindInstructions(zmq::socket_t& socket) {
    try {
        socket.bind(wire::instructionEndpoint);
        companions::openToGroup(wire::instructionEndpoint);
    } catch (const zmq::error_t& error) {
        throw BoardError({std::string("cannot bind ") + wire::instructionEndpoint, "a free endpoint",
                          error.what(), std::string("check who owns ") + wire::directory});
    }
}

bool isIpv6(const std::string& address) {
    in6_addr parsed{};
    return ::inet_pton(AF_INET6, address.substr(0, address.find('%')).c_str(), &parsed) == 1;
}

// In which IPv6 stands in brackets.
std::string endpointOf(const std::string& address) {
    return "tcp://" + (isIpv6(address) ? "[" + address + "]" : address) + ":" + wire::parserPort;
}

std::string namesOf(wire::TopicBits bits) {
    std::string names;
    for (const wire::Topic& topic : wire::topics) {
        if ((bits & topic.bit) != 0) {
            names += " ";
            names += topic.name;
        }
    }
    return names.empty() ? " nothing" : names;
}

} // namespace

// Ends a context, but for what zmq::context_t's own destructor does: that one waits on when a signal comes
// while the sockets still send. Here the wait ends with the signal, and the end of the process does the rest.
struct Publisher::EndContext {
    void operator()(zmq::context_t* context) const {
        zmq_ctx_term(context->handle());
        ::operator delete(context);
    }
};

// Everything that must be closed, in the order of opening.
struct Publisher::Sockets {
    std::size_t descriptors = descriptorsForClients(); // before libzmq takes some, and ends without
    companions::LockFile lock{lockFile, lockWords};
    std::unique_ptr<zmq::context_t, EndContext> context{new zmq::context_t};
    zmq::socket_t records{*context, zmq::socket_type::xpub};
    InstructionChannel instructions{*context};
    ConnectionGuard guard{*context, records, recordLimits(descriptors), "the records"};
    ConnectionGuard instructionGuard{*context, instructions.socket(), instructionLimits(descriptors),
                                     "the instruction endpoint"};
    SlowClient slowClient;

    Sockets(SlowClient kind, const std::string& endpoint) : slowClient(kind) {
        // What was published last still goes out, to whoever reads. Said at the opening: a connection that
        // breaks just before the closing would else wait for ever for a reader, and the end with it.
        records.set(zmq::sockopt::linger, inMilliseconds(tunables::closePatience));
        instructions.socket().set(zmq::sockopt::linger, inMilliseconds(tunables::closePatience));
        const bool waits = slowClient == SlowClient::isWaitedFor;
        records.set(zmq::sockopt::xpub_manual, true); // a subscription counts when acceptClients says so
        records.set(zmq::sockopt::maxmsgsize, longestClientMessage);
        endTheSilent(records);
        endTheSilent(instructions.socket());
        instructions.socket().set(zmq::sockopt::maxmsgsize, longestInstruction);
        instructions.socket().set(zmq::sockopt::rcvhwm, tunables::instructionQueue);
        records.set(zmq::sockopt::rcvhwm, tunables::subscriptionQueue);
        records.set(zmq::sockopt::rcvbuf, tunables::subscriptionBuffer);
        records.set(zmq::sockopt::sndhwm, waits ? waitingSendQueue : sendQueue);
        records.set(zmq::sockopt::sndtimeo, inMilliseconds(tunables::changeInterval));
        records.set(zmq::sockopt::ipv6, endpoint.find('[') != std::string::npos);
        bindRecords(records, endpoint);
        bindInstructions(instructions.socket());
    }
    // Sends the first part of a message. Returns false when a client that is waited for has no room for it.
    // Whoever is left behind misses messages until it has read what it has.
    bool sendFirst(const wire::Topic& topic, bool leavesBehind) {
        const bool waits = slowClient == SlowClient::isWaitedFor;
        records.set(zmq::sockopt::xpub_nodrop, waits && !leavesBehind);
        return zmq_send(records.handle(), topic.name, std::strlen(topic.name), ZMQ_SNDMORE) >= 0;
    }

    Sockets(const Sockets&) = delete;
    Sockets& operator=(const Sockets&) = delete;
    ~Sockets() {
        if (slowClient == SlowClient::isWaitedFor && !stopRequested()) {
            const int patience = inMilliseconds(tunables::slowClientPatience);
            zmq_setsockopt(records.handle(), ZMQ_LINGER, &patience, sizeof patience);
        }
    }
};

Publisher::Publisher(const PublishOptions& options)
    : endpoint_(endpointOf(options.address)), interval_(options.interval),
      published_(std::make_unique<wire::RecordSet>()) {
    const companions::OwnerOf owner(wire::directory, cannotGoOn);
    sockets_ = std::make_unique<Sockets>(options.slowClient, endpoint_);
}

Publisher::~Publisher() = default;

// What a flood has left is taken turn by turn without a pause, for a client may wait behind it.
void Publisher::attend(std::chrono::milliseconds longest, int descriptor, const Now& now) {
    const bool taken = subscriptionsLeft_;
    if (taken) {
        takeSubscriptions();
        longest = std::chrono::milliseconds(0);
    }
    if ((serve(longest, descriptor) || taken) && !joinDue_) {
        joinDue_ = now() + tunables::joinPause;
    }
}

void Publisher::awaitClient() {
    while (!clientReady() && !stopRequested()) {
        serve(tunables::changeInterval, -1);
        acceptClients();
    }
}

bool Publisher::serve(std::chrono::milliseconds longest, int descriptor) {
    const auto end = std::chrono::steady_clock::now() + longest;
    auto left = longest;
    Served served = serveOnce(left, descriptor);
    while (served == Served::connections && left.count() > 0) {
        left = std::max(std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now()),
                        std::chrono::milliseconds(0));
        served = serveOnce(left, descriptor);
    }
    return served == Served::clients;
}

Publisher::Served Publisher::serveOnce(std::chrono::milliseconds longest, int descriptor) {
    std::array<zmq_pollitem_t, 5> items{{{sockets_->instructions.socket().handle(), 0, ZMQ_POLLIN, 0},
                                         {nullptr, descriptor, ZMQ_POLLIN, 0},
                                         {sockets_->guard.events().handle(), 0, ZMQ_POLLIN, 0},
                                         {sockets_->instructionGuard.events().handle(), 0, ZMQ_POLLIN, 0},
                                         {sockets_->records.handle(), 0, ZMQ_POLLIN, 0}}};
    if (descriptor < 0) { // polled twice instead of not at all: the order of the items stays
        items[1] = items[0];
    }
    const int watched = subscriptionsWait_ ? 4 : 5;
    if (zmq_poll(items.data(), watched, static_cast<long>(longest.count())) <= 0) {
        return Served::nothing;
    }
    sockets_->guard.look();
    sockets_->instructionGuard.look();
    const bool instructed = (items[0].revents & ZMQ_POLLIN) != 0 && takeInstruction();
    const bool subscribed = (items[4].revents & ZMQ_POLLIN) != 0;
    subscriptionsWait_ = subscriptionsWait_ || subscribed;
    if (instructed || subscribed) {
        return Served::clients;
    }
    const bool came = ((items[0].revents | items[1].revents) & ZMQ_POLLIN) != 0;
    return came ? Served::nothing : Served::connections;
}

// Whatever is no word has been replied to as well, so that the client may send the next one.
bool Publisher::takeInstruction() {
    const auto instruction = sockets_->instructions.take();
    if (!instruction) {
        return false;
    }
    if (!instruction->usable()) {
        say("cannot use an instruction: expected 2 bytes, got " +
            (instruction->parts > 1 ? std::to_string(instruction->parts) + " parts"
                                    : std::to_string(instruction->length)) +
            "; the topics stay as they were");
        return true;
    }
    const auto bits = wire::topicBits(instruction->word);
    if (bits != requested_) {
        say("publishing" + namesOf(bits));
    }
    requested_ = bits;
    return true;
}

// Subscriptions that arrived together count together, between two rounds. With each message libzmq gives the
// client that a subscription now is for. A client may also send what is no subscription. Behind such a
// message libzmq gives the clients too early, each with a message before its own, until none waits: whoever
// is given then gets every topic, because it may be any of those that subscribe, and a subscriber drops what
// it did not ask for.
void Publisher::acceptClients() {
    subscriptionsWait_ = false;
    joinDue_.reset();
    takeSubscriptions();
}

void Publisher::takeSubscriptions() {
    sockets_->guard.look();
    const auto now = std::chrono::steady_clock::now();
    zmq::message_t message;
    for (int k = 0; k < tunables::subscriptionsATurn && !stopRequested(); ++k) {
        if (zmq_msg_recv(message.handle(), sockets_->records.handle(), ZMQ_DONTWAIT) < 0) {
            clientKnown_ = true;
            subscriptionsLeft_ = false;
            sockets_->guard.queueEmpty();
            return;
        }
        const std::string_view text = message.to_string_view();
        const bool useless = text.starts_with('\1') && !selectsAny(text.substr(1));
        sockets_->guard.count(message, useless ? std::max(text.size(), tunables::leastSubscriptionBytes) : 0,
                              now);
        takeSubscription(text);
    }
    subscriptionsLeft_ = true;
}

void Publisher::takeSubscription(std::string_view text) {
    const bool joins = text.starts_with('\1');
    const bool leaves = text.starts_with('\0');
    clientKnown_ = clientKnown_ && (joins || leaves);
    if (!clientKnown_) {
        sockets_->records.set(zmq::sockopt::subscribe, "");
    }
    if ((joins || leaves) && selectsAny(text.substr(1))) {
        countSubscription(text.substr(1), joins);
        if (clientKnown_) {
            const std::string topic(text.substr(1));
            joins ? sockets_->records.set(zmq::sockopt::subscribe, topic)
                  : sockets_->records.set(zmq::sockopt::unsubscribe, topic);
        }
    }
}

void Publisher::countSubscription(std::string_view topic, bool joins) {
    int& count = subscriptions_[std::string(topic)];
    count = std::max(0, count + (joins ? 1 : -1));
    if (count == 0) {
        subscriptions_.erase(std::string(topic));
    }
}

bool Publisher::subscribed(std::string_view topic) const {
    return std::ranges::any_of(subscriptions_,
                               [topic](const auto& entry) { return selects(entry.first, topic); });
}

bool Publisher::clientReady() const {
    return requested_ != 0 && std::ranges::all_of(wire::topics, [this](const wire::Topic& topic) {
               return (requested_ & topic.bit) == 0 || subscribed(topic.name);
           });
}

std::chrono::milliseconds Publisher::untilDue(Instant now) const {
    const Instant next = std::min({nextRound_, nextComparison_, joinDue_.value_or(nextRound_)});
    return std::max(std::chrono::ceil<std::chrono::milliseconds>(next - now), std::chrono::milliseconds(0));
}

void Publisher::publish(const wire::RecordSet& records, Instant now) {
    if (now >= nextRound_ || clientJoined(now)) {
        publishRound(records, wire::allTopicBits, now);
        return;
    }
    if (now < nextComparison_) {
        return;
    }
    nextComparison_ = now + tunables::changeInterval;
    for (const wire::Topic& topic : roundOrder) {
        const auto fresh = bytesOf(topic, records);
        if (!std::ranges::equal(fresh, bytesOf(topic, *published_))) {
            publishTopic(topic, fresh);
        }
    }
}

bool Publisher::clientJoined(Instant now) const {
    return joinDue_ && now >= *joinDue_;
}

void Publisher::publishRound(const wire::RecordSet& records, wire::TopicBits known, Instant now) {
    if (clientJoined(now)) { // not one that still subscribes: it would miss topics of this round
        acceptClients();
    }
    for (const wire::Topic& topic : roundOrder) {
        if ((known & topic.bit) != 0) {
            publishTopic(topic, bytesOf(topic, records));
        }
    }
    nextRound_ = now + interval_ - std::min(interval_ / 2, tunables::publishMargin);
    nextComparison_ = now + tunables::changeInterval;
}

// A client that asks for the PAT alone is done with its requests, and reads when it has the next one.
std::chrono::milliseconds Publisher::patience() const {
    return requested_ == wire::patBit ? tunables::restingPatience : tunables::readingPatience;
}

// Three parts: topic, a running number of at most 10 digits, record.
void Publisher::publishTopic(const wire::Topic& topic, std::span<const std::uint8_t> record) {
    if ((requested_ & topic.bit) == 0 || !sendTopic(topic)) {
        return;
    }
    const std::string number = std::to_string(sequence_++);
    zmq_send(sockets_->records.handle(), number.data(), number.size(), ZMQ_SNDMORE);
    zmq_send(sockets_->records.handle(), record.data(), record.size(), 0);
    std::copy(record.begin(), record.end(), reinterpret_cast<std::uint8_t*>(published_.get()) + topic.offset);
}

// Only the first part of a message can meet a full queue. While a client is waited for, it may instruct: it
// might read on only when it has the reply.
bool Publisher::sendTopic(const wire::Topic& topic) {
    const auto start = std::chrono::steady_clock::now();
    while (!sockets_->sendFirst(topic, std::chrono::steady_clock::now() - start >= patience())) {
        sockets_->guard.look();
        sockets_->instructionGuard.look();
        if (takeInstruction()) {
            joinDue_ = joinDue_.value_or(Instant(0)); // its round follows at once
        }
        if (stopRequested() || (requested_ & topic.bit) == 0) {
            return false;
        }
    }
    return true;
}

} // namespace board
