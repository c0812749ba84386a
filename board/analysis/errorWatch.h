// Watches a stream for what is wrong with it, by the indicators of ETSI TR 101 290 (clause 5.2). The analyser
// tells what it meets, and here is decided what of it is an error; StreamErrors counts them.
#pragma once

#include "analysis/absence.h"
#include "analysis/pcrAccuracy.h"
#include "packets/syncErrors.h"
#include "stream/streamErrors.h"
#include "stream/streamModel.h"
#include "tables/section.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace board {

class ErrorWatch {
  public:
    // measuresAccuracy: packets stand where the multiplexer has put them, as in a file.
    explicit ErrorWatch(bool measuresAccuracy);

    const StreamErrors& errors() const {
        return errors_;
    }

    // Another stream begins, at this stream time.
    void begin(Ticks now);

    // The PAT, or a program's map, has changed: what has to come from now on.
    void follow(const StreamModel& model, Ticks now);

    // The file starts over: what has to come is waited for anew.
    void seam(Ticks now);

    // What PacketSync has met so far.
    void sync(const SyncErrors& sync) {
        if (sync.bytes() != errors_.indicators[Indicator::syncByte]) {
            takeSync(sync);
        }
    }

    // A packet with transport_error_indicator. Its PID may be wrong: one that has never been there is
    // nobody's.
    void transportError(std::uint16_t pid, bool known);

    // Packets of a PID are missing, or have come once too often.
    void continuityError(std::uint16_t pid);

    // A packet with a payload that is scrambled.
    void scrambled(std::uint16_t pid);

    // A whole section. Returns whether it is sound, so that it may be read: one whose inner lengths do not
    // fit is bad, and what is whole of it is read all the same.
    bool section(std::uint16_t pid, SectionBytes bytes, Ticks now);

    // A packet of this number with a PCR, and with or without discontinuity_indicator.
    void pcr(std::uint16_t pid, Ticks value, bool announced, std::uint64_t packet, Ticks now);

    // A PES packet with a time stamp begins.
    void timeStamp(std::uint16_t pid, Ticks now);

    // So late is it, and so much of the time since the last call no packets account for. Counts what has not
    // come for too long; packetsOf tells how many packets of a PID have.
    void look(Ticks now, Ticks outage, const std::function<std::uint64_t(std::uint16_t)>& packetsOf);

  private:
    // The PCRs of a PID that a program's map names for them.
    struct ClockWatch {
        Absence absence;
        std::optional<Ticks> value;
        PcrAccuracy accuracy;
    };
    // The packets of a PID that a program cannot do without.
    struct PresenceWatch {
        Absence absence;
        std::uint64_t packets; // at the last look
    };
    // What the maps say of a PID.
    struct Roles {
        bool map = false;
        bool present = false;
        bool timed = false;
        bool clock = false;

        bool any() const {
            return map || present || timed || clock;
        }
    };
    // What a PID has to bring, where it has to.
    struct PidWatch {
        std::uint16_t pid = 0;
        bool timed = false; // its PES packets have time stamps
        std::optional<Absence> map;
        std::optional<PresenceWatch> presence;
        std::optional<Absence> stamps; // from the first on
        std::optional<ClockWatch> clock;
    };

    std::vector<std::uint16_t> giveRoles(const StreamModel& model);
    static void setRoles(PidWatch& watch, const Roles& roles, Ticks now);
    void clockStood(Ticks from, Ticks to);
    void lookAt(PidWatch& watch, Ticks now, std::uint64_t packets);
    void measure(PidWatch& watch, Ticks step, std::uint64_t packet);
    void takeSync(const SyncErrors& sync);
    void packetsMissing();
    void badSection(std::uint16_t pid, SectionBytes bytes);

    bool measuresAccuracy_;
    StreamErrors errors_;
    Absence pat_;
    Absence cat_;
    bool scrambledSince_ = false; // packets, since the limit of cat_ passed last
    Ticks lastLook_{0};
    Ticks outage_{0};                                // since then
    std::vector<std::unique_ptr<PidWatch>> watches_; // by PID; empty where nothing has to come
    std::vector<PidWatch*> watched_;                 // those that there are
    std::vector<Roles> roles_;                       // by PID; none but while maps are read
};

} // namespace board
