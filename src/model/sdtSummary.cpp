#include "model/sdtSummary.h"

#include "feed/recordStore.h"
#include "model/pidTable.h"
#include "support/boundedText.h"

#include <cstdio>

namespace mpegfe {

namespace {

// The AVPGM record has one slot fewer than services when the network entry takes the first; what has no slot
// is not scrambled.
std::uint16_t allScrambledAt(int slot) {
    return slot < wire::maxPrograms ? newestRecords.avPgm.slots[slot].allScrambled : std::uint16_t{0};
}

void printService(const wire::SdtService& service, float rate) {
    constexpr auto providerWidth = static_cast<int>(sizeof service.providerName);
    constexpr auto serviceWidth = static_cast<int>(sizeof service.serviceName);
    std::printf("Service: %-25.*s Provider: %-10.*s PMT: %6d CA: %d Scrambled %d Rate: %10.3fMbps\n",
                serviceWidth, service.serviceName, providerWidth, service.providerName, service.pmtPid,
                service.caFlag, service.allScrambled, static_cast<double>(rate / 1000000.0F));
}

} // namespace

void printSdtSummary() {
    wire::SdtRecord& sdt = newestRecords.sdt;
    const int first = newestRecords.avPgm.slots[0].pgmNum == 0 ? 1 : 0;
    const int count = clampCount(sdt.serviceCount, wire::maxServices);
    sdt.scrambledCount = 0;
    sdt.aggregateRate = aggStreamRate;
    for (int k = 0; k < count; ++k) {
        wire::SdtService& service = sdt.services[k];
        service.allScrambled = allScrambledAt(first + k);
        service.rate = programRates[k];
        if (service.allScrambled != 0) {
            ++sdt.scrambledCount;
        }
    }
    std::printf("SDT Svcs %d Scrambled %d Rate %10.3f\n", sdt.serviceCount, sdt.scrambledCount,
                static_cast<double>(aggStreamRate));
    for (int k = 0; k < count; ++k) {
        printService(sdt.services[k], programRates[k]);
    }
}

} // namespace mpegfe
