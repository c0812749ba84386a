// What every ZeroMQ channel of the service does alike: wait through signals, and close without waiting.
#pragma once

#include <cstddef>

namespace mpegfe {

// Receives a part, and waits for it without a time limit; a signal does not end the wait, and all connections
// are kept up in it. requester is the socket whose request asks for the part, or null. Returns the length of
// the part as it was sent, which may be more than size, or -1.
int receivePart(void* socket, void* buffer, std::size_t size, void* requester = nullptr);

// Receives what is left of the message and drops it: it would keep the socket from sending.
void dropFurtherParts(void* socket);

// Closes the socket and what watches it, dropping what it has not sent yet, and sets it to null. A null
// socket is left alone.
void closeSocketNow(void*& socket);

// Ends the context, whose sockets are closed, and sets it to null.
void destroyContext(void*& context);

} // namespace mpegfe
