#include "source/srtSource.h"

#include "boardError.h"
#include "source/descriptor.h"
#include "tunables.h"

#include <srt/srt.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string_view>
#include <sys/socket.h>
#include <thread>

namespace board {

namespace {

// The library, as long as anything uses it. Its own log stays silent: what matters is told by the board.
class Library {
  public:
    Library() {
        ::srt_startup();
        ::srt_setloghandler(nullptr, [](void*, int, const char*, int, const char*, const char*) {});
    }
    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;
    ~Library() {
        ::srt_cleanup();
    }
};

class Socket {
  public:
    explicit Socket(SRTSOCKET number) : number_(number) {}
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;
    ~Socket() {
        if (number_ != SRT_INVALID_SOCK) {
            ::srt_close(number_);
        }
    }
    SRTSOCKET get() const {
        return number_;
    }
    bool valid() const {
        return number_ != SRT_INVALID_SOCK;
    }

  private:
    SRTSOCKET number_;
};

// Parameters of an address that are socket options of the library.
struct Parameter {
    std::string_view name;
    SRT_SOCKOPT option;
    bool number; // else a text
};
constexpr std::array<Parameter, 22> parameters{{
    {"latency", SRTO_LATENCY, true},
    {"rcvlatency", SRTO_RCVLATENCY, true},
    {"peerlatency", SRTO_PEERLATENCY, true},
    {"passphrase", SRTO_PASSPHRASE, false},
    {"pbkeylen", SRTO_PBKEYLEN, true},
    {"enforcedencryption", SRTO_ENFORCEDENCRYPTION, true},
    {"streamid", SRTO_STREAMID, false},
    {"conntimeo", SRTO_CONNTIMEO, true},
    {"peeridletimeo", SRTO_PEERIDLETIMEO, true},
    {"packetfilter", SRTO_PACKETFILTER, false},
    {"lossmaxttl", SRTO_LOSSMAXTTL, true},
    {"tlpktdrop", SRTO_TLPKTDROP, true},
    {"nakreport", SRTO_NAKREPORT, true},
    {"minversion", SRTO_MINVERSION, true},
    {"mss", SRTO_MSS, true},
    {"fc", SRTO_FC, true},
    {"rcvbuf", SRTO_RCVBUF, true},
    {"udp_rcvbuf", SRTO_UDP_RCVBUF, true},
    {"payloadsize", SRTO_PAYLOADSIZE, true},
    {"ipttl", SRTO_IPTTL, true},
    {"iptos", SRTO_IPTOS, true},
    {"drifttracer", SRTO_DRIFTTRACER, true},
}};

enum class Mode { caller, listener, rendezvous };
constexpr std::array<std::pair<std::string_view, Mode>, 3> modes{
    {{"caller", Mode::caller}, {"listener", Mode::listener}, {"rendezvous", Mode::rendezvous}}};

Mode modeOf(const NetworkAddress& address) {
    Mode mode = address.host.empty() ? Mode::listener : Mode::caller;
    for (const auto& [name, value] : address.parameters) {
        if (name == "mode") {
            const auto* known = std::ranges::find(modes, value, &std::pair<std::string_view, Mode>::first);
            if (known == modes.end()) {
                throw wrongAddress(address.text,
                                   "mode \"" + value + "\", which is none of caller, listener, rendezvous");
            }
            mode = known->second;
        }
    }
    if (mode != Mode::listener && address.host.empty()) {
        throw wrongAddress(address.text, "nobody to call");
    }
    return mode;
}

// Sets one parameter. Returns what is wrong with it; empty for nothing.
std::string setParameter(const Socket& socket, const std::string& name, const std::string& value) {
    const auto* known = std::ranges::find(parameters, name, &Parameter::name);
    if (known == parameters.end()) {
        return "parameter \"" + name + "\", which is not known";
    }
    int number = 0;
    const char* end = value.data() + value.size();
    if (known->number && (std::from_chars(value.data(), end, number).ptr != end || value.empty())) {
        return "\"" + name + "=" + value + "\", which is no number";
    }
    const bool set = known->number
                         ? ::srt_setsockflag(socket.get(), known->option, &number, sizeof number) == 0
                         : ::srt_setsockflag(socket.get(), known->option, value.data(),
                                             static_cast<int>(value.size())) == 0;
    return set ? std::string() : "\"" + name + "=" + value + "\", which SRT refuses";
}

// Gives a socket the parameters of the address; nothing waits on it. Returns what is wrong; empty for
// nothing.
std::string prepare(const Socket& socket, const NetworkAddress& address) {
    const bool waits = false;
    ::srt_setsockflag(socket.get(), SRTO_RCVSYN, &waits, sizeof waits);
    std::string wrong;
    for (const auto& [name, value] : address.parameters) {
        if (wrong.empty() && name != "mode") {
            wrong = setParameter(socket, name, value);
        }
    }
    return wrong;
}

// The same for the first socket, where a user is told.
void requireSound(const Socket& socket, const NetworkAddress& address) {
    if (const std::string wrong = prepare(socket, address); !wrong.empty()) {
        throw wrongAddress(address.text, wrong);
    }
}

// Events of a socket, as bits.
constexpr int readable = SRT_EPOLL_IN;
constexpr int writable = SRT_EPOLL_OUT;
constexpr int broken = SRT_EPOLL_ERR;

// Waits for events of one socket.
class Events {
  public:
    Events(const Socket& socket, int events) : number_(::srt_epoll_create()) {
        const int wanted = events | broken;
        ::srt_epoll_add_usock(number_, socket.get(), &wanted);
    }
    Events(const Events&) = delete;
    Events& operator=(const Events&) = delete;
    ~Events() {
        ::srt_epoll_release(number_);
    }

