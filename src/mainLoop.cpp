#include "mainLoop.h"

#include "requests.h"
#include "support/boundedText.h"
#include "support/connection.h"
#include "support/jsonText.h"
#include "support/sockets.h"
#include "trufios/trufiosChannels.h"
#include "trufios/trufiosReplies.h"

#include <zmq.h>

#include <cstddef>
#include <cstdio>

namespace mpegfe {

namespace {

constexpr long pollMilliseconds = 5000;
constexpr std::size_t maxRequestLength = 400; // bytes; what is longer is cut

// The process-wide contexts. They live as long as the process and start zeroed.
TrufiosChannels trufios;
FeedContext feed;
MpegSession session;
char request[maxRequestLength + 1];

void printZmqVersion() {
    int major = 0;
    int minor = 0;
    int patch = 0;
    zmq_version(&major, &minor, &patch);
    std::printf("MPEGFE ZMQ Version %d.%d.%d\n", major, minor, patch);
}

// Receives the request that the poll has reported, as a text. False when there is none after all.
bool receiveRequest() {
    trufios.status = 0;
    const int length = zmq_recv(trufios.mlcMstmpeg, request, maxRequestLength, ZMQ_DONTWAIT);
    if (length < 0) {
        return false;
    }
    request[clampCount(length, static_cast<int>(maxRequestLength))] = '\0';
    dropFurtherParts(trufios.mlcMstmpeg);
    return true;
}

// Null when the request is no JSON.
json_t* parseRequest() {
    json_error_t error;
    json_t* parsed = parseJson(request, error);
    if (parsed == nullptr) {
        std::printf("Media mepgFE parse error string %s \n", error.text);
        std::printf("Media mepgFE parse error source %s \n", error.source);
        std::printf("Media mepgFE parse position %d \n", error.position);
    }
    return parsed;
}

} // namespace

void runMainLoop() {
    printZmqVersion();
    initMPEGsideofMLC_MPEG_CTX(&trufios);
    session.docSocket = trufios.mpegMstmlc;
    for (;;) {
        if (waitReadable(trufios.mlcMstmpeg, pollMilliseconds, nullptr) <= 0 || !receiveRequest()) {
            continue;
        }
        sendReplyAck(trufios.mlcMstmpeg);
        json_t* parsed = parseRequest();
        dispatchClientRequest(parsed, &session, &feed);
        json_decref(parsed);
    }
}

} // namespace mpegfe
