// Brings RTP packets into the order in which they were sent (IETF RFC 3550).
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <span>
#include <vector>

namespace board {

// Packets come out as soon as all before them have. One that is missing is waited for, and what follows it is
// held back as long; one that comes later than that, or twice, is dropped. A sender that starts anew is
// followed.
class RtpOrder {
  public:
    using Instant = std::chrono::nanoseconds; // of a clock that never runs backwards
    using Bytes = std::vector<std::uint8_t>;

    // Takes a datagram that arrived now, and appends to content what is due: the transport packets without
    // their RTP headers. What is no RTP packet of a transport stream (payload type 33) is dropped.
    void take(std::span<std::uint8_t> datagram, Instant now, Bytes& content);

    // Appends what need not be waited for any longer.
    void release(Instant now, Bytes& content);

  private:
    struct Packet {
        std::uint32_t source; // SSRC
        std::uint16_t sequence;
        std::span<const std::uint8_t> payload;
    };
    struct Held {
        Bytes payload;
        Instant arrived;
    };
    // A packet that is out of place. The one behind it proves that the sender has started anew.
    struct Newcomer {
        std::uint32_t source;
        std::uint16_t sequence;
        Bytes payload;
    };

    static std::optional<Packet> read(std::span<std::uint8_t> datagram);
    void takeInOrder(std::int64_t number, const Packet& packet, Instant now, Bytes& content);
    void takeNewcomer(const Packet& packet, Instant now, Bytes& content);
    void deliverFollowing(Bytes& content);

    std::optional<std::uint32_t> source_; // that is followed
    std::int64_t expected_ = 0;           // number of the next packet: its sequence number, extended
    Instant lastInOrder_{0};
    std::map<std::int64_t, Held> held_; // by number
    std::optional<Newcomer> newcomer_;
};

} // namespace board