    // The events that there are; 0 when it has been asked to stop.
    int await(const std::stop_token& stop) const {
        SRT_EPOLL_EVENT event{};
        while (!stop.stop_requested()) {
            if (::srt_epoll_uwait(number_, &event, 1, tunables::srtPatience.count()) > 0) {
                return event.events;
            }
        }
        return 0;
    }

  private:
    int number_;
};

// SRT has no descriptor that the board could wait for beside its sockets. So a thread receives, and passes on
// what it gets through a pair of sockets, whose buffer holds it back while the board is busy; SRT's own
// buffer is behind.
class SrtSource final : public PacketSource {
  public:
    explicit SrtSource(const NetworkAddress& address)
        : address_(address), mode_(modeOf(address)), peer_(resolve(address)) {
        std::array<int, 2> ends{};
        if (::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
            throw BoardError({"cannot open " + address.text, "a pair of sockets", std::strerror(errno),
                              "check the limits of this process"});
        }
        board_ = Descriptor(ends[0]);
        network_ = Descriptor(ends[1]);
        if (mode_ == Mode::listener) {
            auto listener = std::make_shared<Socket>(::srt_create_socket());
            listen(*listener);
            receiver_ = std::jthread([this, listener = std::move(listener)](const std::stop_token& stop) {
                serve(*listener, stop);
            });
        } else {
            requireSound(Socket(::srt_create_socket()), address_);
            receiver_ = std::jthread([this](const std::stop_token& stop) { callAgain(stop); });
        }
    }
    SrtSource(const SrtSource&) = delete;
    SrtSource& operator=(const SrtSource&) = delete;
    ~SrtSource() override {
        receiver_.request_stop();
        ::shutdown(board_.get(), SHUT_RDWR); // a thread that is passing something on goes on
    }

    Arrival read(std::span<std::uint8_t> buffer) override {
        const ssize_t bytes = ::recv(board_.get(), buffer.data(), buffer.size(), MSG_DONTWAIT);
        if (bytes == 0 || (bytes < 0 && errno != EAGAIN && errno != EINTR)) {
            throw BoardError({"cannot receive " + address_.text, "a transport stream",
                              bytes == 0 ? "a broken listener" : std::strerror(errno),
                              "check the sender and the network"});
        }
        return {static_cast<std::size_t>(std::max<ssize_t>(bytes, 0)), false};
    }

