// Transport streams from a network, received by GStreamer's source elements.
#pragma once

#include "source/packetSource.h"

namespace board {

// Opens "udp://ADDRESS:PORT", "rtp://ADDRESS:PORT" (unicast and multicast) or "srt://ADDRESS:PORT" (with
// SRT's own query parameters, ?mode=listener for instance). Throws BoardError for another scheme, an address
// without a port, and whatever the elements cannot open.
std::unique_ptr<PacketSource> openNetworkSource(const std::string& address, const std::string& interface);

} // namespace board
