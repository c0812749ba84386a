#include "source/rtpOrder.h"

#include "tunables.h"

#include <bitstream/ietf/rtp.h>

#include <utility>

namespace board {

namespace {

// Sequence numbers so far ahead or behind are no packets lost or late, but another start (as RFC 3550, A.1
// does).
constexpr int furthestAhead = 3000;
constexpr int furthestBehind = 1000;

// The bytes in front of the payload; more than there are where the header is cut off.
std::size_t headerSize(std::span<std::uint8_t> datagram) {
    std::size_t size = RTP_HEADER_SIZE + std::size_t{4} * rtp_get_cc(datagram.data());
    if (rtp_check_extension(datagram.data())) {
        size += RTP_EXTENSION_SIZE;
        if (size <= datagram.size()) {
            size += std::size_t{4} * rtpx_get_length(rtp_extension(datagram.data()));
        }
    }
    return size;
}

} // namespace

std::optional<RtpOrder::Packet> RtpOrder::read(std::span<std::uint8_t> datagram) {
    if (datagram.size() < RTP_HEADER_SIZE || !rtp_check_hdr(datagram.data()) ||
        rtp_get_type(datagram.data()) != RTP_TYPE_TS) {
        return std::nullopt;
    }
    const std::size_t padding = rtp_check_padding(datagram.data()) ? datagram.back() : 0;
    const std::size_t header = headerSize(datagram);
    if (header + padding >= datagram.size()) {
        return std::nullopt;
    }
    return Packet{rtp_get_int_ssrc(datagram.data()), rtp_get_seqnum(datagram.data()),
                  datagram.subspan(header, datagram.size() - header - padding)};
}

void RtpOrder::take(std::span<std::uint8_t> datagram, Instant now, Bytes& content) {
    release(now, content);
    const auto packet = read(datagram);
    if (!packet) {
        return;
    }
    if (!source_) {
        source_ = packet->source;
        expected_ = packet->sequence;
    }
    const auto ahead = static_cast<std::int16_t>(packet->sequence - static_cast<std::uint16_t>(expected_));
    if (packet->source == source_ && ahead >= 0 && ahead <= furthestAhead) {
        takeInOrder(expected_ + ahead, *packet, now, content);
        return;
    }
    const bool late = packet->source == source_ && ahead < 0 && ahead >= -furthestBehind &&
                      now - lastInOrder_ < tunables::rtpSilence;
    if (!late) {
        takeNewcomer(*packet, now, content);
    }
}

void RtpOrder::takeInOrder(std::int64_t number, const Packet& packet, Instant now, Bytes& content) {
    newcomer_.reset();
    lastInOrder_ = now;
    held_.try_emplace(number, Held{{packet.payload.begin(), packet.payload.end()}, now});
    if (held_.size() > tunables::rtpHeldPackets) {
        expected_ = held_.begin()->first;
    }
    deliverFollowing(content);
}

void RtpOrder::takeNewcomer(const Packet& packet, Instant now, Bytes& content) {
    const auto before = std::exchange(
        newcomer_, Newcomer{packet.source, packet.sequence, {packet.payload.begin(), packet.payload.end()}});
    if (!before || before->source != packet.source ||
        static_cast<std::uint16_t>(before->sequence + 1) != packet.sequence) {
        return;
    }
    while (!held_.empty()) {
        expected_ = held_.begin()->first;
        deliverFollowing(content);
    }
    content.insert(content.end(), before->payload.begin(), before->payload.end());
    source_ = packet.source;
    expected_ = packet.sequence;
    takeInOrder(expected_, packet, now, content);
}

void RtpOrder::release(Instant now, Bytes& content) {
    while (!held_.empty() && now - held_.begin()->second.arrived >= tunables::rtpPatience) {
        expected_ = held_.begin()->first;
        deliverFollowing(content);
    }
}

// Delivers what is held back, up to the next packet that is missing.
void RtpOrder::deliverFollowing(Bytes& content) {
    while (!held_.empty() && held_.begin()->first == expected_) {
        const Bytes& payload = held_.begin()->second.payload;
        content.insert(content.end(), payload.begin(), payload.end());
        held_.erase(held_.begin());
        ++expected_;
    }
}

} // namespace board
