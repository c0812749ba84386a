#include "badPeer.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <system_error>
#include <unistd.h>

namespace serviceTest {
namespace {

constexpr int stepMilliseconds = 5;
constexpr std::string_view ipc = "ipc://";

[[noreturn]] void fail(const char* what) {
    throw std::system_error(errno, std::generic_category(), what);
}

int listenOn(const sockaddr* address, socklen_t size) {
    const int listener = socket(address->sa_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
    const int yes = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, &yes, sizeof yes);
    if (bind(listener, address, size) != 0 || listen(listener, 100) != 0) {
        fail("listen");
    }
    return listener;
}

int listenOnPath(const std::string& path) {
    unlink(path.c_str());
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    path.copy(address.sun_path, sizeof address.sun_path - 1);
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

int listenOnPort(int port) {
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(static_cast<std::uint16_t>(port));
    return listenOn(reinterpret_cast<const sockaddr*>(&address), sizeof address);
}

} // namespace

std::string greeting(const std::string& mechanism) {
    std::string bytes("\xFF\0\0\0\0\0\0\0\x01\x7F\x03\0", 12);
    bytes += mechanism;
    bytes.resize(64, '\0');
    return bytes;
}

std::string readyCommand(const std::string& socketType) {
    std::string body("\x05READY\x0BSocket-Type\0\0\0", 21);
    body += static_cast<char>(socketType.size());
    body += socketType;
    return std::string("\x04") + static_cast<char>(body.size()) + body;
}

BadPeer::BadPeer(const std::string& endpoint, BadPeerScript badScript) : script(std::move(badScript)) {
    if (endpoint.starts_with(ipc)) {
        path = endpoint.substr(ipc.size());
        listener = listenOnPath(path);
    } else {
        listener = listenOnPort(std::stoi(endpoint.substr(endpoint.rfind(':') + 1)));
    }
    thread = std::thread([this] { serve(); });
}

BadPeer::~BadPeer() {
    if (thread.joinable()) {
        stop();
    }
    for (const Client& client : clients) {
        close(client.descriptor);
    }
}

void BadPeer::stop() {
    ends = true;
    thread.join();
    close(listener);
    if (!path.empty()) {
        unlink(path.c_str());
    }
}

void BadPeer::vanish() {
    stop();
    for (const Client& client : clients) {
        const int yes = 1;
        if (setsockopt(client.descriptor, IPPROTO_TCP, TCP_REPAIR, &yes, sizeof yes) != 0) {
            fail("vanish");
        }
        close(client.descriptor);
    }
    clients.clear();
}

void BadPeer::acceptOne() {
    const int descriptor = accept4(listener, nullptr, nullptr, SOCK_NONBLOCK | SOCK_CLOEXEC);
    if (descriptor < 0) {
        return;
    }
    clients.push_back({descriptor, script.says});
    ++accepted;
}

// False when the connection is over.
bool BadPeer::keep(Client& client, short events) const {
    if (script.closesUnheard) {
        return false;
    }
    if ((events & (POLLIN | POLLHUP | POLLERR)) != 0 && !script.readsNothing) {
        std::array<char, 65536> heard{};
        const ssize_t length = read(client.descriptor, heard.data(), heard.size());
        if (length == 0 || (length < 0 && errno != EAGAIN)) {
            return false;
        }
        client.heard = client.heard || length > 0;
        bytesHeard += static_cast<std::size_t>(std::max<ssize_t>(length, 0));
    }
    if (client.unsaid.empty()) {
        client.unsaid = script.saysForEver;
    }
    if (!client.unsaid.empty()) {
        const ssize_t length =
            send(client.descriptor, client.unsaid.data(), client.unsaid.size(), MSG_NOSIGNAL);
        if (length < 0 && errno != EAGAIN) {
            return false;
        }
        client.unsaid.erase(0, static_cast<std::size_t>(std::max<ssize_t>(length, 0)));
    }
    return !(script.closes && client.unsaid.empty() && client.heard);
}

void BadPeer::serve() {
    while (!ends) {
        std::vector<pollfd> items{{listener, POLLIN, 0}};
        for (const Client& client : clients) {
            const bool talks = !client.unsaid.empty() || !script.saysForEver.empty();
            items.push_back({client.descriptor, static_cast<short>(POLLIN | (talks ? POLLOUT : 0)), 0});
        }
        poll(items.data(), items.size(), stepMilliseconds);
        std::vector<Client> kept;
        for (std::size_t k = 0; k < clients.size(); ++k) {
            if (items[k + 1].revents == 0 || keep(clients[k], items[k + 1].revents)) {
                kept.push_back(std::move(clients[k]));
            } else {
                close(clients[k].descriptor);
            }
        }
        clients = std::move(kept);
        if (items[0].revents != 0) {
            acceptOne();
            if (script.closesUnheard && !clients.empty()) {
                close(clients.back().descriptor);
                clients.pop_back();
            }
        }
    }
}

} // namespace serviceTest
