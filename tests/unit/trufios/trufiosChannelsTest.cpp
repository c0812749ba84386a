#include "trufios/trufiosChannels.h"
#include "support/console.h"
#include "support/lastWords.h"
#include "support/scriptedPeers.h"
#include "support/zmqFaults.h"
#include "trufios/trufiosReplies.h"

#include <cerrno>
#include <csignal>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

using namespace zmqFaults;
using testing::ElementsAre;
using testing::KilledBySignal;

namespace {

const std::string documentsOpened = "Connect mpegFE REQ to Trufios REP OK\n";
const std::string requestsOpened = "Connect Trufios REQ to mpegFE REP OK\n";

int typeOf(void* socket) {
    int type = -1;
    std::size_t size = sizeof type;
    __real_zmq_getsockopt(socket, ZMQ_TYPE, &type, &size);
    return type;
}

} // namespace

class TrufiosChannelsTest : public PeersTest {
  protected:
    TrufiosChannels channels{};
};

class TrufiosChannelsDeathTest : public TrufiosChannelsTest {
  protected:
    // Runs in the dying process.
    void openAfter(const std::function<void()>& breakSomething) {
        joinConsoleAndErrors();
        breakSomething();
        initMPEGsideofMLC_MPEG_CTX(&channels);
    }

    void openAndCloseAfter(const std::function<void()>& breakSomething) {
        initMPEGsideofMLC_MPEG_CTX(&channels);
        breakSomething();
        closeMPEGsideofMLC_MPEG_CTX(&channels);
    }
};

TEST_F(TrufiosChannelsTest, OpeningConnectsTheDocumentChannelThenTheRequestChannel) {
    EXPECT_EQ(consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); }), documentsOpened + requestsOpened);
    EXPECT_THAT(endpointsConnected(),
                ElementsAre("ipc:///run/shm/zmq/uRO_MpegFE_MMR", "ipc:///run/shm/zmq/uRO_MMR_MpegFE"));
    EXPECT_EQ(typeOf(channels.mpegMstmlc), ZMQ_REQ);
    EXPECT_EQ(typeOf(channels.mlcMstmpeg), ZMQ_REP);
}

TEST_F(TrufiosChannelsTest, DocumentsMayBeSentAfterAnUnansweredOne) {
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    EXPECT_EQ(optionsSet().front(), (OptionSet{ZMQ_REQ_RELAXED, 1, false}));
}

TEST_F(TrufiosChannelsTest, WhatAPeerCanMakeThemHoldIsLimitedBeforeTheyConnect) {
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    EXPECT_THAT(optionsSet(),
                ElementsAre(OptionSet{ZMQ_REQ_RELAXED, 1, false}, OptionSet{ZMQ_MAXMSGSIZE, 65536, false},
                            OptionSet{ZMQ_RCVHWM, 64, false}, OptionSet{ZMQ_MAXMSGSIZE, 65536, false},
                            OptionSet{ZMQ_RCVHWM, 64, false}));
}

TEST_F(TrufiosChannelsTest, ALateAcknowledgementIsDroppedWithTheNextDocument) {
    PeerSockets trufios;
    void* documents = trufios.bind(ZMQ_REP, "ipc:///run/shm/zmq/uRO_MpegFE_MMR");
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    hooks.insteadOfSleep = [](useconds_t) {};
    zmq_send(channels.mpegMstmlc, "first", 5, 0);
    EXPECT_EQ(PeerSockets::receive(documents), "first");
    EXPECT_EQ(consoleOf([&] { EXPECT_EQ(waitReply(channels.mpegMstmlc), replyTimeout); }), "5s Abort\n");

    PeerSockets::send(documents, R"({"reply": "nak", "reason": "late"})");
    zmq_pollitem_t late{channels.mpegMstmlc, 0, ZMQ_POLLIN, 0};
    ASSERT_EQ(__real_zmq_poll(&late, 1, 10000), 1);
    zmq_send(channels.mpegMstmlc, "second", 6, 0);
    EXPECT_EQ(PeerSockets::receive(documents), "second");
    PeerSockets::send(documents, R"({"reply": "ack"})");
    hooks.insteadOfSleep = nullptr;
    EXPECT_EQ(consoleOf([&] { EXPECT_EQ(waitReply(channels.mpegMstmlc), replyAck); }), "");
}

TEST_F(TrufiosChannelsTest, AnAbandonedDocumentThatWasNeverTakenIsNotDelivered) {
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    zmq_send(channels.mpegMstmlc, "abandoned", 9, 0); // Trufios is not there yet
    abandonDocument(channels.mpegMstmlc);
    zmq_send(channels.mpegMstmlc, "next", 4, 0);
    PeerSockets trufios;
    void* documents = trufios.bind(ZMQ_REP, "ipc:///run/shm/zmq/uRO_MpegFE_MMR");
    EXPECT_EQ(PeerSockets::receive(documents), "next");
}

// More than a socket queues: the service would wait for ever if they stayed.
TEST_F(TrufiosChannelsTest, DocumentsThatNobodyTakesNeverBlockTheNext) {
    constexpr int beyondAnyQueue = 1100;
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    for (int document = 0; document < beyondAnyQueue; ++document) {
        ASSERT_EQ(zmq_send(channels.mpegMstmlc, "{}", 2, ZMQ_DONTWAIT), 2) << document;
        abandonDocument(channels.mpegMstmlc);
    }
}

