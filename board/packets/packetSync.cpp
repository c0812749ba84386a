#include "packets/packetSync.h"

#include <algorithm>
#include <array>

namespace board {

namespace {

constexpr std::array<std::size_t, 3> strides{188, 192, 204};
constexpr std::size_t largestStride = 204;

// Of packets with an arrival time stamp, which stands before them.
constexpr std::size_t stampedStride = 192;
constexpr std::size_t arrivalStampSize = 4;

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
    if (atEnd && lockOnePacket(at)) {
        return true;
    }
    const std::size_t needed = stride_ == 0 ? tunables::lockPackets : tunables::relockPackets;
    const auto undecided = [&] { return !atEnd && pending_.size() - at <= (needed - 1) * largestStride; };
    for (; at < pending_.size(); ++at, ++skippedBytes_) {
        if (undecided()) {
            return false;
        }
        const auto from = pending_.begin() + static_cast<std::ptrdiff_t>(at);
        const auto passed = static_cast<std::size_t>(std::find(from, pending_.end(), tsSyncByte) - from);
        at += passed;
        skippedBytes_ += passed;
        const std::size_t left = pending_.size() - at;
        if (left == 0 || undecided()) {
            return false;
        }
        // The stride known so far first: after garbage the format is most likely the same.
        if (stride_ != 0 && left >= tsPacketSize && inStep(at, stride_, needed, atEnd)) {
            return lockAt(at);
        }
        for (const std::size_t stride : strides) {
            // At the end of a flow a single sync byte is no proof of a new format.
            if (left > stride && inStep(at, stride, needed, atEnd)) {
                stride_ = stride;
                return lockAt(at);
            }
        }
    }
    return false;
}

bool PacketSync::lockAt(std::size_t& at) {
    const std::size_t start = likeliestStart(at);
    skippedBytes_ += start - at;
    at = start;
    locked_ = true;
    return true;
}

std::size_t PacketSync::likeliestStart(std::size_t at) const {
    std::size_t best = at;
    const std::size_t end = std::min(at + stride_, pending_.size());
    for (std::size_t place = at + 1; place < end; ++place) {
        if (pending_[place] != tsSyncByte) {
            continue;
        }
        const std::size_t most = (pending_.size() - place - 1) / stride_ + 1;
        const std::size_t ours = stepsFrom(place, most);
        const std::size_t others = stepsFrom(best, most);
        // Where both go on to the end, the first may be a stamp in front of the other.
        const bool isStamped = stride_ == stampedStride && place == best + arrivalStampSize;
        if (ours > others || (isStamped && ours == others)) {
            best = place;
        }
    }
    return best;
}

std::size_t PacketSync::stepsFrom(std::size_t at, std::size_t most) const {
    std::size_t count = 0;
    while (count < most && pending_[at + count * stride_] == tsSyncByte) {
        ++count;
    }
    return count;
}

bool PacketSync::lockOnePacket(std::size_t& at) {
    const std::size_t size = pending_.size();
    const bool isWholeFlow = stride_ == 0 && skippedBytes_ == 0;
    if (!isWholeFlow || std::ranges::find(strides, size) == strides.end()) {
        return false;
    }
    const bool isStamped = size == stampedStride && pending_[arrivalStampSize] == tsSyncByte;
    const std::size_t start = isStamped ? arrivalStampSize : 0;
    if (pending_[start] != tsSyncByte) {
        return false;
    }
    at = start;
    stride_ = size;
    locked_ = true;
    return true;
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
