#include "streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks pcrModulus = (Ticks{1} << 33) * 300;
constexpr Ticks stampModulus = (Ticks{1} << 33) * 300; // time stamps are given in 27 MHz ticks as well
constexpr double bitsPerPacket = 188 * 8;

// Ticks from one reading of a clock of this modulus to the next; a damaged reading may lie outside of it.
Ticks between(Ticks before, Ticks after, Ticks modulus) {
    return ((after - before) % modulus + modulus) % modulus;
}

} // namespace

bool StreamClock::packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp) {
    ++packets_;
    ++packetsSinceAnchor_;
    now_ = std::max(now_, anchorTime_ + estimate());
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
    borrowed_ = 0;
}

bool StreamClock::realTime(Ticks elapsed) {
    const double owed = arrival_.owed(elapsed, now_);
    now_ += owed;
    borrowed_ += owed;
    return owed > 0;
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
    } else if (base_ != TimeBase::timeStamps && packetsSinceAnchor_ >= tunables::pcrPatience &&
               hasTimeStamp) {
        base_ = TimeBase::timeStamps;
        referencePid_.reset();
    }
}

// Time since the anchor if packets came as fast as of late.
double StreamClock::byPackets() const {
    return static_cast<double>(packetsSinceAnchor_) * ticksPerPacket_;
}

// Time since the anchor. While the reference lives it is not passed by: many packets in a row are a large
// picture rather than much time.
double StreamClock::estimate() const {
    const bool alone = base_ == TimeBase::assumedRate || referenceGone();
    return alone && source_ == SourceKind::stored ? byPackets()
                                                  : std::min(byPackets(), static_cast<double>(lastStep_));
}

// Takes a reading of the reference clock. Returns whether it is one: another PID's reading counts only when
// the reference has fallen silent.
bool StreamClock::reference(std::uint16_t pid, Ticks value, Ticks modulus) {
    if (referencePid_ != pid) {
        if (referencePid_ && !takesOver(pid, value, modulus)) {
            return false;
        }
        referencePid_ = pid;
        anchorValue_.reset();
        lastStep_ = 0;
        recentTicks_ = 0;
        recentPackets_ = 0;
    }
    double time = now_;
    if (anchorValue_) {
        const Ticks ticks = between(*anchorValue_, value, modulus);
        if (isStep(ticks)) {
            time = step(ticks);
        }
    }
    now_ = std::max(now_, time);
    anchorTime_ = time;
    anchorValue_ = value;
    packetsSinceAnchor_ = 0;
    borrowed_ = 0;
    rival_.reset();
    return true;
}

// Another PID's clock takes over when it has run on for long without a word of the reference.
bool StreamClock::takesOver(std::uint16_t pid, Ticks value, Ticks modulus) {
    if (!timed()) {
        return packetsSinceAnchor_ >= tunables::pcrPatience;
    }
    if (!rival_ || (rival_->pid != pid && packets_ - rival_->lastPacket >= tunables::pcrPatience)) {
        rival_ = {pid, value, packets_};
    }
    if (rival_->pid != pid) {
        return false;
    }
    rival_->lastPacket = packets_;
    const Ticks ran = between(rival_->firstValue, value, modulus);
    if (ran <= longestSilence() || ran > tunables::longestFirstStep) {
        return false;
    }
    now_ = std::max(now_, anchorTime_ + static_cast<double>(ran));
    return true;
}

// The reference has run on. Returns the time that it tells.
double StreamClock::step(Ticks ticks) {
    const double time = stoodStill(ticks) ? now_ : anchorTime_ + static_cast<double>(ticks);
    lastStep_ = ticks;
    arrival_.streamRan();
    recentTicks_ += static_cast<double>(ticks);
    recentPackets_ += static_cast<double>(packetsSinceAnchor_);
    if (recentTicks_ > static_cast<double>(tunables::longestPcrStep)) {
        recentTicks_ /= 2;
        recentPackets_ /= 2;
    }
    ticksPerPacket_ = recentPackets_ > 0 ? recentTicks_ / recentPackets_ : 0;
    return time;
}

// Whether the sender's clock stood still in the pause that real time has filled, instead of running on.
bool StreamClock::stoodStill(Ticks step) const {
    return static_cast<double>(step) < borrowed_ / 2;
}

Ticks StreamClock::longestSilence() const {
    return std::max(tunables::silentReference, 2 * lastStep_);
}

// Silent for long, and through more packets than any picture has.
bool StreamClock::referenceGone() const {
    return packetsSinceAnchor_ >= tunables::largestPicture &&
           byPackets() > static_cast<double>(longestSilence());
}

// Whether the reference has run this far, or leapt or stuck: a long step is one that has been as long before,
// or has the packets that fill it. Before a step is known there is nothing to compare with.
bool StreamClock::isStep(Ticks step) const {
    if (step <= tunables::longestPcrStep) {
        return step > 0;
    }
    if (!timed()) {
        return step <= tunables::longestFirstStep;
    }
    return static_cast<double>(step) <= 2 * std::max(byPackets(), static_cast<double>(lastStep_));
}

void StreamClock::chooseBase() {
    base_ = TimeBase::assumedRate;
    ticksPerPacket_ = bitsPerPacket * static_cast<double>(ticksPerSecond) / tunables::assumedBitRate;
    lastStep_ = 0;
    anchorTime_ = now_;
    packetsSinceAnchor_ = 0;
}

} // namespace board
