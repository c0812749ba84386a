// The program list: "pgmData".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for the services of this SDT record, as printSdtSummary has completed it. When one more
// service as long as the last would pass listTextLimit characters, prints "JSON PGM Overflow" and leaves the
// rest out. Returns the text's length without its terminator.
std::size_t buildPgmListJson(const wire::SdtRecord* sdt, DocumentBuffer& out);

namespace shape {

inline constexpr auto listedProgram = [](const wire::SdtService& service) {
    return object(number<"pgmNum">(service.serviceId),
                  number<"patIndex">(service.patIndex),
                  number<"svcType">(service.serviceType),
                  number<"referencePID">(service.pmtPid),
                  number<"pidCount">(service.pidCount),
                  rate<"pgmRate">(service.rate),
                  number<"caFlag">(service.caFlag),
                  number<"allScrambled">(service.allScrambled),
                  field<"svcProvider">(service.providerName),
                  field<"svcName">(service.serviceName));
};

constexpr auto pgmList(const wire::SdtRecord& sdt) {
    return document<"pgmData">(number<"svcCount">(sdt.serviceCount),
                               number<"derived">(sdt.actual),
                               rate<"aggStreamRate">(sdt.aggregateRate),
                               number<"scrambledCount">(sdt.scrambledCount),
                               limitedList<"pgms">(sdt.services,
                                                   clampCount(sdt.serviceCount, wire::maxServices),
                                                   "JSON PGM Overflow",
                                                   listedProgram));
}

} // namespace shape

} // namespace mpegfe
