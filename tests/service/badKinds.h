// The kinds of peers that break ZeroMQ's protocol, or are none at all.
#pragma once

#include "badPeer.h"

#include <cstddef>
#include <span>
#include <string>

namespace serviceTest {

struct BadKind {
    const char* name;
    // goodType: the socket type that a good peer of the channel has.
    BadPeerScript (*script)(const char* goodType);
    bool holds = false;       // the service has no cause to end the connection
    bool shakesHands = false; // it is a peer, if not for long: a document that it has taken is not sent again
};

std::span<const BadKind> badKinds();

// The same bytes each time.
std::string randomBytes(std::size_t count);

} // namespace serviceTest
