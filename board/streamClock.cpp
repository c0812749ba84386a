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
    } else if (wantsTimeStamps()) {
        if (!timed()) {
            lookElsewhere(timeStamp.has_value());
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
    if (!timed()) {
        chooseBase();
        now_ += static_cast<double>(packets_) * ticksPerPacket_;
        anchorTime_ = now_;
    }
}

// Time has not begun to run: gives up waiting for the PCR, and later for time stamps. A stream that has shown
// a PCR gets longer to show the second.
void StreamClock::lookElsewhere(bool hasTimeStamp) {
    const std::uint64_t patience =
        base_ == TimeBase::pcr ? tunables::secondPcrPatience : tunables::stampPatience;
    if (packets_ >= patience) {
        chooseBase();
    } else if (base_ != TimeBase::timeStamps && packets_ >= tunables::pcrPatience && hasTimeStamp) {
        base_ = TimeBase::timeStamps;
        referencePid_.reset();
    }
}

// Takes a reading of the reference clock. Returns whether it is one: another PID's reading counts only when
// the reference has been silent.
bool StreamClock::reference(std::uint16_t pid, Ticks value, Ticks modulus) {
    if (referencePid_ != pid) {
        if (referencePid_ && !referenceSilent()) {
            return false;
        }
        referencePid_ = pid;
        anchorValue_.reset();
        lastStep_ = 0;
    }
    double time = now_;
    if (anchorValue_) {
        const Ticks step = (value - *anchorValue_ + modulus) % modulus;
        if (isStep(step)) {
            time = anchorTime_ + static_cast<double>(step);
            lastStep_ = step;
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

bool StreamClock::referenceSilent() const {
    if (!timed()) {
        return packetsSinceAnchor_ >= tunables::pcrPatience;
    }
    return now_ - anchorTime_ > static_cast<double>(std::max(tunables::silentReference, 2 * lastStep_));
}

// Whether the reference has run this far, or leapt: a long step needs the packets that fill it. Before the
// packet rate is known there is nothing to compare with.
bool StreamClock::isStep(Ticks step) const {
    if (step <= tunables::longestPcrStep) {
        return true;
    }
    if (!timed()) {
        return step <= tunables::longestFirstStep;
    }
    return static_cast<double>(step) <= 2 * static_cast<double>(packetsSinceAnchor_) * ticksPerPacket_;
}

void StreamClock::chooseBase() {
    base_ = TimeBase::assumedRate;
    ticksPerPacket_ = bitsPerPacket * static_cast<double>(ticksPerSecond) / tunables::assumedBitRate;
    anchorTime_ = now_;
    packetsSinceAnchor_ = 0;
}

} // namespace board
