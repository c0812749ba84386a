// Finds the packets in a flow of bytes: 188-byte packets, also as 192-byte (time-stamped) and 204-byte
// (Reed-Solomon) ones, with garbage between them and packets cut short.
#pragma once

#include "packets/syncErrors.h"
#include "tunables.h"

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace board {

inline constexpr std::size_t tsPacketSize = 188;
inline constexpr std::uint8_t tsSyncByte = 0x47;

class PacketSync {
  public:
    // Takes bytes and calls onPacket(const std::uint8_t* packet) for each packet found, in order.
    template <class OnPacket>
    void push(std::span<const std::uint8_t> bytes, OnPacket&& onPacket) {
        pending_.insert(pending_.end(), bytes.begin(), bytes.end());
        drain(Flow::goesOn, onPacket);
    }

    // Nothing has come for a while: hands out the whole packets that were held back until it is known what
    // follows them.
    template <class OnPacket>
    void rest(OnPacket&& onPacket) {
        drain(Flow::rests, onPacket);
    }

    // Hands out what is left at the end of the flow; the next push starts a new flow of the same format.
    template <class OnPacket>
    void finish(OnPacket&& onPacket) {
        drain(Flow::ended, onPacket);
        pending_.clear();
        locked_ = false;
    }

    // Bytes from packet to packet: 188, 192 or 204; 0 as long as no packet has been found.
    std::size_t stride() const {
        return stride_;
    }
    std::uint64_t losses() const {
        return losses_;
    }
    const SyncErrors& errors() const {
        return errors_;
    }
    std::uint64_t skippedBytes() const {
        return skippedBytes_;
    }

  private:
    enum class Flow { goesOn, rests, ended };

    template <class OnPacket>
    void drain(Flow flow, OnPacket& onPacket) {
        std::size_t at = 0;
        while (true) {
            if (!locked_ && !lock(at, flow == Flow::ended)) {
                break;
            }
            const std::size_t left = pending_.size() - at;
            if (left < bytesNeeded(flow)) {
                break;
            }
            if (pending_[at] != tsSyncByte) {
                locked_ = false;
                ++losses_;
                countMissing(at);
                continue;
            }
            if (const std::size_t restart = cutShortBy(at); restart != 0) {
                ++losses_;
                countMissing(at + stride_);
                skippedBytes_ += restart - at;
                at = restart;
                continue;
            }
            errors_.present();
            onPacket(static_cast<const std::uint8_t*>(pending_.data() + at));
            at += left < stride_ ? left : stride_;
        }
        pending_.erase(pending_.begin(), pending_.begin() + static_cast<std::ptrdiff_t>(at));
    }

    // Behind the start of a packet. What follows it tells whether it is whole, so that is waited for.
    std::size_t bytesNeeded(Flow flow) const {
        switch (flow) {
        case Flow::goesOn:
            return tunables::relockPackets * stride_;
        case Flow::rests:
            return stride_;
        default:
            return tsPacketSize;
        }
    }

    // Moves at to the next packet and sets the stride. Returns false, with what cannot be one passed, when
    // more bytes are needed.
    bool lock(std::size_t& at, bool atEnd);

    // Packets begin at this place or a little behind it. Returns true.
    bool lockAt(std::size_t& at);

    // A flow that is exactly as long as one packet and has its sync byte in the one place is that packet.
    bool lockOnePacket(std::size_t& at);

    // Whether count sync bytes stand at this stride from at; at the end of the flow, as many as there are.
    bool inStep(std::size_t at, std::size_t stride, std::size_t count, bool atEnd) const;

    // The packets may begin at this place, or at one of the next: where sync bytes go on for longest. Any
    // byte may look like one for a while, of a header or of an arrival time stamp.
    std::size_t likeliestStart(std::size_t at) const;

    // How many sync bytes stand in step from here on, of so many at most.
    std::size_t stepsFrom(std::size_t at, std::size_t most) const;

    // Where the packets go on inside this one, when it was cut short; 0 when it is whole.
    std::size_t cutShortBy(std::size_t at) const;

    // Counts the sync bytes that are missing from here on, as many as it takes to call sync lost.
    void countMissing(std::size_t at);

    std::vector<std::uint8_t> pending_;
    std::size_t stride_ = 0;
    bool locked_ = false;
    std::uint64_t losses_ = 0;
    SyncErrors errors_;
    std::uint64_t skippedBytes_ = 0;
};

} // namespace board
