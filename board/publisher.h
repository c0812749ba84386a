// The board's two sockets: XPUB on TCP port 5101, on which records are published, and REP on the instruction
// endpoint, on which a client says which.
#pragma once

#include "feed/topics.h"

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

namespace board {

using Clock = std::chrono::steady_clock;

inline constexpr const char* publishEndpoint = "tcp://*:5101";
inline constexpr const char* instructionDirectory = "/run/shm/zmq";
inline constexpr const char* instructionEndpoint = "ipc:///run/shm/zmq/uRO_MMR_MPEGFE-1";
inline constexpr const char* lockFile = "/run/shm/zmq/mpegfe-board.lock";

class Publisher {
  public:
    // Takes the lock and binds both sockets. Throws BoardError when the directory is missing, another board
    // is running or the port is in use.
    explicit Publisher(std::chrono::milliseconds interval);
    Publisher(const Publisher&) = delete;
    Publisher& operator=(const Publisher&) = delete;
    ~Publisher();

    // Waits up to this long for instructions and subscriptions and answers them. Returns early when one came,
    // or at a signal.
    void attend(std::chrono::milliseconds longest);

    // Publishes what is due: every requested record after an instruction or a subscription and once an
    // interval, and in between those that have changed.
    void publish(const RecordSet& records);

    // How long until publish has something to look at; 0 when it has.
    std::chrono::milliseconds untilDue() const;

    // Publishes every requested record at once.
    void publishRound(const RecordSet& records);

  private:
    void takeInstruction();
    void takeSubscriptions();
    void send(const Topic& topic, const RecordSet& records);

    struct Sockets;
    std::unique_ptr<Sockets> sockets_;
    std::chrono::milliseconds interval_;
    TopicBits requested_ = 0;
    std::uint32_t sequence_ = 0;
    std::unique_ptr<RecordSet> published_; // as last sent
    Clock::time_point nextRound_;
    Clock::time_point nextComparison_;
    bool subscriptionsWait_ = false;
};

} // namespace board
