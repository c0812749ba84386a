#include "timing/streamClock.h"

#include <algorithm>

namespace board {

namespace {

constexpr Ticks modulus{(std::int64_t{1} << 33) * 300}; // of PCRs, and of time stamps given in the same ticks
constexpr FineTicks shortestPacket{4};                  // that one takes at 10 Gbit/s; none comes faster
constexpr FineTicks assumedPacket = FineTicks(std::chrono::seconds(1)) * 188 * 8 / tunables::assumedBitRate;
constexpr Ticks readingPeriod = std::chrono::milliseconds(100);

// From one reading of a clock to the next; a damaged reading may lie outside of the clock's range.
Ticks between(Ticks before, Ticks after) {
    return ((after - before) % modulus + modulus) % modulus;
}

// How long a live stream may show no time before real time stands in for it: longer than a network's bursts
// are apart, and short enough for the rates to be at 0 within their period.
Ticks longestPause(Ticks ratePeriod) {
    const bool wholeStream = ratePeriod == Ticks::zero();
    return (wholeStream ? tunables::ratePeriod : std::min(ratePeriod, tunables::ratePeriod)) * 6 / 10;
}

} // namespace

StreamClock::StreamClock(SourceKind source, Ticks ratePeriod)
    : source_(source), arrival_(longestPause(ratePeriod)) {}

bool StreamClock::packet(std::uint16_t pid, std::optional<Ticks> pcr, std::optional<Ticks> timeStamp,
                         bool announced) {
    ++packets_;
    estimate();
    const FineTicks packetTime = packetTime_; // before an outage is taken for slow packets
    const bool byStamp = timeStamp && read(stamps_, pid, *timeStamp, false);
    const bool byPcr = pcr && read(pcrs_, pid, *pcr, announced);
    const bool due = byStamp || byPcr || now_ - lastRead_ >= readingPeriod;
    if (due) {
        take(packetTime);
    }
    return due;
}

// Takes a reading, where a packet takes so long; 0 where that is not known.
void StreamClock::take(FineTicks packetTime) {
    const FineTicks byPackets = (packets_ - lastReadPacket_) * packetTime;
    outage_ = packetTime > FineTicks::zero() ? std::max(now_ - lastRead_ - byPackets, FineTicks::zero())
                                             : FineTicks::zero();
    lastRead_ = now_;
    lastReadPacket_ = packets_;
}

bool StreamClock::realTime(Ticks elapsed) {
    const FineTicks owed = arrival_.owed(elapsed, now_);
    now_ += owed;
    const bool moved = owed > FineTicks::zero();
    if (moved) {
        take(packetTime_);
    }
    return moved;
}

bool StreamClock::passEnded() {
    const bool timedByArrival = source_ == SourceKind::live && now_ > anchorTime_;
    if (timed() || timedByArrival) {
        return false;
    }
    timeByPackets();
    estimate();
    take(packetTime_);
    return true;
}

void StreamClock::startOver() {
    if (source_ == SourceKind::stored && !timed()) { // else a file of such streams would be played in no time
        timeByPackets();
        anchorPacket_ = firstPacket_;
        estimate();
    }
    pcrs_.clear();
    stamps_.clear();
    leader_ = nullptr;
    packetTime_ = recentTime_ = FineTicks::zero();
    recentPackets_ = 0;
    expectedStep_ = Ticks::zero();
    firstPacket_ = lastMove_ = lastPcrMove_ = anchorPacket_ = packets_;
    anchorTime_ = now_;
}

// Takes a reading of one PID's clock. A leap that is announced is none of time, however short. Returns
// whether the stream's clock is to be read.
bool StreamClock::read(Lines& lines, std::uint16_t pid, Ticks value, bool announced) {
    const bool isPcr = &lines == &pcrs_;
    const bool counts = isPcr || packets_ - lastPcrMove_ >= tunables::stampPatience;
    const auto [place, isNew] = lines.try_emplace(pid, Line{value, now_, packets_});
    Line& line = place->second;
    if (isNew) {
        if (counts && leader_ == nullptr) {
            anchor(line, now_);
        }
        return leader_ == &line;
    }
    const Ticks step = between(line.value, value);
    const std::uint64_t packets = packets_ - line.packet;
    const bool plausible = isPlausible(line, step, packets) && !(announced && step > tunables::pcrStepLimit);
    if (step != Ticks::zero()) { // else it is written twice, or stuck
        // Time may have gone on without this line, by more than an estimate may be wrong.
        const bool late = now_ - line.time - step > 2 * std::max(step, line.lastStep);
        line.time = plausible && !late ? line.time + step : now_;
        line.value = value;
        line.packet = packets_;
        line.lastStep = step <= tunables::longestStep ? step : Ticks::zero();
    }
    if (!plausible) { // what the leader shows next is expected from here
        if (leader_ == &line && timed()) {
            anchor(line, now_);
        }
        return false;
    }
    line.ran += step;
    line.ranPackets += static_cast<double>(packets);
    if (isPcr) {
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
    return step <= tunables::plausibleStep || recentTime_ == FineTicks::zero() ||
           step <= 2 * std::max<FineTicks>(packets * packetTime_, line.lastStep);
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

// Whether the leader has missed two readings, by its pace and this line's. One that has had a single reading
// has no pace.
bool StreamClock::leaderIsLate(const Line& line, Ticks step) const {
    return line.time > anchorTime_ + 2 * std::max(expectedStep_, step);
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

// Whether it is known, or assumed, how long a packet takes.
bool StreamClock::timed() const {
    return packetTime_ > FineTicks::zero();
}

// Times a stream whose clock has not run by its packets.
void StreamClock::timeByPackets() {
    if (!timed()) {
        const FineTicks byStamps = packetTimeByStamps();
        packetTime_ = byStamps > FineTicks::zero() ? byStamps : assumedPacket;
    }
}

// By the time stamps that have run longest, which tell it before they are a clock; 0 where none have run.
FineTicks StreamClock::packetTimeByStamps() const {
    const auto longest = std::ranges::max_element(
        stamps_, {}, [](const Lines::value_type& entry) { return entry.second.ran; });
    return longest == stamps_.end() || longest->second.ranPackets == 0
               ? FineTicks::zero()
               : FineTicks(longest->second.ran) / longest->second.ranPackets;
}

// Time goes on by the packets since the leader's last reading. While it lives its next reading is not passed
// by: many packets in a row are a large picture rather than much time. A live source's packets tell nothing
// further.
void StreamClock::estimate() {
    const bool gone = packets_ - lastMove_ >= tunables::clockPatience && source_ == SourceKind::stored;
    if (gone) {
        timeByPackets();
    }
    const FineTicks byPackets = (packets_ - anchorPacket_) * packetTime_;
    const bool unbounded = gone || expectedStep_ == Ticks::zero();
    now_ =
        std::max(now_, anchorTime_ + (unbounded ? byPackets : std::min<FineTicks>(byPackets, expectedStep_)));
}

} // namespace board
