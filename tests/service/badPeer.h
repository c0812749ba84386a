// Peers that break ZeroMQ's protocol (ZMTP 3.0), on plain sockets.
#pragma once

#include <atomic>
#include <string>
#include <thread>
#include <vector>

namespace serviceTest {

// What a peer does with each connection that it accepts.
struct BadPeerScript {
    std::string says{};         // at once
    std::string saysForEver{};  // and then, again and again
    bool closes = false;        // when it has said it, and the other side has said something
    bool closesUnheard = false; // at once
    bool readsNothing = false;  // and leaves the rest to the kernel's buffers
};

// The 64 bytes that open a connection, for a mechanism by its name.
std::string greeting(const std::string& mechanism);
// The command that ends the handshake.
std::string readyCommand(const std::string& socketType);

// Listens until its end, in a thread of its own. Its end closes its connections and frees the endpoint.
class BadPeer {
  public:
    // endpoint: "ipc://PATH" or "tcp://127.0.0.1:PORT". Throws std::system_error when it cannot be bound.
    BadPeer(const std::string& endpoint, BadPeerScript badScript);
    ~BadPeer();
    BadPeer(const BadPeer&) = delete;
    BadPeer& operator=(const BadPeer&) = delete;

    int connections() const {
        return accepted;
    }

    // What all connections have said so far, in bytes.
    std::size_t heard() const {
        return bytesHeard;
    }

    // Leaves the endpoint, and its TCP connections without a word, as a host does that loses its power.
    void vanish();

  private:
    struct Client {
        int descriptor;
        std::string unsaid;
        bool heard = false;
    };

    void serve();
    void stop();
    void acceptOne();
    bool keep(Client& client, short events) const;

    BadPeerScript script;
    std::string path;
    int listener = -1;
    std::atomic<int> accepted = 0;
    mutable std::atomic<std::size_t> bytesHeard = 0;
    std::atomic<bool> ends = false;
    std::vector<Client> clients;
    std::thread thread;
};

} // namespace serviceTest
