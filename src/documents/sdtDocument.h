// The SDT document: "SDT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildSdtJson(const wire::SdtRecord& record, DocumentBuffer& out);

namespace shape {

// The comma behind "Set" makes the text no valid JSON; clients expect it.
inline constexpr auto sdtService = [](const wire::SdtService& service) {
    return object(field<"svcName">(service.serviceName),
                  field<"svcProvider">(service.providerName),
                  either(service.caFlag == 0, constant<"caFlag", "Clear">(), constant<"caFlag", "Set">()),
                  strayComma(service.caFlag != 0));
};

constexpr auto sdt(const wire::SdtRecord& record) {
    return document<"SDT">(number<"pgms">(record.serviceCount),
                           hex<"tableID">(record.tableId),
                           hex<"systemID">(record.transportStreamId),
                           hex<"netID">(record.originalNetworkId),
                           rateKbps<"pidRate">(record.pidRate),
                           name<"sdtData">(record.actual != 0 ? "Actual" : "Derived"),
                           list<"details", "noServices">(record.services, record.serviceCount, sdtService));
}

} // namespace shape

} // namespace mpegfe
