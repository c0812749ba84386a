#include "source/networkAddress.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <memory>
#include <netdb.h>
#include <netinet/in.h>
#include <string_view>

namespace board {

namespace {

using Scheme = NetworkAddress::Scheme;

constexpr std::string_view schemeEnd = "://";
constexpr std::array<std::pair<std::string_view, Scheme>, 3> schemes{
    {{"udp", Scheme::udp}, {"rtp", Scheme::rtp}, {"srt", Scheme::srt}}};

std::string inQuotes(std::string_view text) {
    return "\"" + std::string(text) + "\"";
}

Scheme schemeOf(const std::string& text) {
    const std::string_view name = std::string_view(text).substr(0, text.find(schemeEnd));
    const auto* known = std::ranges::find(schemes, name, &std::pair<std::string_view, Scheme>::first);
    if (known == schemes.end()) {
        throw wrongAddress(text, inQuotes(std::string(name) + "://"));
    }
    return known->second;
}

std::uint16_t portOf(const std::string& text, std::string_view digits) {
    if (digits.empty()) {
        throw wrongAddress(text, "no port");
    }
    std::uint16_t port = 0;
    const auto [end, error] = std::from_chars(digits.data(), digits.data() + digits.size(), port);
    if (error != std::errc{} || end != digits.data() + digits.size() || port == 0) {
        throw wrongAddress(text, "port " + inQuotes(digits) + ", where ports are numbers from 1 to 65535");
    }
    return port;
}

// Host and port of "host:port" or "[host]:port".
void takeAuthority(std::string_view authority, NetworkAddress& address) {
    // An @ in front of the host is how some players write an address to listen on.
    if (authority.starts_with('@')) {
        authority.remove_prefix(1);
    }
    std::size_t hostEnd = authority.rfind(':');
    std::string_view host = authority.substr(0, hostEnd);
    if (authority.starts_with('[')) {
        const std::size_t bracket = authority.find(']');
        if (bracket == std::string_view::npos) {
            throw wrongAddress(address.text, "\"[\" without \"]\"");
        }
        host = authority.substr(1, bracket - 1);
        hostEnd = bracket + 1 < authority.size() && authority[bracket + 1] == ':' ? bracket + 1
                                                                                  : std::string_view::npos;
    } else if (host.find(':') != std::string_view::npos) {
        throw wrongAddress(address.text,
                           "several colons, where an IPv6 address stands in brackets: [::1]:5000");
    }
    address.host = host;
    address.port = portOf(address.text, hostEnd == std::string_view::npos ? std::string_view()
                                                                          : authority.substr(hostEnd + 1));
}

// A text in which %XX stands for any byte.
std::string decoded(std::string_view text) {
    std::string result;
    for (std::size_t at = 0; at < text.size(); ++at) {
        unsigned byte = 0;
        const char* digits = text.data() + at + 1;
        if (text[at] == '%' && at + 2 < text.size() &&
            std::from_chars(digits, digits + 2, byte, 16).ptr == digits + 2) {
            result += static_cast<char>(byte);
            at += 2;
        } else {
            result += text[at];
        }
    }
    return result;
}

void takeQuery(std::string_view query, NetworkAddress& address) {
    while (!query.empty()) {
        const std::string_view parameter = query.substr(0, query.find('&'));
        query.remove_prefix(std::min(query.size(), parameter.size() + 1));
        const std::size_t equals = std::min(parameter.find('='), parameter.size());
        if (parameter.empty()) {
            continue;
        }
        if (address.scheme != Scheme::srt) {
            throw wrongAddress(address.text, "parameter " + inQuotes(parameter.substr(0, equals)) +
                                                 ", where only srt:// has parameters");
        }
        address.parameters.emplace_back(decoded(parameter.substr(0, equals)),
                                        decoded(parameter.substr(std::min(parameter.size(), equals + 1))));
    }
}

// What consists of digits and dots alone is meant as an IPv4 address, and no name server need be asked.
bool looksNumeric(const std::string& host) {
    return host.find(':') != std::string::npos ||
           (!host.empty() && host.find_first_not_of("0123456789.") == std::string::npos);
}

} // namespace

bool isNetworkAddress(const std::string& name) {
    return name.find(schemeEnd) != std::string::npos;
}

NetworkAddress parseAddress(const std::string& text) {
    NetworkAddress address{text, schemeOf(text), "", 0, {}};
    const std::string_view rest = std::string_view(text).substr(text.find(schemeEnd) + schemeEnd.size());
    const std::size_t authorityEnd = std::min(rest.find_first_of("/?"), rest.size());
    const std::string_view behind = rest.substr(authorityEnd);
    takeAuthority(rest.substr(0, authorityEnd), address);
    const std::size_t query = std::min(behind.find('?'), behind.size());
    if (query > 1) {
        throw wrongAddress(text, "path " + inQuotes(behind.substr(0, query)));
    }
    takeQuery(behind.substr(std::min(behind.size(), query + 1)), address);
    return address;
}

BoardError wrongAddress(const std::string& address, const std::string& got) {
    return BoardError({"cannot open " + address,
                       "udp://ADDRESS:PORT, rtp://ADDRESS:PORT or srt://ADDRESS:PORT", got,
                       "check the address"});
}

bool SocketAddress::multicast() const {
    if (family() == AF_INET6) {
        return IN6_IS_ADDR_MULTICAST(&reinterpret_cast<const sockaddr_in6*>(&storage)->sin6_addr);
    }
    return IN_MULTICAST(ntohl(reinterpret_cast<const sockaddr_in*>(&storage)->sin_addr.s_addr));
}

SocketAddress resolve(const NetworkAddress& address) {
    const bool numeric = looksNumeric(address.host);
    addrinfo hints{};
    hints.ai_socktype = SOCK_DGRAM;
    hints.ai_family = address.host.empty() ? AF_INET : AF_UNSPEC;
    hints.ai_flags = AI_NUMERICSERV | AI_PASSIVE | (numeric ? AI_NUMERICHOST : 0);
    addrinfo* first = nullptr;
    const int error = ::getaddrinfo(address.host.empty() ? nullptr : address.host.c_str(),
                                    std::to_string(address.port).c_str(), &hints, &first);
    if (error != 0) {
        throw wrongAddress(address.text,
                           inQuotes(address.host) + (numeric ? ", which is no IP address"
                                                             : std::string(": ") + ::gai_strerror(error)));
    }
    const std::unique_ptr<addrinfo, decltype(&::freeaddrinfo)> found(first, &::freeaddrinfo);
    SocketAddress result{};
    std::memcpy(&result.storage, found->ai_addr, found->ai_addrlen);
    result.size = found->ai_addrlen;
    return result;
}

} // namespace board
