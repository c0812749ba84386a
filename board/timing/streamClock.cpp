#include "timing/streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks modulus = (Ticks{1} << 33) * 300; // of PCRs, and of time stamps given in the same ticks
constexpr double bitsPerPacket = 188 * 8;

// Ticks from one reading of a clock to the next; a damaged reading may lie outside of the clock's range.
Ticks between(Ticks before, Ticks after) {
    return ((after - before) % modulus + modulus) % modulus;
}

// How long the reference may be silent before real time stands in for it: longer than a network's bursts are
// apart, and short enough for the rates to be at 0 within their period.
Ticks longestPause(Ticks ratePeriod) {
    const Ticks period = ratePeriod > 0 ? std::min(ratePeriod, tunables::ratePeriod) : tunables::ratePeriod;
    return period * 6 / 10;
}

} // namespace

StreamClock::StreamClock(SourceKind source, Ticks ratePeriod)
    : source_(source), arrival_(longestPause(ratePeriod)) {}

bool StreamClock::packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp) {
    ++packets_;
    ++packetsSinceAnchor_;
    now_ = std::max(now_, anchorTime_ + estimate());
    if (pcr ? pcrReading(pid, *pcr) : stampReading(pid, timeStamp)) {
        return true;
    }
    if (now_ - std::max(lastEstimate_, anchorTime_) >= static_cast<double>(tunables::estimatedTick)) {
        lastEstimate_ = now_;
        return true;
    }
    return false;
}

void StreamClock::seam() {
    anchorTime_ = now_;
    anchorValue_.reset();
    packetsSinceAnchor_ = 0;
    repetitions_ = 0;
    borrowed_ = 0;
    rivals_.clear();
    returningPcrs_.clear();
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

// A PCR beats every other time; one that comes late has to run.
bool StreamClock::pcrReading(std::uint16_t pid, Ticks value) {
    if (base_ == TimeBase::none) {
        base_ = TimeBase::pcr;
    } else if (base_ != TimeBase::pcr) {
        if (readRival(returningPcrs_, pid, value).steps == 0) {
            return false;
        }
        base_ = TimeBase::pcr;
        follow(pid);
    }
    return reference(pid, value);
}

bool StreamClock::stampReading(std::uint16_t pid, std::optional<Ticks> value) {
    if (!timed()) {
        lookElsewhere(value.has_value());
    }
    return base_ == TimeBase::timeStamps && value && reference(pid, *value);
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

void StreamClock::chooseBase() {
    base_ = TimeBase::assumedRate;
    ticksPerPacket_ = bitsPerPacket * static_cast<double>(ticksPerSecond) / tunables::assumedBitRate;
    lastStep_ = 0;
    anchorTime_ = now_;
    packetsSinceAnchor_ = 0;
}

// Takes a reading of the reference clock. Returns whether it is one: another PID's reading counts only when
// the reference has fallen silent, and a value that is repeated says nothing new.
bool StreamClock::reference(std::uint16_t pid, Ticks value) {
    if (referencePid_ != pid) {
        if (referencePid_ && !takesOver(pid, value)) {
            return false;
        }
        follow(pid);
    }
    if (anchorValue_ == value) {
        ++repetitions_;
        return false;
    }
    double time = now_;
    if (anchorValue_) {
        const Ticks ticks = between(*anchorValue_, value);
        if (isStep(ticks, packetsSinceAnchor_, std::max(lastStep_, refusedStep_))) {
            time = step(ticks);
        } else {
            refusedStep_ = ticks <= tunables::longestFirstStep ? ticks : 0;
        }
    }
    anchor(time, value);
    return true;
}

// Another PID's clock takes over when it has run on for long without a step of the reference.
bool StreamClock::takesOver(std::uint16_t pid, Ticks value) {
    const Rival& rival = readRival(rivals_, pid, value);
    if (!timed()) {
        return packetsSinceAnchor_ >= tunables::pcrPatience;
    }
    if (rival.ran <= longestSilence() || rival.steps < tunables::fewestRivalSteps) {
        return false;
    }
    now_ = std::max(now_, rival.start + static_cast<double>(rival.ran));
    return true;
}

const StreamClock::Rival& StreamClock::readRival(Rivals& rivals, std::uint16_t pid, Ticks value) const {
    Rival& rival = rivals.try_emplace(pid, Rival{now_, value, packets_}).first->second;
    const Ticks ticks = between(rival.value, value);
    if (ticks > 0 && isStep(ticks, packets_ - rival.packet, rival.lastStep)) {
        rival.lastStep = ticks;
        rival.ran += ticks;
        ++rival.steps;
    }
    rival.value = value;
    rival.packet = packets_;
    return rival;
}

void StreamClock::follow(std::uint16_t pid) {
    referencePid_ = pid;
    anchorValue_.reset();
    lastStep_ = 0;
    refusedStep_ = 0;
    recentTicks_ = 0;
    recentPackets_ = 0;
    rivals_.clear();
    returningPcrs_.clear();
}

void StreamClock::anchor(double time, Ticks value) {
    now_ = std::max(now_, time);
    anchorTime_ = time;
    anchorValue_ = value;
    packetsSinceAnchor_ = 0;
    repetitions_ = 0;
    borrowed_ = 0;
}

// The reference has run on. Returns the time that it tells.
double StreamClock::step(Ticks ticks) {
    const bool ran = !stoodStill(ticks);
    const double time = ran ? anchorTime_ + static_cast<double>(ticks) : now_;
    lastStep_ = ticks;
    refusedStep_ = 0;
    rivals_.clear();
    arrival_.streamRan();
    if (ran) {
        recentTicks_ += static_cast<double>(ticks);
        recentPackets_ += static_cast<double>(packetsSinceAnchor_);
        ticksPerPacket_ = recentTicks_ / recentPackets_;
    }
    if (recentTicks_ > static_cast<double>(tunables::longestPcrStep)) {
        recentTicks_ /= 2;
        recentPackets_ /= 2;
    }
    return time;
}

// Whether a clock has run by these ticks, or leapt: a long step is at most twice the step before, or twice as
// long as the packets that have come in between take. Before that is known there is nothing to compare with.
bool StreamClock::isStep(Ticks ticks, std::uint64_t packets, Ticks lastStep) const {
    if (ticks <= tunables::longestPcrStep) {
        return true;
    }
    if (!timed()) {
        return ticks <= tunables::longestFirstStep;
    }
    const double expected =
        std::max(static_cast<double>(packets) * ticksPerPacket_, static_cast<double>(lastStep));
    return static_cast<double>(ticks) <= 2 * expected;
}

// Whether the reference stood still while real time, or the packets, stood in for it, instead of running on
// unseen.
bool StreamClock::stoodStill(Ticks ticks) const {
    const double stoodIn = std::max(borrowed_, referenceGone() ? byPackets() : 0.0);
    return static_cast<double>(ticks) < stoodIn / 2;
}

Ticks StreamClock::longestSilence() const {
    return std::max(tunables::silentReference, 2 * lastStep_);
}

// Silent for long, and through more packets than any picture has, or stuck.
bool StreamClock::referenceGone() const {
    return byPackets() > static_cast<double>(longestSilence()) &&
           (packetsSinceAnchor_ >= tunables::largestPicture || repetitions_ >= tunables::stuckRepetitions);
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

} // namespace board
