#include "analysis/analyser.h"

#include "packets/packetFields.h"

#include "wire/records.h"

#include <bitstream/mpeg/ts.h>

#include <algorithm>
#include <cstddef>
#include <utility>

namespace board {

Analyser::Analyser(Ticks ratePeriod, SourceKind source)
    : ratePeriod_(ratePeriod), clock_(source, ratePeriod), rates_(ratePeriod),
      watch_(source == SourceKind::stored), scramblingPeriod_(ratePeriod), slots_(pidValues) {
    assignSections();
}

bool Analyser::packet(const std::uint8_t* bytes) {
    const std::uint64_t number = packets_++;
    patience_.packet();
    if (ts_get_transporterror(bytes)) {
        return unreadablePacket(bytes, number);
    }
    const std::uint16_t pid = ts_get_pid(bytes);
    PidSlot& slot = slots_[pid];
    PidState& state = stateOf(pid, slot);
    const auto content = payloadOf(bytes);
    const bool unitStart = ts_get_unitstart(bytes);
    const bool hidden = ts_get_scrambling(bytes) != 0;

    // What stands for one in a null packet is left over from another packet.
    const auto pcr = pid == wire::nullPid ? std::nullopt : pcrOf(bytes);
    const auto timeStamp = unitStart && !hidden ? timeStampOf(content) : std::nullopt;
    const bool announced = pcr && tsaf_has_discontinuity(bytes);
    const bool reading = clock_.packet(pid, pcr, timeStamp, announced);
    if (reading) {
        readClock(number);
    }
    if (pcr) {
        watch_.pcr(pid, *pcr, announced, number, clock_.now());
    }
    if (timeStamp) {
        watch_.timeStamp(pid, clock_.now());
    }
    rates_.count(static_cast<std::size_t>(slot.position));
    ++state.packets;
    const bool isNew = follows(pid, slot, bytes);
    if (!content.empty()) {
        if (unitStart) {
            slot.inScrambledPes = !hidden && startsScrambledPes(content);
        }
        const bool scrambled = hidden || slot.inScrambledPes;
        slot.votes.count(scrambled);
        ++state.payloads;
        if (scrambled) {
            ++state.scrambledPayloads;
            watch_.scrambled(pid);
        } else if (isNew) {
            payload(pid, slot, content, unitStart);
        }
    }
    return reading;
}

// The PID itself may be wrong: the packet only takes its time.
bool Analyser::unreadablePacket(const std::uint8_t* bytes, std::uint64_t number) {
    const std::uint16_t pid = ts_get_pid(bytes);
    watch_.transportError(pid, slots_[pid].position >= 0);
    const bool reading = clock_.packet(wire::nullPid, std::nullopt, std::nullopt);
    if (reading) {
        readClock(number);
    }
    return reading;
}

// Before the packet of this number.
void Analyser::readClock(std::uint64_t packetNumber) {
    rates_.reading(clock_.now(), packetNumber);
    if (scramblingPeriod_.over(clock_.now(), rates_.measured())) {
        judgeScrambling();
    }
    watch_.look(clock_.now(), clock_.outage(), [this](std::uint16_t pid) {
        const std::int32_t position = slots_[pid].position;
        return position < 0 ? 0 : model_.pids[static_cast<std::size_t>(position)].packets;
    });
}

// The state of a PID; a PID that is seen for the first time joins the list.
PidState& Analyser::stateOf(std::uint16_t pid, PidSlot& slot) {
    if (slot.position < 0) {
        slot.position = static_cast<std::int32_t>(model_.pids.size());
        PidState state;
        state.pid = pid;
        model_.pids.push_back(state);
        seen_.push_back(pid);
    }
    return model_.pids[static_cast<std::size_t>(slot.position)];
}

// Whether a packet, if it has a payload, brings one that has not been there before. After a gap what was
// collected of the PID is dropped.
bool Analyser::follows(std::uint16_t pid, PidSlot& slot, const std::uint8_t* bytes) {
    if (pid == wire::nullPid) {
        return false;
    }
    using Step = Continuity::Step;
    const Step step = slot.continuity.packet(bytes);
    if (step == Step::afterGap || step == Step::repeatedAgain) {
        watch_.continuityError(pid);
    }
    if (step == Step::afterGap) {
        lose(slot);
    }
    return step == Step::next || step == Step::afterGap;
}

// Drops what has been collected of a PID and cannot be continued.
void Analyser::lose(PidSlot& slot) {
    if (slot.sections) {
        slot.sections->lost();
    }
    if (slot.probe) {
        slot.probe->lost();
    }
}

void Analyser::payload(std::uint16_t pid, PidSlot& slot, std::span<const std::uint8_t> bytes,
                       bool unitStart) {
    if (slot.sections) {
        slot.sections->payload(bytes, unitStart, [this, pid](SectionBytes whole) { section(pid, whole); });
    }
    if (slot.probe) { // the PIDs of ATSC's tables may carry anything where there are none
        slot.probe->payload(bytes, unitStart, clock_.now(), model_);
    }
}

void Analyser::section(std::uint16_t pid, SectionBytes bytes) {
    if (!watch_.section(pid, bytes, clock_.now())) {
        return;
    }
    switch (tables_.section(pid, bytes, model_)) {
    case StreamTables::Effect::none:
    case StreamTables::Effect::bad:
        break;
    case StreamTables::Effect::pids:
        assignSections();
        break;
    case StreamTables::Effect::maps:
        assignProbes();
        watch_.follow(model_, clock_.now());
        break;
    case StreamTables::Effect::programs:
        assignSections();
        assignProbes();
        watch_.follow(model_, clock_.now());
        break;
    case StreamTables::Effect::newStream:
        beginStream();
        stateOf(pid, slots_[pid]); // of the PAT that begins it
        break;
    }
}

// Decides for every PID whether its sections are read.
void Analyser::assignSections() {
    std::vector<std::uint16_t> wanted = tables_.pids();
    std::ranges::sort(wanted);
    for (const std::uint16_t pid : read_) {
        if (!std::ranges::binary_search(wanted, pid)) {
            slots_[pid].sections.reset();
        }
    }
    for (const std::uint16_t pid : wanted) {
        if (auto& sections = slots_[pid].sections; !sections) {
            sections = std::make_unique<SectionAssembler>();
        }
    }
    read_ = std::move(wanted);
}

// Decides for every PID whether its headers are read. A PID in several maps is what the first of them says.
void Analyser::assignProbes() {
    const std::vector<std::uint16_t> before = std::exchange(probed_, {});
    for (const Program& program : model_.programs) {
        if (!program.map) {
            continue;
        }
        for (const ElementaryStream& stream : program.map->streams) {
            const ElementaryStream*& wanted = slots_[stream.pid].wanted;
            if (stream.kind != StreamKind::data && wanted == nullptr &&
                probed_.size() < tunables::probedStreams) {
                wanted = &stream;
                probed_.push_back(stream.pid);
            }
        }
    }
    for (const std::uint16_t pid : before) {
        if (slots_[pid].wanted == nullptr) {
            setProbe(pid, nullptr);
        }
    }
    for (const std::uint16_t pid : probed_) {
        setProbe(pid, std::exchange(slots_[pid].wanted, nullptr));
    }
}

// What has been found of a stream goes with the stream.
void Analyser::setProbe(std::uint16_t pid, const ElementaryStream* stream) {
    auto& probe = slots_[pid].probe;
    if (probe && (stream == nullptr || !probe->suits(*stream))) {
        probe.reset();
        model_.videoFormats.erase(pid);
        model_.audioFormats.erase(pid);
        model_.pictureRates.erase(pid);
    }
    if (stream != nullptr && !probe) {
        probe = std::make_unique<HeaderProbe>(*stream);
    }
}

void Analyser::judgeScrambling() {
    for (PidState& state : model_.pids) {
        state.scrambled = slots_[state.pid].votes.judge().value_or(state.scrambled);
    }
}

void Analyser::seam() {
    if (clock_.passEnded()) {
        readClock(packets_);
    }
    for (const PidState& state : model_.pids) { // a short file has many seams
        PidSlot& slot = slots_[state.pid];
        slot.continuity.forget();
        lose(slot);
    }
    watch_.seam(clock_.now());
}

bool Analyser::realTime(Ticks elapsed) {
    const bool moved = clock_.realTime(elapsed);
    if (moved) {
        readClock(packets_);
    }
    return moved;
}

void Analyser::restart() {
    model_ = StreamModel{};
    tables_ = StreamTables{};
    beginStream();
}

// The model and the tables are those of another stream; so is everything else from now on.
void Analyser::beginStream() {
    ++streamNumber_;
    clock_.startOver();
    patience_.begin(clock_.now());
    rates_ = RateMeter(ratePeriod_, clock_.now(), packets_);
    scramblingPeriod_.restart();
    for (const std::uint16_t pid : std::exchange(seen_, {})) {
        PidSlot& slot = slots_[pid];
        lose(slot);
        slot.position = -1;
        slot.continuity.forget();
        slot.votes = {};
        slot.inScrambledPes = false;
    }
    assignSections();
    assignProbes();
    watch_.begin(clock_.now());
    watch_.follow(model_, clock_.now());
}

void Analyser::finish() {
    for (const PidState& state : model_.pids) {
        if (const auto& probe = slots_[state.pid].probe) {
            probe->finish(clock_.now(), model_);
        }
    }
    clock_.passEnded();
    if (clock_.timedByPackets()) { // else it ends with the last reading
        rates_.reading(clock_.now(), packets_);
    }
    rates_.finish(clock_.now(), packets_);
    judgeScrambling();
}

bool Analyser::settled() const {
    return patience_.over(clock_.now()) ||
           everythingKnown(model_, tables_.namesAreWhole(), rates_.measured());
}

} // namespace board
