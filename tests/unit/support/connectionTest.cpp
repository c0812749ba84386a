// Connections between real sockets: the service's ends are watched, the peers come, go and break the
// protocol.
#include "support/connection.h"
#include "support/scriptedPeers.h"
#include "support/sockets.h"
#include "support/zmqFaults.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

using namespace zmqFaults;
using testing::ElementsAre;

namespace {

constexpr const char* endpoint = "ipc:///run/shm/zmq/connectionTest";
constexpr std::string_view request = "request";

using Clock = std::chrono::steady_clock;

} // namespace

class Connections : public PeersTest {
  protected:
    Connections() : context(zmq_ctx_new()), socket(opened(ZMQ_REQ)) {}

    void* opened(int type) {
        void* made = zmq_socket(context, type);
        EXPECT_EQ(connectSocket(context, made, endpoint), 0);
        return made;
    }

    // A peer with a context of its own: the endpoint is free when it has gone.
    struct Peer {
        PeerSockets sockets;
        void* socket;
        explicit Peer(int type) : socket(sockets.bind(type, endpoint)) {}

        // What tells of each connection that is over.
        void* refusals() {
            constexpr const char* name = "inproc://refusals";
            EXPECT_EQ(__real_zmq_socket_monitor(socket, name, ZMQ_EVENT_DISCONNECTED), 0);
            return sockets.connect(ZMQ_PAIR, name);
        }
    };

    void send(RequestLife life) {
        sendRequest(socket, request.data(), request.size(), life);
    }

    // Waits as the service does until this holds; false when it does not within 5 s.
    bool waitUntil(void* requester, const std::function<bool()>& holds) {
        const auto end = Clock::now() + std::chrono::seconds(5);
        while (!holds()) {
            if (Clock::now() > end) {
                return false;
            }
            waitReadable(socket, 10, requester);
        }
        return true;
    }

    static std::optional<std::string> heardBy(Peer& peer) {
        char text[20] = "";
        const int length = __real_zmq_recv(peer.socket, text, sizeof text, ZMQ_DONTWAIT);
        return length < 0 ? std::nullopt : std::optional(std::string(text, static_cast<std::size_t>(length)));
    }

    bool isHeardBy(Peer& peer, void* requester) {
        return waitUntil(requester, [&] { return heardBy(peer) == request; });
    }

    // How often the connection has been made.
    std::size_t connectionsMade() const {
        const auto connected = endpointsConnected();
        return static_cast<std::size_t>(std::ranges::count(connected, endpoint));
    }

    void* context;
    void* socket;
};

TEST_F(Connections, APeerThatStaysIsConnectedToOnce) {
    Peer peer(ZMQ_REP);
    send(RequestLife::oncePeer);
    EXPECT_TRUE(isHeardBy(peer, nullptr));
    PeerSockets::send(peer.socket, "reply");
    EXPECT_TRUE(waitUntil(nullptr, [&] { return waitReadable(socket, 10, nullptr) == 1; }));
    EXPECT_EQ(connectionsMade(), 1U);
}

TEST_F(Connections, APeerOfTheWrongTypeIsTriedAgainUntilItIsReplaced) {
    {
        Peer wrong(ZMQ_PUSH);
        EXPECT_TRUE(waitUntil(nullptr, [&] { return connectionsMade() > 3; }));
    }
    Peer peer(ZMQ_REP);
    send(RequestLife::oncePeer);
    EXPECT_TRUE(isHeardBy(peer, nullptr));
}

// libzmq ends the connection between the empty first part of a request and its text, and would go on with the
// text on the next one: no REP socket takes that for a request.
class BrokenOff : public Connections, public testing::WithParamInterface<RequestLife> {
  protected:
    // Each send gives libzmq's own thread the time to end the connection.
    BrokenOff() {
        closeSocketNow(socket);
        hooks.insideSend = [this] {
            ++looks;
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
        };
    }

    int looks = 0;
};

