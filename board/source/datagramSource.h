// Transport streams in datagrams: UDP as it is, and RTP.
#pragma once

#include "source/networkAddress.h"
#include "source/packetSource.h"

#include <memory>
#include <string>

namespace board {

// Receives on a udp:// or rtp:// address; a multicast group is joined on the named network interface, or on
// the one that the system chooses. Throws BoardError when there is no such interface, and when the address
// cannot be received on.
std::unique_ptr<PacketSource> openDatagramSource(const NetworkAddress& address, const std::string& interface);

} // namespace board
