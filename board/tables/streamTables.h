// All tables of a stream. Each knows the sections that it consists of, so that one that is repeated costs
// next to nothing.
#pragma once

#include "stream/streamModel.h"
#include "tables/programList.h"
#include "tables/psipTables.h"
#include "tables/section.h"
#include "tables/sectionedTable.h"
#include "tables/serviceEvents.h"

#include <array>
#include <cstdint>
#include <map>
#include <optional>
#include <vector>

namespace board {

class StreamTables {
  public:
    // What a section has changed.
    enum class Effect {
        none,     // nothing, or nothing but the model
        bad,      // nothing: its CRC is wrong or its lengths are impossible
        pids,     // other PIDs carry tables
        maps,     // a program has another map
        programs, // there are other programs, with or without maps
        newStream // it ends the PAT of another stream: nothing but that is known now, and the model is anew
    };

    // Takes the next section that has come on a PID and tells the model what it says. Sections of tables that
    // are not read are not looked at, and neither are those that a table knows.
    Effect section(std::uint16_t pid, SectionBytes bytes, StreamModel& model);

    // The PIDs whose sections are wanted.
    std::vector<std::uint16_t> pids() const;

    // Whether the tables that name programs, the PAT and the SDT or a virtual channel table, are whole.
    bool namesAreWhole() const {
        return pat_.complete() && (sdt_.complete() || psip_.namesAreWhole());
    }

  private:
    using Incoming = IncomingSection;

    // Who takes the sections of a table, where they are allowed to come from.
    struct Reader {
        std::uint16_t pid;
        std::uint8_t firstTable;
        std::uint8_t lastTable;
        bool (StreamTables::*wants)(const Incoming& section) const; // else it is known, or nobody's
        Effect (StreamTables::*take)(const Incoming& section, StreamModel& model);
    };
    static const std::array<Reader, 8> readers;

    // A program whose map is wanted.
    struct MapSection {
        std::uint16_t pid = 0;
        std::optional<std::uint32_t> crc; // of its PMT, which is one section, as soon as it has come
    };

    bool wantsPat(const Incoming& section) const;
    bool wantsPmt(const Incoming& section) const;
    bool wantsCat(const Incoming& section) const;
    bool wantsSdt(const Incoming& section) const;
    bool wantsNit(const Incoming& section) const;
    bool wantsEit(const Incoming& section) const;
    bool wantsPsip(const Incoming& section) const;
    Effect takePat(const Incoming& section, StreamModel& model);
    Effect takePmt(const Incoming& section, StreamModel& model);
    Effect takeCat(const Incoming& section, StreamModel& model);
    Effect takeSdt(const Incoming& section, StreamModel& model);
    Effect takeNit(const Incoming& section, StreamModel& model);
    Effect takeEit(const Incoming& section, StreamModel& model);
    Effect takePsip(const Incoming& section, StreamModel& model);
    void showPsipEvents(std::uint16_t program, StreamModel& model) const;
    void follow(StreamModel& model);

    SectionedTable<ProgramList> pat_;
    SectionedTable<CaSystem> cat_;
    SectionedTable<Service> sdt_;
    SectionedTable<NetworkPart> nit_;
    std::optional<std::uint16_t> networkPid_;       // where the PAT says that the NIT is
    std::map<std::uint16_t, MapSection> maps_;      // by program_number
    std::map<std::uint16_t, ServiceEvents> events_; // by service_id, of the programs in maps_
    PsipTables psip_;                               // shown where DVB's tables say nothing
};

} // namespace board
