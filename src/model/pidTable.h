// The PID table: what each PID of the stream carries, its program, rate and scrambling, derived from the
// newest records; and the rates of the programs and of the whole stream.
#pragma once

#include "wire/records.h"

#include <cstddef>
#include <cstdint>

namespace mpegfe {

// What a PID carries.
enum PidType : std::uint16_t {
    pidTypePmt = 1,
    pidTypePmtEcm = 2, // a PMT PID that also carries the program's ECM
    pidTypePcr = 3,    // a PCR PID that is not the program's video
    pidTypeVideo = 4,
    pidTypeVideoPcr = 5,
    pidTypeAudio = 6,
    pidTypePrivate = 7,
    pidTypePsi = 8,
    pidTypeEmm = 9,
    pidTypeEcm = 10,
    pidTypeNull = 11,
    pidTypeUnknown = 12,
};

inline constexpr std::int32_t unclassified = -1; // pidOrder of an entry that no builder has claimed yet

// One PID, at its place in the PAT record's PID list.
struct PidEntry {
    std::int32_t
        patIndex; // program index of the owning program; 0 for PSI, null and unknown PIDs; stale for EMM
    std::int32_t pidOrder;      // the entry's own place, or unclassified
    std::uint16_t pidNum;       // the PID
    std::uint16_t pidType;      // a PidType
    std::uint16_t referencePID; // PMT PID of the owning program, or 0
    std::uint16_t pgmNum;       // program number of the owning program, or 0
    float pidRate;              // bit/s
    std::int32_t scrambled;     // 1 scrambled, 0 clear
    char description[36];       // name of the type
};
static_assert(sizeof(PidEntry) == 60);
static_assert(offsetof(PidEntry, pidNum) == 8);
static_assert(offsetof(PidEntry, pidRate) == 16);
static_assert(offsetof(PidEntry, description) == 24);

extern PidEntry pidTable[wire::maxPids]; // the first pidListCount entries are valid
extern float
    programRates[wire::maxPrograms]; // bit/s, in the order of collection; 0 beyond the programs collected
extern float aggStreamRate;          // bit/s, the sum of everything collected

// Rebuilds pidTable, programRates and aggStreamRate from the newest records, for programCount programs (the
// PAT record's count as of the last established stream). Writes 0 over the TS-STATUS rate of a private PID
// above 200000 bit/s, and may write an artificial SDT into the SDT record. Prints a line for each PID whose
// place or type does not fit. Returns 1 when an artificial SDT was written, 0 when a real one stands.
int collectPids(std::int32_t programCount);

} // namespace mpegfe
