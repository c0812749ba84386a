// The collection of the PID table written plainly, as a peer for the service's: the same tables, the same
// sums, the same order, and a search that looks at one entry of the PID list after the other.
#pragma once

#include "feed/recordStore.h"
#include "model/artificialSdt.h"
#include "model/pidTable.h"
#include "serviceNames.h"

#include <cstdio>
#include <cstring>
#include <utility>

inline PidEntry plainTable[maxPids];
inline float plainProgramRates[maxPrograms];
inline float plainAggregateRate;

namespace plain {

constexpr AvPgmEntry noProgram{};

inline int find(int pid) {
    const PatRecord& pat = newestRecords.pat;
    for (int i = 0; i < pat.pidListCount; ++i) {
        if ((pat.pidList[i] & pidMask) == pid) {
            return i;
        }
    }
    return -1;
}

inline float rateAt(int position) {
    return position < maxPidStats ? newestRecords.tsStatus.pidStats[position].rate : 0.0F;
}

// Fills the entry at the position, if it is one from the first on, and returns its rate.
inline float claim(int position, int first, int pid, PidType type, const char* name, int patIndex = 0,
                   const AvPgmEntry& program = noProgram) {
    if (position < first) {
        return 0.0F;
    }
    PidEntry& entry = plainTable[position];
    entry.patIndex = patIndex;
    entry.pidOrder = position;
    entry.pidNum = static_cast<std::uint16_t>(pid);
    entry.pidType = type;
    entry.referencePID = program.pmtPid;
    entry.pgmNum = program.pgmNum;
    entry.pidRate = rateAt(position);
    std::strcpy(entry.description, name);
    return entry.pidRate;
}

constexpr std::pair<int, const char*> psiNames[]{{patPid, "PAT"}, {catPid, "CAT"}, {nitPid, "NIT"},
                                                 {sdtPid, "SDT"}, {eitPid, "EIT"}, {tdtPid, "TDT"},
                                                 {31, "SIT"}};

inline const char* psiName(int pid) {
    for (const auto& [named, name] : psiNames) {
        if (named == pid) {
            return name;
        }
    }
    return "PSI";
}

inline float collectProgram(int g) {
    const PmtEntry& pmt = newestRecords.pmt.slots[g];
    const AvPgmEntry& av = newestRecords.avPgm.slots[g];
    float sum = 0.0F;
    const auto take = [&](int pid, PidType type, const char* name) {
        sum += claim(find(pid), 1, pid, type, name, g, av);
    };
    take(pmt.pmtPid, pidTypePmt, "PMT");
    take(av.videoPid, pidTypeVideo, "VIDEO");
    const int pcr = find(pmt.pcrPid);
    if (pcr >= 0 && pmt.pcrPid == av.videoPid) {
        plainTable[pcr].pidType = pidTypeVideoPcr;
        std::strcpy(plainTable[pcr].description, "VID+PCR");
    } else {
        sum += claim(pcr, 0, pmt.pcrPid, pidTypePcr, "PCR", g, av);
    }
    for (int e = 0; e < pmt.ecmCount; ++e) {
        take(pmt.ecmPids[e], pidTypeEcm, "ECM");
    }
    for (int t = 0; t < pmt.audioCount; ++t) {
        take(av.audio[t].pid, pidTypeAudio, "AUDIO");
    }
    for (int p = 0; p < pmt.privateCount; ++p) {
        const int position = find(av.privatePids[p].pid);
        if (position >= 1 && rateAt(position) > 200000.0F) {
            newestRecords.tsStatus.pidStats[position].rate = 0.0F;
        }
        take(av.privatePids[p].pid, pidTypePrivate, "PVT");
    }
    return sum;
}

inline int scramblingOf(const PidEntry& entry) {
    const bool isAudio = entry.pidType == pidTypeAudio;
    if (!isAudio && entry.pidType != pidTypeVideo && entry.pidType != pidTypeVideoPcr) {
        return 0;
    }
    for (int j = 0; j < newestRecords.pat.programCount; ++j) {
        const AvPgmEntry& av = newestRecords.avPgm.slots[j];
        if (av.pgmNum != entry.pgmNum) {
            continue;
        }
        for (int t = 0; isAudio && t < av.audioCount; ++t) {
            if (av.audio[t].pid == entry.pidNum) {
                return av.audio[t].scrambled;
            }
        }
        return isAudio ? 0 : av.videoScrambled;
    }
    return 0;
}

} // namespace plain

inline void collectPlainly(std::int32_t count) {
    const PatRecord& pat = newestRecords.pat;
    for (int i = 0; i < pat.pidListCount; ++i) {
        plainTable[i].pidOrder = unclassified;
    }
    float psi = 0.0F;
    for (int pid = 0; pid < 32; ++pid) {
        psi += plain::claim(plain::find(pid), 0, pid, pidTypePsi, plain::psiName(pid));
    }
    for (int k = 0; plain::find(catPid) >= 0 && k < newestRecords.cat.caCount; ++k) {
        const int pid = newestRecords.cat.caEntries[k].caPid;
        psi += plain::claim(plain::find(pid), 1, pid, pidTypeEmm, "EMM");
    }
    buildArtificialSdt();
    const float nullRate = plain::claim(plain::find(nullPid), 0, nullPid, pidTypeNull, "NULL");
    const int first = newestRecords.pmt.slots[0].pgmNum == 0 ? 1 : 0;
    float programs = 0.0F;
    for (int g = first; g < count; ++g) {
        plainProgramRates[g - first] = plain::collectProgram(g);
        programs += plainProgramRates[g - first];
    }
    float unknown = 0.0F;
    for (int i = 0; i < pat.pidListCount; ++i) {
        if (plainTable[i].pidOrder == unclassified) {
            unknown += plain::claim(i, 0, pat.pidList[i] & pidMask, pidTypeUnknown, "Unk");
        }
    }
    plainAggregateRate = programs + psi + unknown + nullRate;
    for (int i = 0; i < pat.pidListCount; ++i) {
        PidEntry& entry = plainTable[i];
        entry.scrambled = plain::scramblingOf(entry);
        if (entry.pidType == pidTypeUnknown) {
            std::printf("PID %5d TYPE %2d ORDER %3d PGM %5d REF %5d RATE %10.3f Scramb %1d %8s\n",
                        entry.pidNum, entry.pidType, entry.pidOrder, entry.pgmNum, entry.referencePID,
                        static_cast<double>(entry.pidRate), entry.scrambled, entry.description);
        }
    }
}
