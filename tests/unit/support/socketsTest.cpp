#include "support/sockets.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"

#include <cerrno>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using namespace zmqFaults;

class Sockets : public testing::Test {
  protected:
    Sockets() {
        forgetEverything();
    }

    ~Sockets() override {
        forgetEverything();
    }

    PeerSockets peers;
    void* near = peers.bind(ZMQ_PAIR, "inproc://sockets");
    void* far = peers.connect(ZMQ_PAIR, "inproc://sockets");
};

TEST_F(Sockets, APartIsReceivedWithItsLength) {
    PeerSockets::send(far, "part");
    char buffer[10] = "";
    EXPECT_EQ(receivePart(near, buffer, sizeof buffer), 4);
    EXPECT_STREQ(buffer, "part");
}

TEST_F(Sockets, ALongPartIsCutAndItsFullLengthReturned) {
    PeerSockets::send(far, "a long part");
    char buffer[8] = "";
    EXPECT_EQ(receivePart(near, buffer, 6), 11);
    EXPECT_STREQ(buffer, "a long");
}

TEST_F(Sockets, SignalsDoNotEndAWait) {
    PeerSockets::send(far, "part");
    failCall(Call::receive, 1, EINTR);
    failCall(Call::receive, 2, EINTR);
    char buffer[10] = "";
    EXPECT_EQ(receivePart(near, buffer, sizeof buffer), 4);
}

TEST_F(Sockets, OtherErrorsEndAWait) {
    failCall(Call::receive, 1, ETERM);
    char buffer[10] = "";
    EXPECT_EQ(receivePart(near, buffer, sizeof buffer), -1);
}

TEST_F(Sockets, APartThatCannotBeReceivedIsTheLastThatIsDropped) {
    PeerSockets::send(far, "first", ZMQ_SNDMORE);
    PeerSockets::send(far, "second");
    char buffer[10] = "";
    EXPECT_EQ(receivePart(near, buffer, sizeof buffer), 5);
    failCall(Call::receive, 1, ETERM);
    dropFurtherParts(near);
    EXPECT_EQ(callsOf(Call::receive), 2U);
}

TEST_F(Sockets, SignalsDoNotKeepAContextFromItsEnd) {
    void* context = zmq_ctx_new();
    failCall(Call::contextEnd, 1, EINTR);
    failCall(Call::contextEnd, 2, EINTR);
    destroyContext(context);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(openContexts(), 0);
}

TEST_F(Sockets, ASocketIsClosedAtOnceAndForgotten) {
    void* context = zmq_ctx_new();
    void* socket = zmq_socket(context, ZMQ_REQ);
    closeSocketNow(socket);
    EXPECT_EQ(socket, nullptr);
    EXPECT_THAT(lingersAtClose(), testing::ElementsAre(0));
    destroyContext(context);
    EXPECT_EQ(context, nullptr);
    EXPECT_EQ(openContexts(), 0);
}

TEST_F(Sockets, ASocketThatIsNotOpenIsLeftAlone) {
    void* socket = nullptr;
    closeSocketNow(socket);
    EXPECT_THAT(lingersAtClose(), testing::IsEmpty());
}
