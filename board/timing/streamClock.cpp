#include "timing/streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks modulus = (Ticks{1} << 33) * 300; // of PCRs, and of time stamps given in the same ticks
constexpr double bitsPerPacket = 188 * 8;
constexpr Ticks shortestPacket = 4; // ticks that one takes at 10 Gbit/s; none comes faster
constexpr double readingPeriod = static_cast<double>(ticksPerSecond) / 10;

// Ticks from one reading of a clock to the next; a damaged reading may lie outside of the clock's range.
Ticks between(Ticks before, Ticks after) {
    return ((after - before) % modulus + modulus) % modulus;
}

// How long a live stream may show no time before real time stands in for it: longer than a network's bursts
// are apart, and short enough for the rates to be at 0 within their period.
Ticks longestPause(Ticks ratePeriod) {
    const Ticks period = ratePeriod > 0 ? std::min(ratePeriod, tunables::ratePeriod) : tunables::ratePeriod;
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
    const double owed = arrival_.owed(elapsed, now_);
    now_ += owed;
    return owed > 0;
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
    ticksPerPacket_ = recentTicks_ = recentPackets_ = 0;
    expectedStep_ = 0;
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
    if (step == 0) { // written twice, or stuck: what is expected next is expected from here
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
    line.lastStep = step <= tunables::longestStep ? step : 0;
    if (!plausible) {
        startAnew(line);
        return false;
    }
    line.time = late ? now_ : line.time + static_cast<double>(step);
    if (&lines == &pcrs_) {
        lastPcrMove_ = packets_;
    }
    return counts && moveTo(line, step, packets);
}

// Whether a clock can have run by these ticks. A long step is at most twice the one before, or twice as long
// as the packets since take, where that has been measured.
bool StreamClock::isPlausible(const Line& line, Ticks step, std::uint64_t packets) const {
    if (step < static_cast<Ticks>(packets) * shortestPacket || step > tunables::longestStep) {
        return false;
    }
    if (step <= tunables::plausibleStep || recentTicks_ == 0) {
        return true;
    }
    const double expected =
        std::max(static_cast<double>(packets) * ticksPerPacket_, static_cast<double>(line.lastStep));
    return static_cast<double>(step) <= 2 * expected;
}

// Whether time has gone on without this line, by more than an estimate may be wrong.
bool StreamClock::lags(const Line& line, Ticks step) const {
    return now_ - line.time - static_cast<double>(step) >
           2 * static_cast<double>(std::max(step, line.lastStep));
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
    const auto pace = static_cast<double>(std::max(expectedStep_, step));
    return expectedStep_ > 0 ? line.time > anchorTime_ + 2 * pace
                             : packets_ - anchorPacket_ >= tunables::stampPatience;
}

void StreamClock::anchor(const Line& line, double time) {
    leader_ = &line;
    anchorTime_ = time;
    anchorPacket_ = packets_;
}

void StreamClock::learnRate(Ticks step, std::uint64_t packets) {
    recentTicks_ += static_cast<double>(step);
    recentPackets_ += static_cast<double>(packets);
    ticksPerPacket_ = recentTicks_ / recentPackets_;
    if (recentTicks_ > static_cast<double>(ticksPerSecond)) {
        recentTicks_ /= 2;
        recentPackets_ /= 2;
    }
}

void StreamClock::assumeRate() {
    ticksPerPacket_ = bitsPerPacket * static_cast<double>(ticksPerSecond) / tunables::assumedBitRate;
}

// Whether it is known, or assumed, how long a packet takes.
bool StreamClock::timed() const {
    return ticksPerPacket_ > 0;
}

bool StreamClock::stampsCount() const {
    return packets_ - lastPcrMove_ >= tunables::stampPatience;
}

// The time by the packets since the leader's last reading. While it lives its next reading is not passed by:
// many packets in a row are a large picture rather than much time. A live source's packets tell nothing
// further.
double StreamClock::estimate() {
    const bool gone = packets_ - lastMove_ >= tunables::clockPatience && source_ == SourceKind::stored;
    if (!timed() && gone) {
        assumeRate();
    }
    const double byPackets = static_cast<double>(packets_ - anchorPacket_) * ticksPerPacket_;
    return anchorTime_ +
           (gone || expectedStep_ == 0 ? byPackets : std::min(byPackets, static_cast<double>(expectedStep_)));
}

} // namespace board
