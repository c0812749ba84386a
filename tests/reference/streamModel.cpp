#include "streamModel.h"

#include "printed.h"

#include <algorithm>

namespace reference {

int cut(int count, int most) {
    return std::clamp(count, 0, most);
}

int placeOf(StreamModel& model, int pid) {
    const Pat pat = model.records.pat();
    for (int i = 0; i < cut(pat.pidListCount(), 256); ++i) {
        if (pat.pid(i) == pid) {
            return i;
        }
    }
    return -1;
}

float rateAt(StreamModel& model, int place) {
    return place < 128 ? model.records.tsStatus().rate(place) : 0;
}

namespace {

const std::map<int, std::string> psiNames{{0, "PAT"},  {1, "CAT"},  {16, "NIT"}, {17, "SDT"},
                                          {18, "EIT"}, {20, "TDT"}, {31, "SIT"}};

// A table without an SDT of its own gets one made from the PAT's second program list.
int buildArtificialSdt(StreamModel& model) {
    const Pat pat = model.records.pat();
    const Sdt sdt = model.records.sdt();
    if (placeOf(model, 17) >= 0 && sdt.actual() != 1) {
        return 0;
    }
    model.console += "Artificial SDT constructed\n";
    const int first = pat.sectionPgmNum(0) == 0 ? 1 : 0;
    int serviceCount = pat.sectionProgramCount();
    sdt.putU16(8, pat.transportStreamId());
    sdt.putU16(12, serviceCount);
    sdt.putU16(14, 1);
    sdt.putU16(4, 17);
    if (serviceCount > 60) {
        serviceCount = 60;
    } else if (serviceCount <= first) {
        sdt.putU16(12, 0);
        return 1;
    }
    int s = 0;
    for (int k = first; k < serviceCount; ++k) {
        const Service service = sdt.service(s);
        service.putU8(8, k);
        service.putText(54, printed("Program %d", pat.sectionPgmNum(k)));
        service.putU16(0, pat.sectionPgmNum(k));
        service.putU16(4, pat.sectionPmtPid(k));
        service.putText(18, "Unk");
        ++s;
    }
    sdt.putU16(12, s);
    return 1;
}

// One collection. Sums are singles, added one rate at a time.
struct Collection {
    StreamModel& model;
    std::map<int, int> places; // of each PID, its first
    int pidCount = 0;
    float psiSum = 0;
    float programSum = 0;
    float unknownSum = 0;
    float nullRate = 0;

    void say(const std::string& line) {
        model.console += line + "\n";
    }

    int place(int pid) const {
        const auto found = places.find(pid);
        return found == places.end() ? -1 : found->second;
    }

    PidRow& claim(int i, int pid, int type, const std::string& description) {
        PidRow& row = model.pidTable[static_cast<std::size_t>(i)];
        row.pidNum = pid;
        row.pidOrder = i;
        row.pidType = type;
        row.description = description;
        row.pidRate = rateAt(model, i);
        row.referencePid = 0;
        row.pgmNum = 0;
        return row;
    }

    PidRow& claimForProgram(int i, int pid, int type, const std::string& description, int g) {
        PidRow& row = claim(i, pid, type, description);
        row.patIndex = g;
        row.referencePid = model.records.av(g).pmtPid();
        row.pgmNum = model.records.av(g).pgmNum();
        return row;
    }

    void retype(int i, int type, const std::string& description) {
        PidRow& row = model.pidTable[static_cast<std::size_t>(i)];
        row.pidType = type;
        row.description = description;
    }

    void listPlaces() {
        const Pat pat = model.records.pat();
        pidCount = cut(pat.pidListCount(), 256);
        for (int i = 0; i < pidCount; ++i) {
            places.try_emplace(pat.pid(i), i);
            model.pidTable[static_cast<std::size_t>(i)].pidOrder = -1;
        }
    }

    void collectPsi() {
        for (int p = 0; p <= 31; ++p) {
            const int i = place(p);
            if (i < 0) {
                continue;
            }
            const auto name = psiNames.find(p);
            claim(i, p, 8, name == psiNames.end() ? "PSI" : name->second).patIndex = 0;
            psiSum += rateAt(model, i);
        }
    }