TEST_F(TrufiosChannelsTest, ASocketWithoutAConnectionToTrufiosIsNotConnectedByAbandoning) {
    PeerSockets peers;
    void* near = peers.bind(ZMQ_REP, "inproc://elsewhere");
    void* far = peers.connect(ZMQ_REQ, "inproc://elsewhere");
    abandonDocument(far);
    EXPECT_THAT(endpointsConnected(), testing::IsEmpty());
    PeerSockets::send(far, "still connected");
    EXPECT_EQ(PeerSockets::receive(near), "still connected");
}

TEST_F(TrufiosChannelsTest, ClosingLeavesNothingOpenAndWaitsForNothing) {
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    __real_zmq_send(channels.mpegMstmlc, "nobody takes this", 17, 0);
    EXPECT_EQ(consoleOf([&] { closeMPEGsideofMLC_MPEG_CTX(&channels); }), "");
    EXPECT_EQ(openSockets(), 0);
    EXPECT_EQ(openContexts(), 0);
    EXPECT_THAT(lingersAtClose(), ElementsAre(0, 0));
    EXPECT_EQ(channels.context, nullptr);
    EXPECT_EQ(channels.mpegMstmlc, nullptr);
    EXPECT_EQ(channels.mlcMstmpeg, nullptr);
}

TEST_F(TrufiosChannelsTest, TheDocumentChannelIsClosedFirst) {
    consoleOf([&] { initMPEGsideofMLC_MPEG_CTX(&channels); });
    std::vector<void*> closed;
    hooks.beforeClose = [&](void* socket) { closed.push_back(socket); };
    const std::vector<void*> opened{channels.mpegMstmlc, channels.mlcMstmpeg};
    closeMPEGsideofMLC_MPEG_CTX(&channels);
    EXPECT_EQ(closed, opened);
}

TEST_F(TrufiosChannelsDeathTest, OpeningNothingIsReported) {
    EXPECT_EXIT(
        initMPEGsideofMLC_MPEG_CTX(nullptr), KilledBySignal(SIGABRT),
        lastWordsAre(
            "unitTests: main:98: initMPEGsideofMLC_MPEG_CTX: Assertion `vtx != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, AMissingContextIsReported) {
    EXPECT_EXIT(openAfter([] { failCall(Call::contextNew, 1, EMFILE); }), KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:100: initMPEGsideofMLC_MPEG_CTX: "
                             "Assertion `vtx->context != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, AMissingDocumentSocketIsReported) {
    EXPECT_EXIT(openAfter([] { failCall(Call::socketNew, 1, EMFILE); }), KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:102: initMPEGsideofMLC_MPEG_CTX: "
                             "Assertion `vtx->mpegMstmlc != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ADocumentChannelThatCannotConnectIsReportedWithItsReason) {
    EXPECT_EXIT(
        openAfter([] { failCall(Call::connect, 1, EINVAL); }), KilledBySignal(SIGABRT),
        lastWordsAre("mpegFE to IntermediateMR connect failed -1 Invalid argument\n"
                     "unitTests: main:105: initMPEGsideofMLC_MPEG_CTX: Assertion `rc == 0' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, AMissingRequestSocketIsReported) {
    EXPECT_EXIT(openAfter([] { failCall(Call::socketNew, 2, EMFILE); }), KilledBySignal(SIGABRT),
                lastWordsAre(documentsOpened + "unitTests: main:109: initMPEGsideofMLC_MPEG_CTX: "
                                               "Assertion `vtx->mlcMstmpeg != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ARequestChannelThatCannotConnectIsReportedWithItsReason) {
    EXPECT_EXIT(
        openAfter([] { failCall(Call::connect, 2, ENOENT); }), KilledBySignal(SIGABRT),
        lastWordsAre(documentsOpened +
                     "Trufios to mpegFE connect failed -1 No such file or directory\n"
                     "unitTests: main:112: initMPEGsideofMLC_MPEG_CTX: Assertion `rc == 0' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ClosingNothingIsReported) {
    EXPECT_EXIT(
        closeMPEGsideofMLC_MPEG_CTX(nullptr), KilledBySignal(SIGABRT),
        lastWordsAre(
            "unitTests: main:120: closeMPEGsideofMLC_MPEG_CTX: Assertion `vtx != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ClosingWithoutAContextIsReported) {
    EXPECT_EXIT(openAndCloseAfter([&] { channels.context = nullptr; }), KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:121: closeMPEGsideofMLC_MPEG_CTX: "
                             "Assertion `vtx->context != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ClosingWithoutADocumentSocketIsReported) {
    EXPECT_EXIT(openAndCloseAfter([&] { channels.mpegMstmlc = nullptr; }), KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:122: closeMPEGsideofMLC_MPEG_CTX: "
                             "Assertion `vtx->mpegMstmlc != ((void *)0)' failed.\n"));
}

TEST_F(TrufiosChannelsDeathTest, ClosingWithoutARequestSocketIsReported) {
    EXPECT_EXIT(openAndCloseAfter([&] { channels.mlcMstmpeg = nullptr; }), KilledBySignal(SIGABRT),
                lastWordsAre("unitTests: main:123: closeMPEGsideofMLC_MPEG_CTX: "
                             "Assertion `vtx->mlcMstmpeg != ((void *)0)' failed.\n"));
}
