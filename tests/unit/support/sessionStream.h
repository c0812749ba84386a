// A small stream with a session before it: what the parser publishes of it, and what the console shows.
#pragma once

#include "feed/feedChannels.h"
#include "mpegSession.h"
#include "serviceNames.h"
#include "support/scriptedPeers.h"

#include <string>

// The stream has the PIDs 0, 17 and 256, one program with its PMT on PID 256, and one service in its SDT.
class StreamTest : public PeersTest {
  protected:
    StreamTest();

    // Opens the feed and subscribes as an earlier call would have left it, without a trace in the transcript.
    void openFeed(std::initializer_list<Topic> subscribed);

    // The transcript of a call of sendMpegData.
    std::string run();

    ScriptedParser parser;
    ScriptedTrufios trufios;
    MpegSession session{};
    FeedContext feed{};

    // Messages as the parser publishes them.
    Message pat;
    Message pmt;
    Message tsStatus;
    Message sdt;
    Message avPgm;
    Message cat;
    Message nit;
    Message eit;
    Message tdt;
    Message newStreamPat;
    Message patWithoutSdtPid; // a stream that needs an artificial SDT
};

// What the reception of each prints.
extern const std::string patReceived;
extern const std::string pmtReceived;
extern const std::string tsStatusReceived;
extern const std::string sdtReceived;
extern const std::string avPgmReceived;
extern const std::string catReceived;
extern const std::string nitReceived;
extern const std::string eitReceived;
extern const std::string tdtReceived;
extern const std::string newStreamPatReceived;

// What the handling of a new stream prints and takes back.
extern const std::string newStreamHandled;

extern const std::string feedOpened; // state 1, from its first line
extern const std::string feedClosed;

// Sending a document: the console's lines and the document.
std::string documentSent(int requestCode, const std::string& document);
std::string pidListSent();
std::string programListSent();
std::string programDetailSent();

extern const std::string summaryPrinted; // of the one service
