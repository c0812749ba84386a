#include "documents/eitDocument.h"

#include "documents/detailList.h"

namespace mpegfe {

namespace {

void appendEvent(DocumentText& text, const wire::EitEvent& event) {
    append(text, R"({"eventID":")");
    appendHex(text, event.eventId);
    append(text, R"(","Date:MJD":")");
    appendNumber(text, event.startDateMjd);
    append(text, R"(","TOD":")");
    appendField(text, event.startTime);
    append(text, R"(","duration":")");
    appendField(text, event.duration);
    append(text, R"(","language":")");
    appendField(text, event.language);
    append(text, R"(","event":")");
    appendField(text, event.eventName);
    append(text, R"(","description":")");
    appendField(text, event.description);
    append(text, R"("})");
}

} // namespace

std::size_t buildEitJson(const wire::EitRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"EIT","EIT":{"eventCount":")");
    appendNumber(text, record.eventCount);
    append(text, R"(","tableID":")");
    appendHex(text, record.tableId);
    append(text, R"(","netID":")");
    appendHex(text, record.originalNetworkId);
    append(text, R"(","pgmNum":")");
    appendHex(text, record.serviceId);
    append(text, R"(","systemID":")");
    appendHex(text, record.transportStreamId);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"(",)");
    appendDetails(text, record.events, record.eventCount, "NoEvents", appendEvent);
    append(text, "}}");
    return finishText(text);
}

} // namespace mpegfe
