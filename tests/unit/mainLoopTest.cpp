// The loop as Trufios and the console see it. It has no end: the tests leave it by an exception out of its
// poll when Trufios has no more requests.
#include "mainLoop.h"
#include "support/console.h"
#include "support/sessionStream.h"
#include "support/zmqFaults.h"

#include <cerrno>
#include <cstdio>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <string>

using namespace zmqFaults;

namespace {

const std::string channelsOpened = "Connect mpegFE REQ to Trufios REP OK\n"
                                   "Connect Trufios REQ to mpegFE REP OK\n";
const std::string unrecognised = "Illegal Client MPEG Request: \n"
                                 "Client Request not recognized\n";
const std::string acknowledged = "> reply {\"reply\": \"ack\"}\n";

std::string version() {
    int major = 0;
    int minor = 0;
    int patch = 0;
    zmq_version(&major, &minor, &patch);
    return "MPEGFE ZMQ Version " + std::to_string(major) + '.' + std::to_string(minor) + '.' +
           std::to_string(patch) + "\n";
}

std::string parseErrors(const std::string& text, int position) {
    return "Media mepgFE parse error string " + text + " \n" + "Media mepgFE parse error source <string> \n" +
           "Media mepgFE parse position " + std::to_string(position) + " \n";
}

} // namespace

class MainLoop : public StreamTest {
  protected:
    MainLoop() {
        hooks.insteadOfPoll = [this](zmq_pollitem_t* items, int count, long timeout) {
            EXPECT_EQ(timeout, 5000);
            EXPECT_EQ(items[0].events, ZMQ_POLLIN);
            for (int item = 0; item < count; ++item) {
                items[item].revents = 0;
            }
            if (turns.empty()) {
                throw ScriptEnded{};
            }
            const auto turn = turns.front();
            turns.pop_front();
            return turn(items);
        };
        hooks.afterSend = [this, others = hooks.afterSend](void* socket, const std::string& endpoint,
                                                           const std::string& bytes) {
            if (endpoint == "ipc:///run/shm/zmq/uRO_MMR_MpegFE") {
                std::printf("> reply %s\n", PeerSockets::receive(requests).c_str());
            } else {
                others(socket, endpoint, bytes);
            }
        };
    }

    // The next poll finds this request, of one part or of several.
    void requestNext(const Message& parts) {
        turns.emplace_back([this, parts](zmq_pollitem_t* requestItem) {
            for (std::size_t part = 0; part < parts.size(); ++part) {
                PeerSockets::send(requests, parts[part], part + 1 < parts.size() ? ZMQ_SNDMORE : 0);
            }
            return __real_zmq_poll(requestItem, 1, 10000);
        });
    }

    // The next poll returns this and finds nothing.
    void nothingNext(int result, int errorNumber = 0) {
        turns.emplace_back([=](zmq_pollitem_t*) {
            errno = errorNumber;
            return result;
        });
    }

    // What the loop prints from its start until Trufios has no more requests, without the silence at the end.
    std::string run() {
        std::string console = consoleOf([] { runMainLoop(); });
        const std::string silence = "> the peers fall silent\n";
        EXPECT_TRUE(console.ends_with(silence));
        return console.substr(0, console.size() - silence.size());
    }

    // The same without what the start prints.
    std::string served() {
        const std::string console = run();
        const std::string start = version() + channelsOpened;
        EXPECT_TRUE(console.starts_with(start)) << console;
        return console.substr(start.size());
    }

    PeerSockets client;
    void* requests = client.bind(ZMQ_REQ, "ipc:///run/shm/zmq/uRO_MMR_MpegFE");
    // Each takes the item of the request channel; those behind it are libzmq's own events.
    std::deque<std::function<int(zmq_pollitem_t*)>> turns;
};

TEST_F(MainLoop, StartsWithTheVersionAndTheChannels) {
    EXPECT_EQ(run(), version() + channelsOpened);
}

TEST_F(MainLoop, APollThatFindsNothingIsRepeatedAndNothingElseHappens) {
    nothingNext(0);
    nothingNext(0);
    nothingNext(-1, EINTR);
    nothingNext(0);
    EXPECT_EQ(served(), "");
    EXPECT_EQ(callsOf(Call::receive), 0U);
}

TEST_F(MainLoop, ARequestIsAcknowledgedBeforeItIsDispatched) {
    requestNext({R"({"dataStream": "pidData", "status": "off"})"});
    EXPECT_EQ(served(), acknowledged + "sendMpegData Entered\n"
                                       "Send MPEG Stop reply ACK to Client\n"
                                       "Send Stop Topics Instructions to Parser 1\n"
                                       "Stop MPEG, Wait for new Command\n"
                                       "Exit MPEG Processing\n");
}

TEST_F(MainLoop, ARequestThatIsNoJsonIsAcknowledgedShownAndRefused) {
    requestNext({"xyz"});
    EXPECT_EQ(served(), acknowledged + parseErrors("'[' or '{' expected near 'xyz'", 3) + unrecognised);
}

TEST_F(MainLoop, AnEmptyRequestIsAcknowledgedShownAndRefused) {
    requestNext({""});
    EXPECT_EQ(served(), acknowledged + parseErrors("'[' or '{' expected near end of file", 0) + unrecognised);
}

