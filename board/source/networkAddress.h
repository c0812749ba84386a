// Addresses of network sources, such as udp://239.1.1.1:5000.
#pragma once

#include "boardError.h"

#include <cstdint>
#include <string>
#include <sys/socket.h>
#include <utility>
#include <vector>

namespace board {

struct NetworkAddress {
    enum class Scheme { udp, rtp, srt };

    std::string text; // as it was given
    Scheme scheme;
    std::string host; // name, IPv4 or IPv6 address, the latter without brackets; empty where none is given
    std::uint16_t port;
    std::vector<std::pair<std::string, std::string>> parameters; // of the query, decoded
};

// Whether the name is a network address, of whatever scheme.
bool isNetworkAddress(const std::string& name);

// Takes an address apart. Throws BoardError for another scheme, for no port or none from 1 to 65535, and for
// what is no address. Parameters are SRT's; udp and rtp have none.
NetworkAddress parseAddress(const std::string& text);

// The error of an address that cannot be used; got says what is wrong with it.
BoardError wrongAddress(const std::string& address, const std::string& got);

// An address of the system.
struct SocketAddress {
    sockaddr_storage storage;
    socklen_t size;

    const sockaddr* get() const {
        return reinterpret_cast<const sockaddr*>(&storage);
    }
    int family() const {
        return storage.ss_family;
    }
    bool multicast() const;
};

// Looks the host and port up. Without a host it is every address of this machine. Throws BoardError when
// there is no such host.
SocketAddress resolve(const NetworkAddress& address);

} // namespace board
