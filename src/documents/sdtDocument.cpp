#include "documents/sdtDocument.h"

#include "documents/detailList.h"

namespace mpegfe {

namespace {

// The comma behind "Set" makes the text no valid JSON; clients expect it.
void appendService(DocumentText& text, const wire::SdtService& service) {
    append(text, R"({"svcName":")");
    appendField(text, service.serviceName);
    append(text, R"(","svcProvider":")");
    appendField(text, service.providerName);
    append(text, service.caFlag == 0 ? R"(","caFlag":"Clear"})" : R"(","caFlag":"Set",})");
}

} // namespace

std::size_t buildSdtJson(const wire::SdtRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"SDT","SDT":{"pgms":")");
    appendNumber(text, record.serviceCount);
    append(text, R"(","tableID":")");
    appendHex(text, record.tableId);
    append(text, R"(","systemID":")");
    appendHex(text, record.transportStreamId);
    append(text, R"(","netID":")");
    appendHex(text, record.originalNetworkId);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"(","sdtData":")");
    append(text, record.actual != 0 ? "Actual" : "Derived");
    append(text, R"(",)");
    appendDetails(text, record.services, record.serviceCount, "noServices", appendService);
    append(text, "}}");
    return finishText(text);
}

} // namespace mpegfe
