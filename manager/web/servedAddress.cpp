#include "web/servedAddress.h"

#include "managerError.h"

#include <algorithm>
#include <arpa/inet.h>
#include <array>
#include <cctype>
#include <cerrno>
#include <charconv>
#include <cstring>
#include <netinet/in.h>
#include <optional>
#include <unistd.h>
#include <utility>

namespace manager {
namespace {

struct HostAndPort {
    std::string host; // without brackets
    std::string_view port;
    bool isBracketed = false;
};

// The port is empty when there is none.
HostAndPort split(std::string_view text) {
    if (text.starts_with('[')) {
        const std::size_t end = std::min(text.find(']'), text.size());
        const std::string_view rest = text.substr(std::min(end + 1, text.size()));
        return {std::string(text.substr(1, end - 1)), rest.starts_with(':') ? rest.substr(1) : rest, true};
    }
    const std::size_t colon = std::min(text.rfind(':'), text.size());
    return {std::string(text.substr(0, colon)), text.substr(std::min(colon + 1, text.size())), false};
}

std::optional<std::uint16_t> readPort(std::string_view text) {
    std::uint16_t port = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, failure] = std::from_chars(text.data(), end, port);
    return failure == std::errc{} && stop == end ? std::optional(port) : std::nullopt;
}

// Puts the address that the host is as a number; its length, or 0 when it is no number.
socklen_t readNumber(const HostAndPort& text, std::uint16_t port, sockaddr_storage& address) {
    address = {};
    if (text.isBracketed) {
        auto& six = reinterpret_cast<sockaddr_in6&>(address);
        six.sin6_family = AF_INET6;
        six.sin6_port = htons(port);
        return inet_pton(AF_INET6, text.host.c_str(), &six.sin6_addr) == 1 ? sizeof six : 0;
    }
    auto& four = reinterpret_cast<sockaddr_in&>(address);
    four.sin_family = AF_INET;
    four.sin_port = htons(port);
    return inet_pton(AF_INET, text.host.c_str(), &four.sin_addr) == 1 ? sizeof four : 0;
}

const sockaddr_in& ipv4(const sockaddr_storage& address) {
    return reinterpret_cast<const sockaddr_in&>(address);
}

const sockaddr_in6& ipv6(const sockaddr_storage& address) {
    return reinterpret_cast<const sockaddr_in6&>(address);
}

std::uint16_t portOf(const sockaddr_storage& address) {
    return ntohs(address.ss_family == AF_INET6 ? ipv6(address).sin6_port : ipv4(address).sin_port);
}

bool isSameHost(const sockaddr_storage& one, const sockaddr_storage& other) {
    if (one.ss_family != other.ss_family) {
        return false;
    }
    return one.ss_family == AF_INET6
               ? std::memcmp(&ipv6(one).sin6_addr, &ipv6(other).sin6_addr, sizeof(in6_addr)) == 0
               : ipv4(one).sin_addr.s_addr == ipv4(other).sin_addr.s_addr;
}

std::string lower(std::string_view text) {
    std::string result(text);
    std::ranges::transform(result, result.begin(),
                           [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return result;
}

[[noreturn]] void tellNoListening(const std::string& url, int error) {
    throw ManagerError(ExitStatus::noEndpoints,
                       {"cannot serve the page", "a free port at " + url,
                        std::string("the error \"") + std::strerror(error) + '"',
                        error == EADDRINUSE
                            ? "another program has the port: stop it, or name another with --web ADDRESS:PORT"
                            : "name an address of this machine and a port with --web ADDRESS:PORT"});
}

} // namespace

Descriptor::Descriptor(Descriptor&& other) noexcept : number(other.release()) {}

Descriptor::~Descriptor() {
    if (number >= 0) {
        close(number);
    }
}

int Descriptor::release() {
    return std::exchange(number, -1);
}

ServedAddress::ServedAddress(std::string_view text) {
    const HostAndPort parts = split(text);
    if (const auto port = readPort(parts.port)) {
        length = readNumber(parts, *port, address);
    }
    if (length == 0) {
        throw ManagerError(ExitStatus::usage, {"the page has no such address",
                                               "ADDRESS:PORT in numbers, for example 127.0.0.1:8080",
                                               '"' + std::string(text) + '"', "see mpegfe-manager --help"});
    }
}

Descriptor ServedAddress::listen() {
    Descriptor listener(socket(address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
    const int on = 1;
    setsockopt(listener.get(), SOL_SOCKET, SO_REUSEADDR, &on, sizeof on);
    if (bind(listener.get(), reinterpret_cast<const sockaddr*>(&address), length) != 0 ||
        ::listen(listener.get(), SOMAXCONN) != 0 ||
        getsockname(listener.get(), reinterpret_cast<sockaddr*>(&address), &length) != 0) {
        tellNoListening(url(), errno);
    }
    return listener;
}

std::string ServedAddress::url() const {
    std::array<char, INET6_ADDRSTRLEN> text{};
    const bool isSix = address.ss_family == AF_INET6;
    const void* const host = isSix ? static_cast<const void*>(&ipv6(address).sin6_addr)
                                   : static_cast<const void*>(&ipv4(address).sin_addr);
    inet_ntop(address.ss_family, host, text.data(), text.size());
    return std::string("http://") + (isSix ? "[" : "") + text.data() + (isSix ? "]:" : ":") +
           std::to_string(portOf(address)) + '/';
}

bool ServedAddress::isHost(std::string_view host) const {
    constexpr std::uint16_t unsaid = 80;
    const HostAndPort parts = split(host);
    const auto port = parts.port.empty() ? std::optional(unsaid) : readPort(parts.port);
    if (port != portOf(address)) {
        return false;
    }
    if (lower(parts.host) == "localhost") {
        return !parts.isBracketed && (isLoopback() || isWildcard());
    }
    sockaddr_storage named{};
    if (readNumber(parts, *port, named) == 0) {
        return false;
    }
    return isWildcard() || isSameHost(named, address);
}

bool ServedAddress::isOrigin(std::string_view origin) const {
    constexpr std::string_view scheme = "http://";
    return origin.starts_with(scheme) && isHost(origin.substr(scheme.size()));
}

bool ServedAddress::isLoopback() const {
    constexpr unsigned loopback = 127;
    return address.ss_family == AF_INET6 ? IN6_IS_ADDR_LOOPBACK(&ipv6(address).sin6_addr)
                                         : ntohl(ipv4(address).sin_addr.s_addr) >> 24U == loopback;
}

bool ServedAddress::isWildcard() const {
    return address.ss_family == AF_INET6 ? IN6_IS_ADDR_UNSPECIFIED(&ipv6(address).sin6_addr)
                                         : ipv4(address).sin_addr.s_addr == INADDR_ANY;
}

} // namespace manager
