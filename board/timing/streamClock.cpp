#include "timing/streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks modulus{(std::int64_t{1} << 33) * 300}; // of PCRs, and of time stamps given in the same ticks
constexpr double bitsPerPacket = 188 * 8;
constexpr FineTicks shortestPacket{4}; // that one takes at 10 Gbit/s; none comes faster
constexpr Ticks readingPeriod = std::chrono::milliseconds(100);

// From one reading of a clock to the next; a damaged reading may lie outside of the clock's range.
Ticks between(Ticks before, Ticks after) {
    return ((after - before) % modulus + modulus) % modulus;
}

// How long a live stream may show no time before real time stands in for it: longer than a network's bursts
// are apart, and short enough for the rates to be at 0 within their period.
Ticks longestPause(Ticks ratePeriod) {
    const Ticks period =
        ratePeriod > Ticks::zero() ? std::min(ratePeriod, tunables::ratePeriod) : tunables::ratePeriod;
    return period * 6 / 10;
}

} // namespace

StreamClock::StreamClock(SourceKind source, Ticks ratePeriod)
    : source_(source), arrival_(longestPause(ratePeriod)) {}

bool StreamClock::packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp) {
    ++packets_;
    now_ = std::max(now_, estimate());
    bool due = now_ - lastRead_ >= readingPeriod;
    if (timeStamp && read(stamps_, pid, *timeStamp)) {
        due = true;
    }
    if (pcr && read(pcrs_, pid, *pcr)) {
        due = true;
    }
    if (due) {
        lastRead_ = now_;
    }
    return due;
}

bool StreamClock::realTime(Ticks elapsed) {
    const FineTicks owed = arrival_.owed(elapsed, now_);
    now_ += owed;
    return owed > FineTicks::zero();
}

bool StreamClock::passEnded() {
    if (timed()) {
        return false;
    }
    assumeRate();
    now_ = std::max(now_, estimate());
    return true;
}

void StreamClock::startOver() {
    pcrs_.clear();
    stamps_.clear();
    leader_ = nullptr;
    packetTime_ = recentTime_ = FineTicks::zero();
    recentPackets_ = 0;
    expectedStep_ = Ticks::zero();
    lastMove_ = lastPcrMove_ = anchorPacket_ = packets_;
    anchorTime_ = now_;
}

// Takes a reading of one PID's clock. Returns whether the stream's clock is to be read.
bool StreamClock::read(Lines& lines, std::uint16_t pid, Ticks value) {
    const auto [place, isNew] = lines.try_emplace(pid, Line{value, now_, packets_});
    Line& line = place->second;
    const bool counts = &lines == &pcrs_ || stampsCount();
    if (isNew) {
        if (counts && leader_ == nullptr) {
            anchor(line, now_);
        }
        return leader_ == &line;
    }
    const Ticks step = between(line.value, value);
    if (step == Ticks::zero()) { // written twice, or stuck: what is expected next is expected from here
        if (timed() && leader_ == &line) {
            anchor(line, now_);
        }
        return false;
    }
    const std::uint64_t packets = packets_ - line.packet;
    const bool plausible = isPlausible(line, step, packets);
    const bool late = lags(line, step);
    line.value = value;
    line.packet = packets_;
    line.lastStep = step <= tunables::longestStep ? step : Ticks::zero();
    if (!plausible) {
        startAnew(line);
        return false;
    }
    line.time = late ? now_ : line.time + step;
    if (&lines == &pcrs_) {
        lastPcrMove_ = packets_;
    }
    return counts && moveTo(line, step, packets);
}

// Whether a clock can have run by these ticks. A long step is at most twice the one before, or twice as long
// as the packets since take, where that has been measured.
bool StreamClock::isPlausible(const Line& line, Ticks step, std::uint64_t packets) const {
    if (step < packets * shortestPacket || step > tunables::longestStep) {
        return false;
    }
    if (step <= tunables::plausibleStep || recentTime_ == FineTicks::zero()) {
        return true;
    }
    return step <= 2 * std::max<FineTicks>(packets * packetTime_, line.lastStep);
}

// Whether time has gone on without this line, by more than an estimate may be wrong.
bool StreamClock::lags(const Line& line, Ticks step) const {
    return now_ - line.time - step > 2 * std::max(step, line.lastStep);
}

void StreamClock::startAnew(Line& line) {
    line.time = now_;
    if (leader_ == &line && timed()) {
        anchor(line, now_);
    }
}

// A line has run on, and moves time if it leads. Returns whether it does.
bool StreamClock::moveTo(Line& line, Ticks step, std::uint64_t packets) {
    lastMove_ = packets_;
    arrival_.streamRan();
    if (leader_ != &line) {
        if (!leaderIsLate(line, step)) {
            return false;
        }
        line.time = std::max(now_, line.time);
    }
    learnRate(step, packets);
    anchor(line, line.time);
    expectedStep_ = step;
    now_ = std::max(now_, line.time);
    return true;
}

// Whether the leader has missed two readings, by its pace and this line's, or has had one only and long ago.
bool StreamClock::leaderIsLate(const Line& line, Ticks step) const {
    const Ticks pace = std::max(expectedStep_, step);
    return expectedStep_ > Ticks::zero() ? line.time > anchorTime_ + 2 * pace
                                         : packets_ - anchorPacket_ >= tunables::stampPatience;
}

void StreamClock::anchor(const Line& line, FineTicks time) {
    leader_ = &line;
    anchorTime_ = time;
    anchorPacket_ = packets_;
}

void StreamClock::learnRate(Ticks step, std::uint64_t packets) {
    recentTime_ += step;
    recentPackets_ += static_cast<double>(packets);
    packetTime_ = recentTime_ / recentPackets_;
    if (recentTime_ > std::chrono::seconds(1)) {
        recentTime_ /= 2;
        recentPackets_ /= 2;
    }
}

void StreamClock::assumeRate() {
    packetTime_ = FineTicks(std::chrono::seconds(1)) * bitsPerPacket / tunables::assumedBitRate;
}

// Whether it is known, or assumed, how long a packet takes.
bool StreamClock::timed() const {
    return packetTime_ > FineTicks::zero();
}

bool StreamClock::stampsCount() const {
    return packets_ - lastPcrMove_ >= tunables::stampPatience;
}

// The time by the packets since the leader's last reading. While it lives its next reading is not passed by:
// many packets in a row are a large picture rather than much time. A live source's packets tell nothing
// further.
FineTicks StreamClock::estimate() {
    const bool gone = packets_ - lastMove_ >= tunables::clockPatience && source_ == SourceKind::stored;
    if (!timed() && gone) {
        assumeRate();
    }
    const FineTicks byPackets = (packets_ - anchorPacket_) * packetTime_;
    return anchorTime_ + (gone || expectedStep_ == Ticks::zero()
                              ? byPackets
                              : std::min<FineTicks>(byPackets, expectedStep_));
}

} // namespace board
