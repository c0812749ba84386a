#include "plainCollection.h"

#include "feed/recordStore.h"
#include "model/artificialSdt.h"
#include "serviceNames.h"

#include <cstdio>
#include <cstring>

PidEntry plainTable[maxPids];
float plainProgramRates[maxPrograms];
float plainAggregateRate;

namespace {

int find(int pid) {
    const PatRecord& pat = newestRecords.pat;
    for (int i = 0; i < pat.pidListCount; ++i) {
        if ((pat.pidList[i] & 0x1FFF) == pid) {
            return i;
        }
    }
    return -1;
}

float rateAt(int position) {
    return position < maxPidStats ? newestRecords.tsStatus.pidStats[position].rate : 0.0F;
}

float fill(int position, int pid, int type, const char* name, int patIndex, int reference, int pgmNum) {
    PidEntry& entry = plainTable[position];
    entry.patIndex = patIndex;
    entry.pidOrder = position;
    entry.pidNum = static_cast<std::uint16_t>(pid);
    entry.pidType = static_cast<std::uint16_t>(type);
    entry.referencePID = static_cast<std::uint16_t>(reference);
    entry.pgmNum = static_cast<std::uint16_t>(pgmNum);
    entry.pidRate = rateAt(position);
    std::strcpy(entry.description, name);
    return entry.pidRate;
}

const char* psiName(int pid) {
    switch (pid) {
    case 0:
        return "PAT";
    case 1:
        return "CAT";
    case 16:
        return "NIT";
    case 17:
        return "SDT";
    case 18:
        return "EIT";
    case 20:
        return "TDT";
    case 31:
        return "SIT";
    default:
        return "PSI";
    }
}

float collectProgram(int g) {
    const PmtEntry& pmt = newestRecords.pmt.slots[g];
    const AvPgmEntry& av = newestRecords.avPgm.slots[g];
    float sum = 0.0F;
    const auto take = [&](int pid, int type, const char* name) {
        const int position = find(pid);
        if (position >= 1) {
            sum += fill(position, pid, type, name, g, av.pmtPid, av.pgmNum);
        }
    };
    take(pmt.pmtPid, 1, "PMT");
    take(av.videoPid, 4, "VIDEO");
    const int pcr = find(pmt.pcrPid);
    if (pcr >= 0 && pmt.pcrPid == av.videoPid) {
        plainTable[pcr].pidType = 5;
        std::strcpy(plainTable[pcr].description, "VID+PCR");
    } else if (pcr >= 0) {
        sum += fill(pcr, pmt.pcrPid, 3, "PCR", g, av.pmtPid, av.pgmNum);
    }
    for (int e = 0; e < pmt.ecmCount; ++e) {
        take(pmt.ecmPids[e], 10, "ECM");
    }
    for (int t = 0; t < pmt.audioCount; ++t) {
        take(av.audio[t].pid, 6, "AUDIO");
    }
    for (int p = 0; p < pmt.privateCount; ++p) {
        const int position = find(av.privatePids[p].pid);
        if (position >= 1 && rateAt(position) > 200000.0F) {
            newestRecords.tsStatus.pidStats[position].rate = 0.0F;
        }
        take(av.privatePids[p].pid, 7, "PVT");
    }
    return sum;
}

void markScrambling(PidEntry& entry) {
    entry.scrambled = 0;
    if (entry.pidType != 4 && entry.pidType != 5 && entry.pidType != 6) {
        return;
    }
    for (int j = 0; j < newestRecords.pat.programCount; ++j) {
        const AvPgmEntry& av = newestRecords.avPgm.slots[j];
        if (av.pgmNum != entry.pgmNum) {
            continue;
        }
        if (entry.pidType != 6) {
            entry.scrambled = av.videoScrambled;
            return;
        }
        for (int t = 0; t < av.audioCount; ++t) {
            if (av.audio[t].pid == entry.pidNum) {
                entry.scrambled = av.audio[t].scrambled;
                return;
            }
        }
        return;
    }
}

} // namespace

void collectPlainly(std::int32_t count) {
    const PatRecord& pat = newestRecords.pat;
    for (int i = 0; i < pat.pidListCount; ++i) {
        plainTable[i].pidOrder = -1;
    }
    float psi = 0.0F;
    for (int pid = 0; pid < 32; ++pid) {
        const int position = find(pid);
        if (position >= 0) {
            psi += fill(position, pid, 8, psiName(pid), 0, 0, 0);
        }
    }
    if (find(1) >= 0) {
        for (int k = 0; k < newestRecords.cat.caCount; ++k) {
            const int position = find(newestRecords.cat.caEntries[k].caPid);
            if (position >= 1) {
                psi += fill(position, newestRecords.cat.caEntries[k].caPid, 9, "EMM", 0, 0, 0);
            }
        }
    }
    buildArtificialSdt();
    const int null = find(8191);
    const float nullRate = null >= 0 ? fill(null, 8191, 11, "NULL", 0, 0, 0) : 0.0F;
    const int first = newestRecords.pmt.slots[0].pgmNum == 0 ? 1 : 0;
    float programs = 0.0F;
    for (int g = first; g < count; ++g) {
        plainProgramRates[g - first] = collectProgram(g);
        programs += plainProgramRates[g - first];
    }
    float unknown = 0.0F;
    for (int i = 0; i < pat.pidListCount; ++i) {
        if (plainTable[i].pidOrder == -1) {
            unknown += fill(i, pat.pidList[i] & 0x1FFF, 12, "Unk", 0, 0, 0);
        }
    }
    plainAggregateRate = programs + psi + unknown + nullRate;
    for (int i = 0; i < pat.pidListCount; ++i) {
        PidEntry& entry = plainTable[i];
        markScrambling(entry);
        if (entry.pidType == 12) {
            std::printf("PID %5d TYPE %2d ORDER %3d PGM %5d REF %5d RATE %10.3f Scramb %1d %8s\n",
                        entry.pidNum, entry.pidType, entry.pidOrder, entry.pgmNum, entry.referencePID,
                        static_cast<double>(entry.pidRate), entry.scrambled, entry.description);
        }
    }
}
