// The EIT document: "EIT".
#pragma once

#include "documents/documentShape.h"
#include "documents/documentText.h"
#include "wire/records.h"

namespace mpegfe {

// Writes the document for this record. Returns the text's length without its terminator.
std::size_t buildEitJson(const wire::EitRecord& record, DocumentBuffer& out);

namespace shape {

inline constexpr auto eitEvent = [](const wire::EitEvent& event) {
    return object(hex<"eventID">(event.eventId),
                  number<"Date:MJD">(event.startDateMjd),
                  field<"TOD">(event.startTime),
                  field<"duration">(event.duration),
                  field<"language">(event.language),
                  field<"event">(event.eventName),
                  field<"description">(event.description));
};

constexpr auto eit(const wire::EitRecord& record) {
    return document<"EIT">(number<"eventCount">(record.eventCount),
                           hex<"tableID">(record.tableId),
                           hex<"netID">(record.originalNetworkId),
                           hex<"pgmNum">(record.serviceId),
                           hex<"systemID">(record.transportStreamId),
                           rateKbps<"pidRate">(record.pidRate),
                           list<"details", "NoEvents">(record.events, record.eventCount, eitEvent));
}

} // namespace shape

} // namespace mpegfe
