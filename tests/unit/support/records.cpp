#include "support/records.h"

#include "model/pidTable.h"

#include <algorithm>
#include <cstring>

namespace {

template <typename State>
void clear(State& state) {
    std::memset(static_cast<void*>(&state), 0, sizeof state);
}

template <typename Count, typename Source>
Count countOf(const Source& source) {
    return static_cast<Count>(source.size());
}

} // namespace

void clearProcessState() {
    clear(newestRecords);
    clear(previousRecords);
    clear(pidTable);
    clear(programRates);
    aggStreamRate = 0;
    programCount = 0;
}

void listPids(const std::vector<ListedPid>& pids) {
    newestRecords.pat.pidListCount = countOf<std::uint16_t>(pids);
    for (std::size_t i = 0; i < pids.size(); ++i) {
        newestRecords.pat.pidList[i] = pids[i].pid;
        if (i < maxPidStats) {
            newestRecords.tsStatus.pidStats[i].rate = pids[i].rate;
        }
    }
}

void announcePrograms(const std::vector<Program>& programs) {
    programCount = newestRecords.pat.programCount = countOf<std::int32_t>(programs);
    for (std::size_t g = 0; g < programs.size(); ++g) {
        const Program& program = programs[g];
        newestRecords.pat.programs[g] = {program.pgmNum, program.pmtPid};
        AvPgmEntry& av = newestRecords.avPgm.slots[g];
        av.pgmNum = program.pgmNum;
        av.pmtPid = program.pmtPid;
        av.videoPid = program.videoPid;
        av.videoScrambled = program.videoScrambled;
        av.audioCount = countOf<std::uint16_t>(program.audio);
        for (std::size_t t = 0; t < program.audio.size(); ++t) {
            av.audio[t].pid = program.audio[t].pid;
            av.audio[t].scrambled = program.audio[t].scrambled;
        }
        av.privateCount = countOf<std::uint16_t>(program.privatePids);
        for (std::size_t p = 0; p < program.privatePids.size(); ++p) {
            av.privatePids[p].pid = program.privatePids[p];
        }
        av.allScrambled = program.allScrambled;
        if (g >= maxPmtSlots) {
            continue;
        }
        PmtEntry& pmt = newestRecords.pmt.slots[g];
        pmt.pgmNum = program.pgmNum;
        pmt.pmtPid = program.pmtPid;
        pmt.pcrPid = program.pcrPid;
        pmt.videoPid = program.videoPid;
        pmt.audioCount = av.audioCount;
        pmt.privateCount = av.privateCount;
        pmt.ecmCount = countOf<std::uint16_t>(program.ecmPids);
        std::ranges::copy(program.ecmPids, pmt.ecmPids);
    }
}

void listServices(SdtRecord& record, const std::vector<Service>& services) {
    record.serviceCount = countOf<std::uint16_t>(services);
    for (std::size_t k = 0; k < services.size(); ++k) {
        const Service& from = services[k];
        SdtService& to = record.services[k];
        to.serviceId = from.serviceId;
        to.serviceType = from.serviceType;
        to.pmtPid = from.pmtPid;
        to.caFlag = from.caFlag;
        to.pidCount = from.pidCount;
        to.patIndex = from.patIndex;
        to.rate = from.rate;
        to.allScrambled = from.allScrambled;
        setField(to.providerName, from.providerName);
        setField(to.serviceName, from.serviceName);
    }
}
