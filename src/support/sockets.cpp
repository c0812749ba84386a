#include "support/sockets.h"

#include "support/connection.h"

#include <zmq.h>

#include <cerrno>

namespace mpegfe {

int receivePart(void* socket, void* buffer, std::size_t size, void* requester) {
    for (;;) {
        const int length = zmq_recv(socket, buffer, size, ZMQ_DONTWAIT);
        if (length >= 0) {
            return length;
        }
        const bool none = errno == EAGAIN;
        if ((!none && errno != EINTR) || (none && waitReadable(socket, withoutLimit, requester) < 0)) {
            return -1;
        }
    }
}

void dropFurtherParts(void* socket) {
    int more = 0;
    std::size_t size = sizeof more;
    while (zmq_getsockopt(socket, ZMQ_RCVMORE, &more, &size) == 0 && more != 0) {
        if (receivePart(socket, nullptr, 0) < 0) {
            return;
        }
    }
}

void closeSocketNow(void*& socket) {
    if (socket != nullptr) {
        stopWatching(socket);
        const int linger = 0;
        zmq_setsockopt(socket, ZMQ_LINGER, &linger, sizeof linger);
        zmq_close(socket);
        socket = nullptr;
    }
}

void destroyContext(void*& context) {
    while (zmq_ctx_destroy(context) != 0 && errno == EINTR) {
    }
    context = nullptr;
}

} // namespace mpegfe
