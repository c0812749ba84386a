#include "streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks pcrModulus = (Ticks{1} << 33) * 300;
constexpr Ticks stampModulus = (Ticks{1} << 33) * 300; // time stamps are given in 27 MHz ticks as well
constexpr double bitsPerPacket = 188 * 8;

} // namespace

bool StreamClock::packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp) {
    ++packets_;
    ++packetsSinceAnchor_;
    now_ = std::max(now_, anchorTime_ + static_cast<double>(packetsSinceAnchor_) * ticksPerPacket_);
    if (pcr) {
        if (base_ != TimeBase::pcr) { // a PCR beats every other time
            base_ = TimeBase::pcr;
            referencePid_.reset();
        }
        if (reference(pid, *pcr, pcrModulus)) {
            return true;
        }
    } else if (base_ != TimeBase::pcr) {
        if (base_ == TimeBase::none && packets_ >= tunables::pcrPatience && timeStamp) {
            base_ = TimeBase::timeStamps;
        }
        if (base_ == TimeBase::none && packets_ >= tunables::stampPatience) {
            chooseBase();
        }
        if (base_ == TimeBase::timeStamps && timeStamp && reference(pid, *timeStamp, stampModulus)) {
            return true;
        }
    }
    if (now_ - std::max(lastEstimate_, anchorTime_) >= static_cast<double>(tunables::estimatedTick)) {
        lastEstimate_ = now_;
        return true;
    }
    return false;
}

void StreamClock::seam() {
    anchorTime_ = now_;
    packetsSinceAnchor_ = 0;
    anchorValue_.reset();
}

void StreamClock::rest(Ticks elapsed) {
    now_ += static_cast<double>(elapsed);
    seam();
}

void StreamClock::sourceEnded() {
    if (base_ == TimeBase::none) {
        chooseBase();
    }
}

// Takes a reading of the reference clock. Returns whether it is one: another PID's reading counts only when
// the reference has been silent.
bool StreamClock::reference(std::uint16_t pid, Ticks value, Ticks modulus) {
    const bool silent = now_ - anchorTime_ > static_cast<double>(tunables::silentReference);
    if (referencePid_ != pid) {
        if (referencePid_ && !silent) {
            return false;
        }
        referencePid_ = pid;
        anchorValue_.reset();
    }
    double time = now_;
    if (anchorValue_) {
        const Ticks step = (value - *anchorValue_ + modulus) % modulus;
        if (step <= tunables::longestPcrStep) {
            time = anchorTime_ + static_cast<double>(step);
            if (step > 0 && packetsSinceAnchor_ > 0) {
                ticksPerPacket_ = static_cast<double>(step) / static_cast<double>(packetsSinceAnchor_);
            }
        }
    }
    now_ = std::max(now_, time);
    anchorTime_ = time;
    anchorValue_ = value;
    packetsSinceAnchor_ = 0;
    return true;
}

void StreamClock::chooseBase() {
    base_ = TimeBase::assumedRate;
    ticksPerPacket_ = bitsPerPacket * static_cast<double>(ticksPerSecond) / tunables::assumedBitRate;
    anchorTime_ = now_;
    packetsSinceAnchor_ = 0;
}

} // namespace board
