#include "model/artificialSdt.h"

#include "model/streamRecords.h"
#include "support/boundedText.h"

#include <cstdio>
#include <cstring>

namespace mpegfe {

namespace {

// An SDT whose actual is 1 may be one that was made here from an earlier PAT, so it is made again.
bool realSdtStands() {
    return pidPosition(wire::sdtPid) != absentPid && newestRecords.sdt.actual != 1;
}

void describeProgram(wire::SdtService& service, const wire::ProgramEntry& program, int patIndex) {
    service.patIndex = static_cast<std::uint8_t>(patIndex);
    std::snprintf(service.serviceName, sizeof service.serviceName, "Program %d", program.pgmNum);
    service.serviceId = program.pgmNum;
    service.pmtPid = program.pmtPid;
    std::strcpy(service.providerName, "Unk");
}

} // namespace

int buildArtificialSdt() {
    if (realSdtStands()) {
        return 0;
    }
    std::puts("Artificial SDT constructed");
    const wire::PatRecord& pat = newestRecords.pat;
    wire::SdtRecord& sdt = newestRecords.sdt;
    sdt.transportStreamId = pat.transportStreamId;
    sdt.actual = 1;
    sdt.pid = wire::sdtPid;

    const int first = pat.sectionPrograms[0].pgmNum == 0 ? 1 : 0; // the network entry is no service
    const int end = clampCount(pat.sectionProgramCount, wire::maxServices);
    int services = 0;
    for (int patIndex = first; patIndex < end; ++patIndex) {
        describeProgram(sdt.services[services], pat.sectionPrograms[patIndex], patIndex);
        ++services;
    }
    sdt.serviceCount = static_cast<std::uint16_t>(services);
    return 1;
}

} // namespace mpegfe
