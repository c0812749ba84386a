#include "publish/connectionGuard.h"

#include "boardError.h"

#include <array>
#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace board {

namespace {

// An event comes as its number, 16 bits, and a value of 32 bits, in the machine's order; a second part names
// the endpoint.
struct SocketEvent {
    std::uint16_t number = 0;
    std::int32_t value = 0; // of these events, the connection's descriptor
};

constexpr int watchedEvents = ZMQ_EVENT_ACCEPTED | ZMQ_EVENT_DISCONNECTED;

// libzmq's own functions receive here: with them a signal is a result and no exception.
bool receive(zmq::socket_t& events, SocketEvent& event) {
    std::array<unsigned char, sizeof event.number + sizeof event.value> frame{};
    if (zmq_recv(events.handle(), frame.data(), frame.size(), ZMQ_DONTWAIT) < 0) {
        return false;
    }
    std::memcpy(&event.number, frame.data(), sizeof event.number);
    std::memcpy(&event.value, frame.data() + sizeof event.number, sizeof event.value);
    zmq_recv(events.handle(), nullptr, 0, ZMQ_DONTWAIT);
    return true;
}

// Of the connection that a message came over; -1 where libzmq does not tell.
int descriptorOf(const zmq::message_t& message) {
    return zmq_msg_get(message.handle(), ZMQ_SRCFD);
}

} // namespace

ConnectionGuard::ConnectionGuard(zmq::context_t& context, zmq::socket_t& socket, const Limits& limits,
                                 std::string name)
    : socket_(socket), limits_(limits), name_(std::move(name)), events_(context, zmq::socket_type::pair) {
    const std::string endpoint = "inproc://connections-of-" + name_;
    if (zmq_socket_monitor(socket.handle(), endpoint.c_str(), watchedEvents) != 0) {
        throw zmq::error_t();
    }
    events_.set(zmq::sockopt::linger, 0);
    events_.set(zmq::sockopt::rcvhwm, 0); // a full queue would stop libzmq's I/O thread
    events_.connect(endpoint);
}

// Else libzmq's I/O thread would wait for a reader of its next event, and the socket's closing for that.
ConnectionGuard::~ConnectionGuard() {
    zmq_socket_monitor(socket_.handle(), nullptr, 0);
}

void ConnectionGuard::look() {
    takeEvents();
    while (!tooMany_.empty()) {
        const auto [descriptor, number] = tooMany_.back();
        tooMany_.pop_back();
        end(descriptor, number, "at most " + std::to_string(limits_.connections) + " connections",
            "one more");
    }
}

void ConnectionGuard::takeEvents() {
    for (SocketEvent event; receive(events_, event);) {
        connections_.erase(event.value);
        if (event.number == ZMQ_EVENT_ACCEPTED) {
            Connection& connection = connections_[event.value];
            connection.number = accepted_++;
            connection.queueWasEmptyAt = timesEmpty_;
            if (connections_.size() > limits_.connections) {
                tooMany_.emplace_back(event.value, connection.number);
            }
        }
    }
}

void ConnectionGuard::count(const zmq::message_t& message, std::size_t uselessBytes, Instant now) {
    const auto found = connections_.find(descriptorOf(message));
    if (found == connections_.end()) {
        return;
    }
    Connection& connection = found->second;
    if (connection.ended || connection.queueWasEmptyAt == timesEmpty_) {
        return;
    }
    if (now - connection.second >= std::chrono::seconds(1)) {
        connection.second = now;
        connection.messages = 0;
    }
    connection.uselessBytes += uselessBytes;
    if (++connection.messages > limits_.messagesASecond) {
        end(found->first, connection.number,
            "at most " + std::to_string(limits_.messagesASecond) + " messages a second", "more");
    } else if (connection.uselessBytes > limits_.uselessBytes) {
        end(found->first, connection.number, "subscriptions to topics of this board",
            "more than " + std::to_string(limits_.uselessBytes) + " bytes of others");
    }
}

// libzmq's I/O thread closes descriptors, and gets the same number for the next connection. It tells before
// it closes one: what has not been told after the descriptor was duplicated is still of the connection meant.
void ConnectionGuard::end(int descriptor, std::uint64_t number, const std::string& expected,
                          const std::string& got) {
    const int held = ::fcntl(descriptor, F_DUPFD_CLOEXEC, 0);
    takeEvents();
    const auto found = connections_.find(descriptor);
    if (found != connections_.end() && found->second.number == number) {
        found->second.ended = true;
        const int meant = held >= 0 ? held : descriptor; // where no descriptor is left
        const linger atOnce{1, 0}; // a reset: a client that still sends need not find out by itself
        ::setsockopt(meant, SOL_SOCKET, SO_LINGER, &atOnce, sizeof atOnce);
        ::shutdown(meant, SHUT_RDWR);
        say(describe({"ended a connection of " + name_, expected, got, "others are served as before"}));
    }
    if (held >= 0) {
        ::close(held);
    }
}

std::size_t raiseDescriptorLimit() {
    rlimit limit{};
    if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) {
        return 0;
    }
    const rlim_t before = std::exchange(limit.rlim_cur, limit.rlim_max);
    if (::setrlimit(RLIMIT_NOFILE, &limit) != 0) {
        limit.rlim_cur = before;
    }
    return limit.rlim_cur;
}

} // namespace board

// Takes the place of the C library's for libzmq, whose listener on a local socket ends the process when the
// process has no descriptor left (EMFILE), and tries again when the machine has none (ENFILE). The I/O thread
// accepts before anybody can look, so no limit of connections keeps a burst from taking the last descriptor.
// A libzmq that is linked in another way may not come here: HostilePeers.MeetItWithoutADescriptor... tells.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name): the C library's names are reserved
extern "C" __attribute__((visibility("default"))) int accept4(int listener, sockaddr* address,
                                                              socklen_t* length, int flags) {
    const auto accepted = static_cast<int>(::syscall(SYS_accept4, listener, address, length, flags));
    if (accepted < 0 && errno == EMFILE) {
        errno = ENFILE;
    }
    return accepted;
}
