#include "support/sockets.h"

#include <zmq.h>

#include <cerrno>

namespace mpegfe {

int receivePart(void* socket, void* buffer, std::size_t size) {
    int length = -1;
    do {
        length = zmq_recv(socket, buffer, size, 0);
    } while (length < 0 && errno == EINTR);
    return length;
}

void closeSocketNow(void*& socket) {
    if (socket != nullptr) {
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