    bool rewind() override {
        return false;
    }
    int descriptor() const override {
        return board_.get();
    }
    bool live() const override {
        return true;
    }

  private:
    void listen(const Socket& listener) const {
        constexpr int waitingSenders = 8;
        const int bothFamilies = 0;
        requireSound(listener, address_);
        ::srt_setsockflag(listener.get(), SRTO_IPV6ONLY, &bothFamilies, sizeof bothFamilies);
        if (::srt_bind(listener.get(), peer_.get(), static_cast<int>(peer_.size)) != 0 ||
            ::srt_listen(listener.get(), waitingSenders) != 0) {
            throw BoardError({"cannot open " + address_.text, "an address of this machine",
                              ::srt_getlasterror_str(),
                              "check the address, and that no other program receives on it"});
        }
    }

    // Who calls while another is served waits until that one has gone.
    void serve(const Socket& listener, const std::stop_token& stop) {
        const Events calls(listener, readable);
        int events = 0;
        while ((events = calls.await(stop)) != 0 && (events & broken) == 0) {
            const Socket sender(::srt_accept(listener.get(), nullptr, nullptr));
            if (sender.valid()) {
                receive(sender, stop);
            }
        }
        ::shutdown(network_.get(), SHUT_WR); // nobody can call any more
    }

    void callAgain(const std::stop_token& stop) {
        std::unique_lock lock(pausing_);
        while (!stop.stop_requested()) {
            call(stop);
            pauseOver_.wait_for(lock, stop, tunables::srtCallPause, [] { return false; });
        }
    }

    void call(const std::stop_token& stop) {
        const Socket socket(::srt_create_socket());
        prepare(socket, address_);
        if (mode_ == Mode::rendezvous) {
            meet(socket);
        }
        const Events events(socket, writable);
        if (::srt_connect(socket.get(), peer_.get(), static_cast<int>(peer_.size)) == SRT_ERROR) {
            return;
        }
        if ((events.await(stop) & broken) == 0) {
            receive(socket, stop);
        }
    }

    // Both sides call each other, each from the port that the other calls.
    void meet(const Socket& socket) const {
        const bool yes = true;
        NetworkAddress here = address_;
        here.host = peer_.family() == AF_INET6 ? "::" : "0.0.0.0";
        const SocketAddress local = resolve(here);
        ::srt_setsockflag(socket.get(), SRTO_RENDEZVOUS, &yes, sizeof yes);
        ::srt_bind(socket.get(), local.get(), static_cast<int>(local.size));
    }

    // Passes on what a sender sends, until it has gone.
    void receive(const Socket& sender, const std::stop_token& stop) const {
        const Events arrivals(sender, readable);
        std::array<char, SRT_LIVE_MAX_PLSIZE> message{};
        while (!stop.stop_requested()) {
            const int size = ::srt_recvmsg(sender.get(), message.data(), static_cast<int>(message.size()));
            if (size > 0) {
                passOn({message.data(), static_cast<std::size_t>(size)});
            } else if (::srt_getlasterror(nullptr) != SRT_EASYNCRCV || arrivals.await(stop) == 0) {
                return;
            }
        }
    }

    // Waits while the board is busy; gives up when it has ended.
    void passOn(std::string_view message) const {
        while (!message.empty()) {
            const ssize_t sent = ::send(network_.get(), message.data(), message.size(), MSG_NOSIGNAL);
            if (sent < 0 && errno != EINTR) {
                return;
            }
            message.remove_prefix(static_cast<std::size_t>(std::max<ssize_t>(sent, 0)));
        }
    }

    NetworkAddress address_;
    Mode mode_;
    SocketAddress peer_; // or, of a listener, its own
    Library library_;
    Descriptor board_;   // where the board reads
    Descriptor network_; // where the thread writes
    std::mutex pausing_;
    std::condition_variable_any pauseOver_; // only a stop ends a pause early
    std::jthread receiver_;
};

} // namespace

std::unique_ptr<PacketSource> openSrtSource(const NetworkAddress& address) {
    return std::make_unique<SrtSource>(address);
}

} // namespace board