    void collectEmm() {
        const Cat cat = model.records.cat();
        if (place(1) < 0) {
            return;
        }
        for (int k = 0; k < cut(cat.caCount(), 10); ++k) {
            const int pid = cat.caPid(k);
            const int i = place(pid);
            if (i < 1) {
                say(printed("EMM Missing PID %d p %d", pid, i));
                continue;
            }
            claim(i, pid, 9, "EMM"); // the program index stays
            psiSum += rateAt(model, i);
            if (pid < 32) {
                say(printed("EMM Pid < 32 pid %d", pid));
                psiSum -= rateAt(model, i);
            }
        }
    }

    void collectNull() {
        const int i = place(8191);
        if (i >= 0) {
            claim(i, 8191, 11, "NULL").patIndex = 0;
            nullRate = rateAt(model, i);
        }
    }

    void collectPmt(int g) {
        const int pid = model.records.pmt(g).pmtPid();
        const int i = place(pid);
        if (i < 1) {
            return;
        }
        const float rate = claimForProgram(i, pid, 1, "PMT", g).pidRate;
        programSum += rate;
        if (pid <= 31) {
            say(printed("PMT Pid < 32 PMT %d", pid));
            psiSum -= rate;
        }
    }

    void collectVideo(int g) {
        const int pid = model.records.av(g).videoPid();
        const int i = place(pid);
        if (i < 1) {
            return;
        }
        const float rate = claimForProgram(i, pid, 4, "VIDEO", g).pidRate;
        programSum += rate;
        if (pid >= 1 && pid <= 31) {
            say(printed("VID Pid < 32 PMT %d PID %d", model.records.pmt(g).pmtPid(), pid));
            psiSum -= rate;
        }
    }

    void collectPcr(int g) {
        const int pid = model.records.pmt(g).pcrPid();
        const int i = place(pid);
        if (i < 0) {
            return;
        }
        if (pid == model.records.av(g).videoPid()) {
            retype(i, 5, "VID+PCR");
            return;
        }
        const float rate = claimForProgram(i, pid, 3, "PCR", g).pidRate;
        programSum += rate;
        if (pid <= 31) {
            say(printed("PCR Pid < 32 PMT %d", model.records.pmt(g).pmtPid()));
            psiSum -= rate;
        }
    }

    void collectEcm(int g) {
        const Pmt pmt = model.records.pmt(g);
        for (int e = 0; e < cut(pmt.ecmCount(), 6); ++e) {
            const int pid = pmt.ecmPid(e);
            const int i = place(pid);
            if (i < 1) {
                continue;
            }
            if (pid == model.records.av(g).pmtPid()) {
                retype(i, 2, "PMT+ECM");
                continue;
            }
            const float rate = claimForProgram(i, pid, 10, "ECM", g).pidRate;
            programSum += rate;
            if (pid <= 31) {
                say(printed("ECM Pid < 32 PMT %d", pmt.pmtPid()));
                psiSum -= rate;
            }
        }
    }

    void collectAudio(int g) {
        const Pmt pmt = model.records.pmt(g);
        for (int t = 0; t < cut(pmt.audioCount(), 12); ++t) {
            const int pid = model.records.av(g).audioPid(t);
            const int i = place(pid);
            if (i < 1) {
                continue;
            }
            const float rate = claimForProgram(i, pid, 6, "AUDIO", g).pidRate;
            programSum += rate;
            if (pid >= 1 && pid <= 31) {
                say(printed("AUD Pid < 32 PMT %d PID %d", pmt.pmtPid(), pid));
                psiSum -= rate;
            }
        }
    }

    void collectPrivate(int g) {
        const Pmt pmt = model.records.pmt(g);
        for (int p = 0; p < cut(pmt.privateCount(), 12); ++p) {
            const int pid = model.records.av(g).privatePid(p);
            const int i = place(pid);
            if (i < 1) {
                continue;
            }
            PidRow& row = claimForProgram(i, pid, 7, "PVT", g);
            if (row.pidRate > 200000.0F) {
                row.pidRate = 0;
                model.records.tsStatus().putRate(i, 0);
            }
            programSum += row.pidRate;
            if (pid >= 1 && pid <= 31) {
                say(printed("PVT Pid < 32 PMT %d PID %d", pmt.pmtPid(), pid));
                psiSum -= row.pidRate;
            }
        }
    }

    float collectPrograms(int programCount) {
        float total = 0;
        std::fill(model.programRates.begin(), model.programRates.end(), 0.0F);
        std::size_t slot = 0;
        for (int g = model.records.pmt(0).pgmNum() == 0 ? 1 : 0; g < cut(programCount, 59); ++g) {
            programSum = 0;
            collectPmt(g);
            collectVideo(g);
            collectPcr(g);
            collectEcm(g);
            collectAudio(g);
            collectPrivate(g);
            model.programRates[slot++] = programSum;
            total += programSum;
        }
        return total;
    }

