#include "analysis/errorWatch.h"

#include "packets/packetFields.h"
#include "tables/innerLengths.h"

#include "wire/records.h"

#include <bitstream/mpeg/psi.h>

#include <algorithm>
#include <utility>

namespace board {

namespace {

constexpr Ticks clockRange{(std::int64_t{1} << 33) * 300}; // after which PCRs begin again

// Whether a stream has to be there all the time. Audio for some listeners, by its audio_type, and data may
// fall silent.
bool hasToFlow(const ElementaryStream& stream) {
    return stream.kind == StreamKind::video || (stream.kind == StreamKind::audio && stream.audioType == 0);
}

} // namespace

ErrorWatch::ErrorWatch(bool measuresAccuracy)
    : measuresAccuracy_(measuresAccuracy), pat_(tunables::patLimit, Ticks::zero()),
      cat_(tunables::catLimit, Ticks::zero()), watches_(pidValues), roles_(pidValues) {}

void ErrorWatch::begin(Ticks now) {
    errors_.pids.clear();
    errors_.measuredClocks.clear();
    for (const PidWatch* watch : std::exchange(watched_, {})) {
        watches_[watch->pid].reset();
    }
    scrambledSince_ = false;
    pat_.begin(now);
    cat_.begin(now);
}

void ErrorWatch::follow(const StreamModel& model, Ticks now) {
    const std::vector<std::uint16_t> named = giveRoles(model);
    for (const PidWatch* watch : std::exchange(watched_, {})) {
        if (!roles_[watch->pid].any()) {
            watches_[watch->pid].reset();
        }
    }
    for (const std::uint16_t pid : named) {
        const Roles roles = std::exchange(roles_[pid], {});
        if (!roles.any()) { // named before
            continue;
        }
        auto& watch = watches_[pid];
        if (!watch) {
            watch = std::make_unique<PidWatch>();
            watch->pid = pid;
        }
        setRoles(*watch, roles, now);
        watched_.push_back(watch.get());
    }
}

// Returns the PIDs that are named, some of them more than once.
std::vector<std::uint16_t> ErrorWatch::giveRoles(const StreamModel& model) {
    std::vector<std::uint16_t> named;
    const auto rolesOf = [&](std::uint16_t pid) -> Roles& {
        named.push_back(pid);
        return roles_[pid];
    };
    for (const Program& program : model.programs) {
        rolesOf(program.pmtPid).map |= program.number != 0;
        if (!program.map) {
            continue;
        }
        Roles& clock = rolesOf(program.map->pcrPid);
        clock.clock = clock.present = true;
        for (const ElementaryStream& stream : program.map->streams) {
            Roles& roles = rolesOf(stream.pid);
            roles.present |= hasToFlow(stream);
            roles.timed |= stream.kind != StreamKind::data;
        }
    }
    roles_[wire::nullPid] = {}; // it stands for none
    return named;
}

// What a PID has had to bring before is waited for as it was.
void ErrorWatch::setRoles(PidWatch& watch, const Roles& roles, Ticks now) {
    const auto set = [](auto& part, bool wanted, const auto& make) {
        if (!wanted) {
            part.reset();
        } else if (!part) {
            part.emplace(make());
        }
    };
    watch.timed = roles.timed;
    set(watch.map, roles.map, [&] { return Absence(tunables::pmtLimit, now); });
    set(watch.presence, roles.present, [&] { return PresenceWatch{Absence(tunables::pidLimit, now), 0}; });
    set(watch.clock, roles.clock, [&] {
        return ClockWatch{Absence(tunables::pcrRepetitionLimit, now), std::nullopt, {}};
    });
    set(watch.stamps, roles.timed && watch.stamps, [&] { return Absence(tunables::ptsLimit, now); });
}

void ErrorWatch::seam(Ticks now) {
    pat_.begin(now);
    cat_.begin(now);
    for (PidWatch* watch : watched_) {
        watch->stamps.reset();
        if (watch->map) {
            watch->map->begin(now);
        }
        if (watch->presence) {
            watch->presence->absence.begin(now);
        }
        if (watch->clock) {
            watch->clock->absence.begin(now);
            watch->clock->value.reset();
        }
    }
    packetsMissing();
}

void ErrorWatch::takeSync(const SyncErrors& sync) {
    errors_.countSync(sync.bytes(), sync.losses());
    packetsMissing();
}

// The packets that there are stand closer together than they were.
void ErrorWatch::packetsMissing() {
    for (PidWatch* watch : watched_) {
        if (watch->clock) {
            watch->clock->accuracy.restart();
        }
    }
}

void ErrorWatch::transportError(std::uint16_t pid, bool known) {
    if (known) {
        errors_.count(Indicator::transport, pid);
    } else {
        errors_.count(Indicator::transport);
    }
}

void ErrorWatch::continuityError(std::uint16_t pid) {
    errors_.count(Indicator::continuity, pid);
    packetsMissing();
}

void ErrorWatch::scrambled(std::uint16_t pid) {
    scrambledSince_ = scrambledSince_ || pid != wire::nullPid;
    if (pid == wire::patPid) {
        errors_.count(Indicator::pat, pid);
    }
    if (PidWatch* watch = watches_[pid].get()) {
        if (watch->map) {
            errors_.count(Indicator::pmt, pid);
        }
        watch->stamps.reset(); // those to come cannot be read
    }
}

bool ErrorWatch::section(std::uint16_t pid, SectionBytes bytes, Ticks now) {
    if (!sectionIsSound(bytes)) {
        badSection(pid, bytes);
        return false;
    }
    if (!innerLengthsFit(bytes)) {
        errors_.countBadSection(pid);
    }
    const std::uint8_t table = bytes[0];
    if (pid == wire::patPid) {
        errors_.count(Indicator::pat, pid, table == PAT_TABLE_ID ? pat_.ended(now) : 1);
    }
    if (pid == wire::catPid) {
        if (table == CAT_TABLE_ID) {
            cat_.begin(now);
            scrambledSince_ = false;
        } else {
            errors_.count(Indicator::cat, pid);
        }
    }
    if (PidWatch* watch = watches_[pid].get(); watch != nullptr && watch->map && table == PMT_TABLE_ID) {
        errors_.count(Indicator::pmt, pid, watch->map->ended(now));
    }
    return true;
}

void ErrorWatch::badSection(std::uint16_t pid, SectionBytes bytes) {
    errors_.countBadSection(pid);
    if (sectionLengthsFit(bytes) && isCrcTable(bytes[0])) {
        errors_.count(Indicator::crc, pid);
    }
}

void ErrorWatch::pcr(std::uint16_t pid, Ticks value, bool announced, std::uint64_t packet, Ticks now) {
    PidWatch* const watch = watches_[pid].get();
    if (watch == nullptr || !watch->clock) {
        return;
    }
    ClockWatch& clock = *watch->clock;
    const auto before = std::exchange(clock.value, value);
    if (!before || announced) {
        errors_.count(Indicator::pcrRepetition, pid, clock.absence.ended(now));
        clock.accuracy.restart();
        measure(*watch, Ticks::zero(), packet);
        return;
    }
    const Ticks step = ((value - *before) % clockRange + clockRange) % clockRange;
    // Its own values tell better how long it was than a clock that is another PID's, or has stood still.
    errors_.count(Indicator::pcrRepetition, pid,
                  step <= tunables::plausibleStep ? clock.absence.ended(now, step)
                                                  : clock.absence.ended(now));
    if (step > tunables::pcrStepLimit) {
        errors_.count(Indicator::pcrDiscontinuity, pid);
        clock.accuracy.restart();
    }
    measure(*watch, step, packet);
}

void ErrorWatch::measure(PidWatch& watch, Ticks step, std::uint64_t packet) {
    if (!measuresAccuracy_) {
        return;
    }
    const auto finding = watch.clock->accuracy.pcr(step, packet);
    if (!finding) {
        return;
    }
    if (finding->varies) { // figures of a stream whose bit rate turns out to vary would mislead
        errors_.takeBack(Indicator::pcrAccuracy, watch.pid);
        errors_.measuredClocks.erase(watch.pid);
    } else if (finding->measured) {
        errors_.measuredClocks.insert(watch.pid);
    }
    errors_.count(Indicator::pcrAccuracy, watch.pid, finding->inaccurate);
}

void ErrorWatch::timeStamp(std::uint16_t pid, Ticks now) {
    PidWatch* const watch = watches_[pid].get();
    if (watch == nullptr || !watch->timed) {
        return;
    }
    if (watch->stamps) {
        errors_.count(Indicator::pts, pid, watch->stamps->ended(now));
    } else {
        watch->stamps.emplace(tunables::ptsLimit, now);
    }
}

void ErrorWatch::look(Ticks now, Ticks outage, const std::function<std::uint64_t(std::uint16_t)>& packetsOf) {
    outage_ += outage;
    if (now - lastLook_ < tunables::watchPeriod) {
        return;
    }
    if (now - lastLook_ - std::exchange(outage_, Ticks::zero()) > tunables::watchLeap) {
        clockStood(lastLook_, now);
    }
    lastLook_ = now;
    errors_.count(Indicator::pat, wire::patPid, pat_.told(now));
    if (const std::uint64_t passed = cat_.told(now); passed > 0 && std::exchange(scrambledSince_, false)) {
        errors_.count(Indicator::cat, wire::catPid);
    }
    for (PidWatch* watch : watched_) {
        lookAt(*watch, now, packetsOf(watch->pid));
    }
}

// Where packets have come without a time for a while, it is not known when a thing has. In an outage nothing
// has.
void ErrorWatch::clockStood(Ticks from, Ticks to) {
    pat_.clockStood(from, to);
    cat_.clockStood(from, to);
    for (PidWatch* watch : watched_) {
        for (auto* absence : {&watch->map, &watch->stamps}) {
            if (*absence) {
                (*absence)->clockStood(from, to);
            }
        }
        if (watch->clock) {
            watch->clock->absence.clockStood(from, to);
        }
    }
}

void ErrorWatch::lookAt(PidWatch& watch, Ticks now, std::uint64_t packets) {
    if (watch.map) {
        errors_.count(Indicator::pmt, watch.pid, watch.map->told(now));
    }
    if (watch.presence && std::exchange(watch.presence->packets, packets) != packets) {
        watch.presence->absence.begin(now);
    }
    if (watch.presence) {
        errors_.count(Indicator::pid, watch.pid, watch.presence->absence.told(now));
    }
    if (watch.stamps) {
        errors_.count(Indicator::pts, watch.pid, watch.stamps->told(now));
    }
    if (watch.clock) { // a little later: its next PCR tells better
        errors_.count(Indicator::pcrRepetition, watch.pid,
                      watch.clock->absence.told(now - tunables::watchPeriod));
    }
}

} // namespace board
