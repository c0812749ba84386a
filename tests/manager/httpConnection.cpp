#include "httpConnection.h"

#include "patience.h"

#include <arpa/inet.h>
#include <array>
#include <cstdlib>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <poll.h>
#include <regex>
#include <sys/socket.h>
#include <unistd.h>
#include <utility>

namespace testSupport {

HttpConnection::HttpConnection(std::uint16_t toPort, int receiveBytes)
    : socket(::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)), port(toPort) {
    if (receiveBytes > 0) {
        setsockopt(socket, SOL_SOCKET, SO_RCVBUF, &receiveBytes, sizeof receiveBytes);
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    EXPECT_EQ(connect(socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
}

HttpConnection::~HttpConnection() {
    close(socket);
}

bool HttpConnection::send(std::string_view bytes) const {
    while (!bytes.empty()) {
        const ssize_t length = ::send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
        if (length <= 0) {
            return false;
        }
        bytes.remove_prefix(static_cast<std::size_t>(length));
    }
    return true;
}

void HttpConnection::get(const std::string& path, const std::string& lines) const {
    EXPECT_TRUE(send("GET " + path + " HTTP/1.1\r\nHost: 127.0.0.1:" + std::to_string(port) + "\r\n" + lines +
                     "\r\n"));
}

bool HttpConnection::receive() {
    std::array<char, 65536> buffer{};
    pollfd readable{socket, POLLIN, 0};
    if (poll(&readable, 1, patience.count()) != 1) {
        return false;
    }
    const ssize_t length = recv(socket, buffer.data(), buffer.size(), 0);
    received.append(buffer.data(), length > 0 ? static_cast<std::size_t>(length) : 0);
    return length > 0;
}

std::string HttpConnection::takeUntil(const std::string& end) {
    std::size_t found = 0;
    while ((found = received.find(end)) == std::string::npos) {
        if (!receive()) {
            return std::exchange(received, {});
        }
    }
    std::string taken = received.substr(0, found + end.size());
    received.erase(0, taken.size());
    return taken;
}

std::string HttpConnection::readUntil(const std::string& end) {
    if (!end.empty()) {
        return takeUntil(end);
    }
    while (receive()) {
    }
    return std::exchange(received, {});
}

std::string HttpConnection::readWhatHasCome() {
    std::array<char, 65536> buffer{};
    ssize_t length = 0;
    while ((length = recv(socket, buffer.data(), buffer.size(), MSG_DONTWAIT)) > 0) {
        received.append(buffer.data(), static_cast<std::size_t>(length));
    }
    return std::exchange(received, {});
}

std::string HttpConnection::readAnswer() {
    std::string answer = takeUntil("\r\n\r\n");
    std::smatch length;
    if (std::regex_search(answer, length, std::regex("\r\nContent-Length: ([0-9]+)\r\n"))) {
        const std::size_t size = std::stoul(length[1]);
        while (received.size() < size && receive()) {
        }
        answer += received.substr(0, size);
        received.erase(0, size);
    }
    return std::regex_replace(answer, std::regex("\r\nDate: [^\r]*"), "");
}

std::string HttpConnection::readEvent() {
    std::size_t end = 0;
    if (!hasHead) {
        takeUntil("\r\n\r\n");
        hasHead = true;
    }
    while ((end = stream.find("\n\n")) == std::string::npos) {
        const std::string size = takeUntil("\r\n");
        if (!size.ends_with("\r\n")) {
            return "nothing in time";
        }
        const std::size_t bytes = std::stoul(size, nullptr, 16) + 2;
        while (received.size() < bytes && receive()) {
        }
        stream += received.substr(0, bytes - 2);
        received.erase(0, bytes);
    }
    std::string event = stream.substr(0, end + 1);
    stream.erase(0, end + 2);
    return event;
}

} // namespace testSupport
