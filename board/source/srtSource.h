// Transport streams over SRT.
#pragma once

#include "source/networkAddress.h"
#include "source/packetSource.h"

#include <memory>

namespace board {

// Receives on an srt:// address. With mode=listener, or without a host, it serves one sender after the other
// on that address; with mode=caller, or none, it calls the address again and again until it answers. The
// other parameters are SRT's: latency, rcvlatency, peerlatency, passphrase, pbkeylen, streamid, and so on.
// Throws BoardError for a parameter that is not known or has a wrong value, and for an address that cannot be
// listened on.
std::unique_ptr<PacketSource> openSrtSource(const NetworkAddress& address);

} // namespace board