    void collectUnknown() {
        for (int i = 0; i < pidCount; ++i) {
            if (model.pidTable[static_cast<std::size_t>(i)].pidOrder != -1) {
                continue;
            }
            const int pid = model.records.pat().pid(i);
            const float rate = rateAt(model, i);
            claim(i, pid, 12, "Unk").patIndex = 0;
            unknownSum += rate;
            if (pid < 32) {
                say(printed("Unk Pid < 32 PMT %d", i < 59 ? model.records.pmt(i).pmtPid() : 0));
                psiSum -= rate;
            }
        }
    }

    // The AVPGM slot of this program number, -1 if no announced program has it.
    int slotOf(int pgmNum) {
        for (int j = 0; j < cut(model.records.pat().programCount(), 60); ++j) {
            if (model.records.av(j).pgmNum() == pgmNum) {
                return j;
            }
        }
        return -1;
    }

    void scrambleAudio(PidRow& row) {
        const int j = slotOf(row.pgmNum);
        if (j < 0) {
            return;
        }
        const Av av = model.records.av(j);
        for (int t = 0; t < cut(av.audioCount(), 12); ++t) {
            if (av.audioPid(t) == row.pidNum) {
                row.scrambled = av.audioScrambled(t);
                return;
            }
        }
        say("Collecting PIDs match Audio error");
    }

    void scramble() {
        for (int i = 0; i < pidCount; ++i) {
            PidRow& row = model.pidTable[static_cast<std::size_t>(i)];
            if (row.pidOrder == -1) {
                continue;
            }
            if (row.pidType == 4 || row.pidType == 5) {
                const int j = slotOf(row.pgmNum);
                if (j >= 0) {
                    row.scrambled = model.records.av(j).videoScrambled();
                }
            } else if (row.pidType == 6) {
                scrambleAudio(row);
            } else {
                row.scrambled = 0;
            }
            if (row.pidType == 12) {
                say(printed("PID %5d TYPE %2d ORDER %3d PGM %5d REF %5d RATE %10.3f Scramb %1d %8s",
                            row.pidNum, row.pidType, row.pidOrder, row.pgmNum, row.referencePid,
                            static_cast<double>(row.pidRate), row.scrambled, row.description.c_str()));
            }
        }
    }
};

} // namespace

int collectPids(StreamModel& model, int programCount) {
    Collection collection{model, {}};
    collection.listPlaces();
    collection.collectPsi();
    collection.collectEmm();
    const int artificial = buildArtificialSdt(model);
    collection.collectNull();
    const float programTotal = collection.collectPrograms(programCount);
    collection.collectUnknown();
    model.aggStreamRate = programTotal + collection.psiSum + collection.unknownSum + collection.nullRate;
    collection.scramble();
    return artificial;
}

void printSdtSummary(StreamModel& model) {
    const Sdt sdt = model.records.sdt();
    const int first = model.records.av(0).pgmNum() == 0 ? 1 : 0;
    const int services = cut(sdt.serviceCount(), 60);
    int scrambled = 0;
    for (int k = 0; k < services; ++k) {
        const int allScrambled = first + k < 60 ? model.records.av(first + k).allScrambled() : 0;
        sdt.service(k).putU16(16, allScrambled);
        sdt.service(k).putF32(12, model.programRates[static_cast<std::size_t>(k)]);
        scrambled += allScrambled != 0 ? 1 : 0;
    }
    sdt.putU16(5544, scrambled);
    sdt.putF32(5540, model.aggStreamRate);
    model.console += printed("SDT Svcs %d Scrambled %d Rate %10.3f\n", sdt.serviceCount(), scrambled,
                             static_cast<double>(model.aggStreamRate));
    for (int k = 0; k < services; ++k) {
        const Service service = sdt.service(k);
        model.console +=
            printed("Service: %-25s Provider: %-10s PMT: %6d CA: %d Scrambled %d Rate: %10.3fMbps\n",
                    service.serviceName().c_str(), service.providerName().c_str(), service.pmtPid(),
                    service.caFlag(), service.allScrambled(),
                    static_cast<double>(model.programRates[static_cast<std::size_t>(k)] / 1000000.0F));
    }
}

} // namespace reference
