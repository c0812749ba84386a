// What every ZeroMQ channel of the service does alike: wait through signals, and close without waiting.
#pragma once

#include <cstddef>

namespace mpegfe {

// zmq_recv without a time limit that a signal does not end. Returns the length of the part as it was sent,
// which may be more than size, or -1.
int receivePart(void* socket, void* buffer, std::size_t size);

// Closes the socket, dropping what it has not sent yet, and sets it to null. A null socket is left alone.
void closeSocketNow(void*& socket);

// Ends the context, whose sockets are closed, and sets it to null.
void destroyContext(void*& context);

} // namespace mpegfe