TEST_F(MainLoop, ARefusedRequestIsFollowedByTheNext) {
    requestNext({R"({"dataStream": "BAT", "status": "on"})"});
    nothingNext(0);
    requestNext({R"({"dataStream": "PAT", "status": "maybe"})"});
    requestNext({"{"});
    requestNext({R"({"dataStream": "TDT", "status": "off"})"});
    EXPECT_EQ(served(), acknowledged + "Illegal Client MPEG Request: BAT\nClient Request not recognized\n" +
                            acknowledged + "Illegal StreamType Request Status maybe\n" + acknowledged +
                            parseErrors("string or '}' expected near end of file", 1) + unrecognised +
                            acknowledged +
                            "Stop PSI Request Recognized, send ACK: ack\n"
                            "sendMpegData Entered\n"
                            "Send MPEG Stop reply ACK to Client\n"
                            "Send Stop Topics Instructions to Parser 1\n"
                            "Stop MPEG, Wait for new Command\n"
                            "Exit MPEG Processing\n");
}

TEST_F(MainLoop, WhatFollowsTheObjectInARequestIsIgnored) {
    requestNext({R"({"dataStream": "BAT"} and more)"});
    EXPECT_EQ(served(), acknowledged + "Illegal Client MPEG Request: BAT\nClient Request not recognized\n");
}

TEST_F(MainLoop, RequestsOfUpTo400BytesAreTakenWhole) {
    for (const std::size_t length : {399U, 400U}) {
        const std::string head = R"({"dataStream": ")";
        const std::string name(length - head.size() - 2, 'B');
        requestNext({head + name + "\"}"});
    }
    const std::string served399(399 - 18, 'B');
    EXPECT_EQ(served(), acknowledged + "Illegal Client MPEG Request: " + served399 +
                            "\nClient Request not recognized\n" + acknowledged +
                            "Illegal Client MPEG Request: " + served399 +
                            "B\nClient Request not recognized\n");
}

TEST_F(MainLoop, LongerRequestsAreCutTo400Bytes) {
    requestNext({R"({"dataStream": "BAT"})" + std::string(1000, ' ') + "x"});
    requestNext({R"({"dataStream": "BAT", "padding": ")" + std::string(1000, 'x') + "\"}"});
    const std::string console = served();
    const std::string first =
        acknowledged + "Illegal Client MPEG Request: BAT\nClient Request not recognized\n";
    EXPECT_TRUE(console.starts_with(first + acknowledged + "Media mepgFE parse error string ")) << console;
    EXPECT_TRUE(console.ends_with("Media mepgFE parse error source <string> \n"
                                  "Media mepgFE parse position 400 \n" +
                                  unrecognised))
        << console;
}

TEST_F(MainLoop, FurtherPartsOfARequestAreDroppedBeforeItIsAcknowledged) {
    requestNext({R"({"dataStream": "BAT"})", "second", std::string(1000, 'x'), ""});
    requestNext({R"({"dataStream": "TOT"})"});
    EXPECT_EQ(served(), acknowledged + "Illegal Client MPEG Request: BAT\nClient Request not recognized\n" +
                            acknowledged +
                            "Illegal Client MPEG Request: TOT\nClient Request not recognized\n");
}

TEST_F(MainLoop, AReceiveThatFailsIsNoRequest) {
    requestNext({R"({"dataStream": "BAT"})"});
    failCall(Call::receive, 1, EAGAIN);
    turns.emplace_back([](zmq_pollitem_t* requestItem) { return __real_zmq_poll(requestItem, 1, 10000); });
    EXPECT_EQ(served(), acknowledged + "Illegal Client MPEG Request: BAT\nClient Request not recognized\n");
}

// The feed lives as long as the process, so the test closes it again.
TEST_F(MainLoop, ARequestRunsTheSessionAndTheNextOneFindsItsFeed) {
    parser.publishNext({tdt, pat, tsStatus});
    requestNext({R"({"dataStream": "TDT", "status": "on"})"});
    for (int i = 0; i < 6; ++i) {
        nothingNext(0); // a session that rests does not advance by itself
    }
    requestNext({R"({"dataStream": "TDT", "status": "off"})"});
    EXPECT_EQ(served(),
              acknowledged +
                  "Client Request PSI Request Recognized, send ACK: ack\n"
                  "sendMpegData Entered\n" +
                  feedOpened +
                  "> subscribe MPEG-STRUCT-TDT\n"
                  "> subscribe MPEG-STRUCT-PAT\n"
                  "> subscribe MPEG-STRUCT-TS-STATUS\n"
                  "> instruction of 2 bytes: 025\n" +
                  tdtReceived + patReceived + tsStatusReceived + "Quick capture PSI data req 11 parm 20\n" +
                  documentSent(11,
                               R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{"tableID":"0x70",)"
                               R"("Date:MJD":"0","TOD":"","pidRate":"   0.000Kbps"}})") +
                  "PSI Sent to Client\n"
                  "Update GUI/WEB MPEG Metadata\n" +
                  acknowledged +
                  "Stop PSI Request Recognized, send ACK: ack\n"
                  "sendMpegData Entered\n"
                  "Send MPEG Stop reply ACK to Client\n"
                  "Send Stop Topics Instructions to Parser 1\n"
                  "> instruction of 2 bytes: 001\n" +
                  feedClosed +
                  "Stop MPEG, Wait for new Command\n"
                  "Exit MPEG Processing\n");
}
