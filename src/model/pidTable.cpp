#include "model/pidTable.h"

#include "model/artificialSdt.h"
#include "model/streamRecords.h"
#include "support/boundedText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstring>

namespace mpegfe {

PidEntry pidTable[wire::maxPids];
float programRates[wire::maxPrograms];
float aggStreamRate;

namespace {

constexpr int lowPids = 32; // PIDs below this are counted as PSI wherever else they are counted

// Above this a private PID is taken for a measuring error and counts as silent; bit/s.
constexpr float maxPrivateRate = 200000.0F;

// Names of the types. A pidTypePsi is named by its PID instead.
constexpr std::array<const char*, pidTypeUnknown + 1> typeNames{
    "", "PMT", "PMT+ECM", "PCR", "VIDEO", "VID+PCR", "AUDIO", "PVT", "", "EMM", "ECM", "NULL", "Unk"};

constexpr std::array<const char*, lowPids> psiNames{"PAT", "CAT", "PSI", "PSI", "PSI", "PSI", "PSI", "PSI",
                                                    "PSI", "PSI", "PSI", "PSI", "PSI", "PSI", "PSI", "PSI",
                                                    "NIT", "SDT", "EIT", "PSI", "TDT", "PSI", "PSI", "PSI",
                                                    "PSI", "PSI", "PSI", "PSI", "PSI", "PSI", "PSI", "SIT"};

// The sums of one collection, in bit/s. Single precision and the order of the additions are part of what
// clients see.
struct RateSums {
    float psi;
    float program; // of the program being collected
    float programs;
    float unknown;
    float null;
};

// The program being collected: its index and its slots in the two records that describe it.
struct Program {
    std::int32_t patIndex;
    const wire::PmtEntry& pmt;
    const wire::AvPgmEntry& av;
};

void setType(PidEntry& entry, PidType type, const char* description) {
    entry.pidType = type;
    std::strcpy(entry.description, description);
}

void setType(PidEntry& entry, PidType type) {
    setType(entry, type, typeNames[type]);
}

// Claims the entry at this place of the PID list, whoever claimed it before, for no program.
PidEntry& claim(int position, std::uint16_t pid) {
    PidEntry& entry = pidTable[position];
    entry.pidOrder = position;
    entry.pidNum = pid;
    entry.pidRate = measuredRate(position);
    entry.referencePID = 0;
    entry.pgmNum = 0;
    return entry;
}

// The PID's rate is in the PSI sum already, as every low PID's, so it would count twice.
void takeFromPsi(int position, RateSums& sums) {
    sums.psi -= pidTable[position].pidRate;
}

// Place 0 is left to the tables and to a PCR: whatever else claims a PID takes one that stands there for
// absent.
bool standsBehindFirst(int position) {
    return position > 0;
}

void collectPsi(RateSums& sums) {
    for (std::uint16_t pid = 0; pid < lowPids; ++pid) {
        const int position = pidPosition(pid);
        if (position == absentPid) {
            continue;
        }
        PidEntry& entry = claim(position, pid);
        setType(entry, pidTypePsi, psiNames[pid]);
        entry.patIndex = 0;
        sums.psi += entry.pidRate;
    }
}

void collectEmm(RateSums& sums) {
    if (pidPosition(wire::catPid) == absentPid) {
        return;
    }
    const wire::CatRecord& cat = newestRecords.cat;
    const int caCount = clampCount(cat.caCount, wire::maxCaEntries);
    for (int k = 0; k < caCount; ++k) {
        const std::uint16_t pid = cat.caEntries[k].caPid;
        const int position = pidPosition(pid);
        if (!standsBehindFirst(position)) {
            std::printf("EMM Missing PID %d p %d\n", pid, position);
            continue;
        }
        PidEntry& entry = claim(position, pid); // patIndex stays what it was, as for no other type
        setType(entry, pidTypeEmm);
        sums.psi += entry.pidRate;
        if (pid < lowPids) {
            std::printf("EMM Pid < 32 pid %d\n", pid);
            takeFromPsi(position, sums);
        }
    }
}

void collectNull(RateSums& sums) {
    const int position = pidPosition(wire::nullPid);
    if (position == absentPid) {
        return;
    }
    PidEntry& entry = claim(position, wire::nullPid);
    setType(entry, pidTypeNull);
    entry.patIndex = 0;
    sums.null = entry.pidRate;
}

// What a program carries on a PID: its type, the first of the low PIDs that is taken out of the PSI sum again
// (they differ on purpose), and the warning about such a PID.
struct Component {
    PidType type;
    int firstLowPid;
    void (*warn)(const Program& program, std::uint16_t pid);
};

constexpr Component pmtComponent{
    pidTypePmt, 0, [](const Program&, std::uint16_t pid) { std::printf("PMT Pid < 32 PMT %d\n", pid); }};
constexpr Component videoComponent{pidTypeVideo, 1, [](const Program& program, std::uint16_t pid) {
                                       std::printf("VID Pid < 32 PMT %d PID %d\n", program.pmt.pmtPid, pid);
                                   }};
constexpr Component pcrComponent{pidTypePcr, 0, [](const Program& program, std::uint16_t) {
                                     std::printf("PCR Pid < 32 PMT %d\n", program.pmt.pmtPid);
                                 }};
constexpr Component ecmComponent{pidTypeEcm, 0, [](const Program& program, std::uint16_t) {
                                     std::printf("ECM Pid < 32 PMT %d\n", program.pmt.pmtPid);
                                 }};
constexpr Component audioComponent{pidTypeAudio, 1, [](const Program& program, std::uint16_t pid) {
                                       std::printf("AUD Pid < 32 PMT %d PID %d\n", program.pmt.pmtPid, pid);
                                   }};
constexpr Component privateComponent{pidTypePrivate, 1, [](const Program& program, std::uint16_t pid) {
                                         std::printf("PVT Pid < 32 PMT %d PID %d\n", program.pmt.pmtPid, pid);
                                     }};

void claimForProgram(int position, std::uint16_t pid, const Component& component, const Program& program,
                     RateSums& sums) {
    PidEntry& entry = claim(position, pid);
    setType(entry, component.type);
    entry.patIndex = program.patIndex;
    entry.referencePID = program.av.pmtPid;
    entry.pgmNum = program.av.pgmNum;
    sums.program += entry.pidRate;
    if (pid >= component.firstLowPid && pid < lowPids) {
        component.warn(program, pid);
        takeFromPsi(position, sums);
    }
}

void collectPmt(const Program& program, RateSums& sums) {
    const std::uint16_t pid = program.pmt.pmtPid;
    const int position = pidPosition(pid);
    if (standsBehindFirst(position)) {
        claimForProgram(position, pid, pmtComponent, program, sums);
    }
}

void collectVideo(const Program& program, RateSums& sums) {
    const std::uint16_t pid = program.av.videoPid;
    const int position = pidPosition(pid);
    if (standsBehindFirst(position)) {
        claimForProgram(position, pid, videoComponent, program, sums);
    }
}

// The only program builder that also takes a PID at place 0.
void collectPcr(const Program& program, RateSums& sums) {
    const std::uint16_t pid = program.pmt.pcrPid;
    const int position = pidPosition(pid);
    if (position == absentPid) {
        return;
    }
    if (pid == program.av.videoPid) {
        setType(pidTable[position], pidTypeVideoPcr);
    } else {
        claimForProgram(position, pid, pcrComponent, program, sums);
    }
}

void collectEcm(const Program& program, RateSums& sums) {
    const int count = clampCount(program.pmt.ecmCount, wire::maxEcmPids);
    for (int e = 0; e < count; ++e) {
        const std::uint16_t pid = program.pmt.ecmPids[e];
        const int position = pidPosition(pid);
        if (!standsBehindFirst(position)) {
            continue;
        }
        if (pid == program.av.pmtPid) {
            setType(pidTable[position], pidTypePmtEcm);
        } else {
            claimForProgram(position, pid, ecmComponent, program, sums);
        }
    }
}

// Audio and private PIDs are counted by the PMT slot and listed by the AVPGM slot.
void collectAudio(const Program& program, RateSums& sums) {
    const int count = clampCount(program.pmt.audioCount, wire::maxAudioTracks);
    for (int t = 0; t < count; ++t) {
        const std::uint16_t pid = program.av.audio[t].pid;
        const int position = pidPosition(pid);
        if (standsBehindFirst(position)) {
            claimForProgram(position, pid, audioComponent, program, sums);
        }
    }
}

void collectPrivate(const Program& program, RateSums& sums) {
    const int count = clampCount(program.pmt.privateCount, wire::maxPrivatePids);
    for (int p = 0; p < count; ++p) {
        const std::uint16_t pid = program.av.privatePids[p].pid;
        const int position = pidPosition(pid);
        if (!standsBehindFirst(position)) {
            continue;
        }
        if (measuredRate(position) > maxPrivateRate) {
            newestRecords.tsStatus.pidStats[position].rate = 0.0F;
        }
        claimForProgram(position, pid, privateComponent, program, sums);
    }
}

// In this order, because a later builder takes over a PID that an earlier one has claimed.
constexpr std::array programBuilders{collectPmt, collectVideo, collectPcr,
                                     collectEcm, collectAudio, collectPrivate};

void collectPrograms(std::int32_t count, RateSums& sums) {
    std::fill(std::begin(programRates), std::end(programRates), 0.0F);
    const wire::PmtEntry* slots = newestRecords.pmt.slots;
    const int first = slots[0].pgmNum == 0 ? 1 : 0;
    const int end = clampCount(count, wire::maxPmtSlots);
    for (int patIndex = first; patIndex < end; ++patIndex) {
        const Program program{patIndex, slots[patIndex], newestRecords.avPgm.slots[patIndex]};
        sums.program = 0.0F;
        for (const auto collect : programBuilders) {
            collect(program, sums);
        }
        programRates[patIndex - first] = sums.program;
        sums.programs += sums.program;
    }
}

// The PMT PID that the warning about an unknown PID shows: the one in the slot of the PID's own place, which
// says nothing about the PID but is what operators know. 0 where there is no such slot.
int pmtPidAtSlot(int position) {
    return position < wire::maxPmtSlots ? newestRecords.pmt.slots[position].pmtPid : 0;
}

void collectUnknown(RateSums& sums) {
    const int count = pidListLength();
    for (int position = 0; position < count; ++position) {
        if (pidTable[position].pidOrder != unclassified) {
            continue;
        }
        PidEntry& entry = claim(position, pidAt(position));
        setType(entry, pidTypeUnknown);
        entry.patIndex = 0;
        sums.unknown += entry.pidRate;
        if (entry.pidNum < lowPids) {
            std::printf("Unk Pid < 32 PMT %d\n", pmtPidAtSlot(position));
            takeFromPsi(position, sums);
        }
    }
}

// The AVPGM slot of the program with this number, or null.
const wire::AvPgmEntry* findAvProgram(std::uint16_t pgmNum) {
    const wire::AvPgmEntry* begin = newestRecords.avPgm.slots;
    const wire::AvPgmEntry* end = begin + clampCount(newestRecords.pat.programCount, wire::maxPrograms);
    const wire::AvPgmEntry* found =
        std::find_if(begin, end, [=](const wire::AvPgmEntry& av) { return av.pgmNum == pgmNum; });
    return found != end ? found : nullptr;
}

void markAudio(PidEntry& entry, const wire::AvPgmEntry& av) {
    const wire::AvAudioTrack* end = av.audio + clampCount(av.audioCount, wire::maxAudioTracks);
    const wire::AvAudioTrack* track = std::find_if(
        av.audio, end, [&](const wire::AvAudioTrack& audio) { return audio.pid == entry.pidNum; });
    if (track == end) {
        std::puts("Collecting PIDs match Audio error");
        return;
    }
    entry.scrambled = track->scrambled;
}

// Video and audio keep their mark when their program cannot be found; nothing else is ever scrambled.
void markScrambling(PidEntry& entry) {
    const bool video = entry.pidType == pidTypeVideo || entry.pidType == pidTypeVideoPcr;
    if (!video && entry.pidType != pidTypeAudio) {
        entry.scrambled = 0;
        return;
    }
    const wire::AvPgmEntry* av = findAvProgram(entry.pgmNum);
    if (av == nullptr) {
        return;
    }
    if (video) {
        entry.scrambled = av->videoScrambled;
    } else {
        markAudio(entry, *av);
    }
}

void printUnknown(const PidEntry& entry) {
    std::printf("PID %5d TYPE %2d ORDER %3d PGM %5d REF %5d RATE %10.3f Scramb %1d %8s\n", entry.pidNum,
                entry.pidType, entry.pidOrder, entry.pgmNum, entry.referencePID,
                static_cast<double>(entry.pidRate), entry.scrambled, entry.description);
}

void finishEntries() {
    const int count = pidListLength();
    for (int position = 0; position < count; ++position) {
        PidEntry& entry = pidTable[position];
        markScrambling(entry);
        if (entry.pidType == pidTypeUnknown) {
            printUnknown(entry);
        }
    }
}

} // namespace

int collectPids(std::int32_t count) {
    for (int position = 0; position < pidListLength(); ++position) {
        pidTable[position].pidOrder = unclassified;
    }
    RateSums sums{};
    collectPsi(sums);
    collectEmm(sums);
    const int artificial = buildArtificialSdt();
    collectNull(sums);
    collectPrograms(count, sums);
    collectUnknown(sums);
    aggStreamRate = sums.programs + sums.psi + sums.unknown + sums.null;
    finishEntries();
    return artificial;
}

} // namespace mpegfe
