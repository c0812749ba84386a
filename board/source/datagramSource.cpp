#include "source/datagramSource.h"

#include "boardError.h"
#include "source/descriptor.h"
#include "source/rtpOrder.h"
#include "tunables.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <net/if.h>
#include <netinet/in.h>
#include <vector>

namespace board {

namespace {

constexpr std::size_t largestDatagram = 65536;

unsigned interfaceIndex(const NetworkAddress& address, const std::string& interface) {
    const unsigned index = interface.empty() ? 0 : ::if_nametoindex(interface.c_str());
    if (index == 0 && !interface.empty()) {
        throw BoardError({"cannot open " + address.text, "a network interface of this machine",
                          "\"" + interface + "\"", "check --interface; ip link shows the names"});
    }
    return index;
}

template <class Value>
bool setOption(const Descriptor& socket, int level, int name, const Value& value) {
    return ::setsockopt(socket.get(), level, name, &value, sizeof value) == 0;
}

// For bursts. More than the system allows is given to root only.
void enlargeBuffer(const Descriptor& socket) {
    if (!setOption(socket, SOL_SOCKET, SO_RCVBUFFORCE, tunables::receiveBuffer)) {
        setOption(socket, SOL_SOCKET, SO_RCVBUF, tunables::receiveBuffer);
    }
}

// Only what comes for this group and interface is wanted, whatever other programs have joined.
bool join(const Descriptor& socket, const SocketAddress& group, unsigned interface) {
    const bool six = group.family() == AF_INET6;
    const int level = six ? IPPROTO_IPV6 : IPPROTO_IP;
    constexpr int ipv6MulticastAll = 29; // of Linux; the C library does not name it
    group_req request{};
    request.gr_interface = interface;
    std::memcpy(&request.gr_group, &group.storage, group.size);
    setOption(socket, level, six ? ipv6MulticastAll : IP_MULTICAST_ALL, int{0});
    return setOption(socket, level, MCAST_JOIN_GROUP, request);
}

Descriptor openSocket(const NetworkAddress& address, const std::string& interface) {
    const unsigned index = interfaceIndex(address, interface);
    SocketAddress local = resolve(address);
    const bool multicast = local.multicast();
    if (multicast && local.family() == AF_INET6) {
        reinterpret_cast<sockaddr_in6*>(&local.storage)->sin6_scope_id = index;
    }
    Descriptor socket(::socket(local.family(), SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    if (socket.get() < 0) {
        throw BoardError({"cannot open " + address.text, "a socket", std::strerror(errno),
                          "check the limits of this process, and that this machine has such a network"});
    }
    if (multicast) { // of which every receiver gets its own copy
        setOption(socket, SOL_SOCKET, SO_REUSEADDR, int{1});
    }
    enlargeBuffer(socket);
    if (::bind(socket.get(), local.get(), local.size) != 0) {
        throw BoardError({"cannot open " + address.text, "an address of this machine or a multicast group",
                          std::strerror(errno),
                          "check the address, and that no other program receives on it"});
    }
    if (multicast && !join(socket, local, index)) {
        throw BoardError({"cannot open " + address.text, "a network interface that can join the group",
                          std::strerror(errno),
                          interface.empty() ? "name one with --interface" : "check --interface"});
    }
    return socket;
}

class DatagramSource final : public PacketSource {
  public:
    DatagramSource(const NetworkAddress& address, const std::string& interface)
        : name_(address.text), rtp_(address.scheme == NetworkAddress::Scheme::rtp),
          socket_(openSocket(address, interface)), datagram_(largestDatagram) {}

    Arrival read(std::span<std::uint8_t> buffer) override {
        std::size_t bytes = hand(buffer);
        for (int k = 0; k < tunables::datagramsARead && bytes < buffer.size() && receive(); ++k) {
            bytes += hand(buffer.subspan(bytes));
        }
        return {bytes, false};
    }

    bool rewind() override {
        return false;
    }
    int descriptor() const override {
        return socket_.get();
    }
    bool live() const override {
        return true;
    }

  private:
    // Hands over what has been received, as far as it fits.
    std::size_t hand(std::span<std::uint8_t> buffer) {
        const std::size_t bytes = std::min(buffer.size(), content_.size() - handed_);
        std::copy_n(content_.begin() + static_cast<std::ptrdiff_t>(handed_), bytes, buffer.begin());
        handed_ += bytes;
        return bytes;
    }

    // Receives the next datagram, when all before it has been handed over. Returns whether it is worth asking
    // for more.
    bool receive() {
        if (handed_ < content_.size()) {
            return false;
        }
        content_.clear();
        handed_ = 0;
        const ssize_t size = ::recv(socket_.get(), datagram_.data(), datagram_.size(), 0);
        const auto now = std::chrono::steady_clock::now().time_since_epoch();
        if (size < 0) {
            requireNoError();
            order_.release(now, content_);
            return !content_.empty();
        }
        const auto bytes = std::span(datagram_).first(static_cast<std::size_t>(size));
        if (rtp_) {
            order_.take(bytes, now, content_);
        } else {
            content_.assign(bytes.begin(), bytes.end());
        }
        return true;
    }

    void requireNoError() const {
        if (errno != EAGAIN && errno != EINTR) {
            throw BoardError({"cannot receive " + name_, "a transport stream", std::strerror(errno),
                              "check the sender and the network"});
        }
    }

    std::string name_;
    bool rtp_;
    Descriptor socket_;
    std::vector<std::uint8_t> datagram_;
    RtpOrder order_;
    std::vector<std::uint8_t> content_; // received, and not all handed over
    std::size_t handed_ = 0;
};

} // namespace

std::unique_ptr<PacketSource> openDatagramSource(const NetworkAddress& address,
                                                 const std::string& interface) {
    return std::make_unique<DatagramSource>(address, interface);
}

} // namespace board
