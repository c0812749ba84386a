// The NIT document: "NIT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildNitJson(const wire::NitRecord& record, DocumentBuffer& out);

namespace shape {

inline constexpr auto nitDescriptor = [](const wire::NitDescriptor& descriptor) {
    return object(hex<"descriptorType">(descriptor.descriptorType),
                  field<"descriptors">(descriptor.descriptorText));
};

constexpr auto nit(const wire::NitRecord& record) {
    return document<"NIT">(
        number<"descriptorCount">(record.descriptorCount),
        hex<"tableID">(record.tableId),
        hex<"netID">(record.networkId),
        hex<"streamID">(record.transportStreamId),
        hex<"origNetID">(record.originalNetworkId),
        hex<"descriptorType">(record.descriptorType),
        field<"descriptors">(record.descriptorText),
        rateKbps<"pidRate">(record.pidRate),
        list<"details", "noServices">(record.descriptorEntries, record.descriptorCount, nitDescriptor));
}

} // namespace shape

} // namespace mpegfe