TEST_P(BrokenOff, ARequestReachesTheNextPeerWhole) {
    for (int round = 0; round < 5; ++round) {
        {
            Peer wrong(ZMQ_PUSH);
            void* refusals = wrong.refusals();
            socket = opened(ZMQ_REQ);
            PeerSockets::receive(refusals);
        }
        send(GetParam());
        Peer peer(ZMQ_REP);
        EXPECT_TRUE(isHeardBy(peer, socket));
        closeSocketNow(socket);
    }
    EXPECT_GE(looks, 5);
}

INSTANTIATE_TEST_SUITE_P(InItsMiddle, BrokenOff,
                         testing::Values(RequestLife::oncePeer, RequestLife::untilReplaced),
                         [](const auto& life) {
                             return life.param == RequestLife::oncePeer ? "ForOnePeer" : "UntilReplaced";
                         });

TEST_F(Connections, APeerOfTheWrongTypeIsTriedNoMoreThanTenTimesASecond) {
    Peer wrong(ZMQ_PUSH);
    send(RequestLife::untilReplaced);
    const auto start = Clock::now();
    EXPECT_TRUE(waitUntil(socket, [&] { return connectionsMade() == 6; }));
    EXPECT_GE(Clock::now() - start, std::chrono::milliseconds(4 * 100));
}

TEST_F(Connections, ARequestThatNoPeerHasTakenIsForTheNext) {
    {
        Peer wrong(ZMQ_PUSH);
        send(RequestLife::oncePeer);
        EXPECT_TRUE(waitUntil(nullptr, [&] { return connectionsMade() > 2; }));
    }
    Peer peer(ZMQ_REP);
    EXPECT_TRUE(isHeardBy(peer, nullptr));
}

TEST_F(Connections, ARequestForOnePeerIsNotSentAgainWhenThatHasTakenIt) {
    const int relaxed = 1;
    zmq_setsockopt(socket, ZMQ_REQ_RELAXED, &relaxed, sizeof relaxed);
    {
        Peer peer(ZMQ_REP);
        send(RequestLife::oncePeer);
        EXPECT_TRUE(isHeardBy(peer, nullptr));
        waitReadable(socket, 100, nullptr);
    }
    {
        Peer wrong(ZMQ_PUSH); // makes it connect anew
        EXPECT_TRUE(waitUntil(nullptr, [&] { return connectionsMade() > 1; }));
    }
    Peer next(ZMQ_REP);
    settleRequest(socket);
    constexpr std::string_view other = "other";
    sendRequest(socket, other.data(), other.size(), RequestLife::oncePeer);
    std::optional<std::string> heard;
    EXPECT_TRUE(waitUntil(nullptr, [&] { return (heard = heardBy(next)).has_value(); }));
    EXPECT_EQ(heard, other);
}

TEST_F(Connections, ARequestInForceIsSentToThePeerInThePlaceOfTheOneThatHadIt) {
    {
        Peer peer(ZMQ_REP);
        send(RequestLife::untilReplaced);
        EXPECT_TRUE(isHeardBy(peer, socket));
        PeerSockets::send(peer.socket, "reply");
        EXPECT_EQ(receivePart(socket, nullptr, 0, socket), 5);
        noteReply(socket);
    }
    Peer next(ZMQ_REP);
    EXPECT_TRUE(isHeardBy(next, socket));
    EXPECT_TRUE(replyIsOwed(socket));
}

TEST_F(Connections, ARequestInForceIsNotSentAgainWhileNobodyWaitsForIt) {
    {
        Peer peer(ZMQ_REP);
        send(RequestLife::untilReplaced);
        EXPECT_TRUE(isHeardBy(peer, nullptr));
        PeerSockets::send(peer.socket, "reply");
        EXPECT_EQ(receivePart(socket, nullptr, 0), 5);
        noteReply(socket);
    }
    Peer next(ZMQ_REP);
    for (int step = 0; step < 50; ++step) {
        waitReadable(socket, 10, nullptr);
        EXPECT_EQ(heardBy(next), std::nullopt);
    }
    EXPECT_EQ(connectionsMade(), 1U);
    EXPECT_TRUE(isHeardBy(next, socket)) << "but as soon as somebody does";
}

