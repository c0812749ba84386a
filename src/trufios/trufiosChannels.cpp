#include "trufios/trufiosChannels.h"

#include "support/assertion.h"
#include "support/connection.h"
#include "support/sockets.h"

#include "wire/endpoints.h"

#include <zmq.h>

#include <cerrno>
#include <cstdio>

namespace mpegfe {

namespace {

// Operators look assertion reports up by these, so they stay as they are wherever the code moves.
constexpr char trufiosSource[] = "main";

// A document that was never acknowledged must not stop the next one, nor wait for Trufios to come back.
void allowAbandoning(void* docSocket) {
    const int relaxed = 1;
    zmq_setsockopt(docSocket, ZMQ_REQ_RELAXED, &relaxed, sizeof relaxed);
    const int linger = 0;
    zmq_setsockopt(docSocket, ZMQ_LINGER, &linger, sizeof linger);
}

// A request is cut at 400 bytes and a reply at 50. Trufios waits when the queue is full; a part beyond the
// limit ends the connection, which is then made anew.
constexpr std::int64_t maxPartLength = 65536; // bytes
constexpr int maxQueuedMessages = 64;

void limitWhatIsHeld(void* socket) {
    zmq_setsockopt(socket, ZMQ_MAXMSGSIZE, &maxPartLength, sizeof maxPartLength);
    zmq_setsockopt(socket, ZMQ_RCVHWM, &maxQueuedMessages, sizeof maxQueuedMessages);
}

} // namespace

void initMPEGsideofMLC_MPEG_CTX(TrufiosChannels* vtx) {
    const auto require = [](bool holds, const char* expression, unsigned line) {
        requireThat(holds, expression, trufiosSource, line, "initMPEGsideofMLC_MPEG_CTX");
    };
    require(vtx != nullptr, "vtx != ((void *)0)", 98);
    vtx->context = zmq_ctx_new();
    require(vtx->context != nullptr, "vtx->context != ((void *)0)", 100);

    vtx->mpegMstmlc = zmq_socket(vtx->context, ZMQ_REQ);
    require(vtx->mpegMstmlc != nullptr, "vtx->mpegMstmlc != ((void *)0)", 102);
    allowAbandoning(vtx->mpegMstmlc);
    limitWhatIsHeld(vtx->mpegMstmlc);
    int rc = connectSocket(vtx->context, vtx->mpegMstmlc, wire::documentEndpoint);
    if (rc != 0) {
        std::printf("mpegFE to IntermediateMR connect failed %d %s\n", rc, zmq_strerror(errno));
    }
    require(rc == 0, "rc == 0", 105);
    std::puts("Connect mpegFE REQ to Trufios REP OK");

    vtx->mlcMstmpeg = zmq_socket(vtx->context, ZMQ_REP);
    require(vtx->mlcMstmpeg != nullptr, "vtx->mlcMstmpeg != ((void *)0)", 109);
    limitWhatIsHeld(vtx->mlcMstmpeg);
    rc = connectSocket(vtx->context, vtx->mlcMstmpeg, wire::requestEndpoint);
    if (rc != 0) {
        std::printf("Trufios to mpegFE connect failed %d %s\n", rc, zmq_strerror(errno));
    }
    require(rc == 0, "rc == 0", 112);
    std::puts("Connect Trufios REQ to mpegFE REP OK");
}

// A new connection is the only way to take back what the old one has queued, and to be deaf to its answers.
void abandonDocument(void* docSocket) {
    reconnect(docSocket, wire::documentEndpoint);
}

void closeMPEGsideofMLC_MPEG_CTX(TrufiosChannels* vtx) {
    const auto require = [](bool holds, const char* expression, unsigned line) {
        requireThat(holds, expression, trufiosSource, line, "closeMPEGsideofMLC_MPEG_CTX");
    };
    require(vtx != nullptr, "vtx != ((void *)0)", 120);
    require(vtx->context != nullptr, "vtx->context != ((void *)0)", 121);
    require(vtx->mpegMstmlc != nullptr, "vtx->mpegMstmlc != ((void *)0)", 122);
    require(vtx->mlcMstmpeg != nullptr, "vtx->mlcMstmpeg != ((void *)0)", 123);
    closeSocketNow(vtx->mpegMstmlc);
    closeSocketNow(vtx->mlcMstmpeg);
    destroyContext(vtx->context);
}

} // namespace mpegfe
