#include "packets/packetSync.h"

#include <array>

namespace board {

namespace {

constexpr std::array<std::size_t, 3> strides{188, 192, 204};
constexpr std::size_t largestStride = 204;

} // namespace

bool PacketSync::inStep(std::size_t at, std::size_t stride, std::size_t count, bool atEnd) const {
    for (std::size_t k = 0; k < count; ++k) {
        const std::size_t place = at + k * stride;
        if (place >= pending_.size()) {
            return atEnd && k > 0;
        }
        if (pending_[place] != tsSyncByte) {
            return false;
        }
    }
    return true;
}

bool PacketSync::lock(std::size_t& at, bool atEnd) {
    const std::size_t needed = stride_ == 0 ? tunables::lockPackets : tunables::relockPackets;
    for (; at < pending_.size(); ++at, ++skippedBytes_) {
        const std::size_t left = pending_.size() - at;
        if (!atEnd && left <= (needed - 1) * largestStride) {
            return false;
        }
        // The stride known so far first: after garbage the format is most likely the same.
        if (stride_ != 0 && left >= tsPacketSize && inStep(at, stride_, needed, atEnd)) {
            locked_ = true;
            return true;
        }
        for (const std::size_t stride : strides) {
            // At the end of a flow a single sync byte is no proof of a new format.
            if (left > stride && inStep(at, stride, needed, atEnd)) {
                stride_ = stride;
                locked_ = true;
                return true;
            }
        }
    }
    return false;
}

void PacketSync::countMissing(std::size_t at) {
    for (std::uint32_t k = 0; k < tunables::lostSyncBytes; ++k, at += stride_) {
        if (at >= pending_.size() || pending_[at] == tsSyncByte) {
            return;
        }
        errors_.missing();
    }
}

std::size_t PacketSync::cutShortBy(std::size_t at) const {
    const std::size_t next = at + stride_;
    if (next >= pending_.size() || pending_[next] == tsSyncByte) {
        return 0;
    }
    for (std::size_t place = at + 1; place < next; ++place) {
        const std::size_t third = place + 2 * stride_;
        if (third < pending_.size() && inStep(place, stride_, tunables::relockPackets, false)) {
            return place;
        }
    }
    return 0;
}

} // namespace board