TEST_F(Connections, AWaitEndsWhenItsTimeIsOver) {
    const auto start = Clock::now();
    while (waitReadable(socket, 50, nullptr) == 0 && Clock::now() - start < std::chrono::milliseconds(50)) {
    }
    EXPECT_LT(Clock::now() - start, std::chrono::seconds(2));
}

TEST_F(Connections, ASignalEndsAWaitWithoutAnError) {
    hooks.insteadOfPoll = [](zmq_pollitem_t*, int, long) {
        errno = EINTR;
        return -1;
    };
    EXPECT_EQ(waitReadable(socket, withoutLimit, nullptr), 0);
}

TEST_F(Connections, ASocketThatCannotBeWaitedForIsAnError) {
    hooks.insteadOfPoll = [](zmq_pollitem_t*, int, long) {
        errno = ETERM;
        return -1;
    };
    EXPECT_EQ(waitReadable(socket, withoutLimit, nullptr), -1);
}

TEST_F(Connections, ASocketThatWasConnectedElsewhereIsUsedAsItIs) {
    PeerSockets peers;
    void* near = peers.bind(ZMQ_REP, "inproc://elsewhere");
    void* far = peers.connect(ZMQ_REQ, "inproc://elsewhere");
    sendRequest(far, request.data(), request.size(), RequestLife::oncePeer);
    EXPECT_FALSE(replyIsOwed(far));
    noteReply(far);
    settleRequest(far);
    stopWatching(far);
    reconnect(far, endpoint);
    EXPECT_EQ(PeerSockets::receive(near), request);
}

TEST_F(Connections, MoreOfThemThanTheServiceHasAreConnectedAllTheSame) {
    std::vector<void*> more;
    for (int k = 0; k < 8; ++k) {
        more.push_back(opened(ZMQ_DEALER));
    }
    EXPECT_EQ(connectionsMade(), 9U);
    for (void* one : more) {
        closeSocketNow(one);
    }
    EXPECT_EQ(openSockets(), 1);
}

TEST_F(Connections, SignalsDoNotHideWhatHappensToAConnection) {
    for (int call = 1; call < 20; call += 2) {
        failCall(Call::monitorReceive, call, EINTR);
    }
    {
        Peer peer(ZMQ_REP);
        send(RequestLife::untilReplaced);
        EXPECT_TRUE(isHeardBy(peer, socket));
    }
    Peer next(ZMQ_REP);
    EXPECT_TRUE(isHeardBy(next, socket));
}

// A monitor that cannot be had, at each call that it takes.
class UnwatchedConnection : public Connections, public testing::WithParamInterface<Call> {};

TEST_P(UnwatchedConnection, ServesAllTheSameAndLeavesNothingBehind) {
    const int monitors = openMonitors();
    failCall(GetParam(), 1, EMFILE);
    void* unwatched = opened(ZMQ_REQ);
    EXPECT_EQ(openMonitors(), monitors);
    Peer peer(ZMQ_REP);
    sendRequest(unwatched, request.data(), request.size(), RequestLife::untilReplaced);
    EXPECT_TRUE(replyIsOwed(unwatched));
    EXPECT_TRUE(isHeardBy(peer, unwatched));
    PeerSockets::send(peer.socket, "reply");
    EXPECT_EQ(receivePart(unwatched, nullptr, 0, unwatched), 5);
    closeSocketNow(unwatched);
    EXPECT_EQ(openSockets(), 1);
    EXPECT_EQ(openMonitors(), monitors);
}

INSTANTIATE_TEST_SUITE_P(WithoutIts, UnwatchedConnection,
                         testing::Values(Call::monitor, Call::monitorSocketNew, Call::monitorConnect),
                         [](const auto& call) {
                             return std::string(call.param == Call::monitor            ? "Monitor"
                                                : call.param == Call::monitorSocketNew ? "ReadingEnd"
                                                                                       : "Junction");
                         });
