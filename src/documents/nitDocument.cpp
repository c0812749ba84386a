#include "documents/nitDocument.h"

#include "documents/detailList.h"

namespace mpegfe {

namespace {

void appendDescriptor(DocumentText& text, const wire::NitDescriptor& descriptor) {
    append(text, R"({"descriptorType":")");
    appendHex(text, descriptor.descriptorType);
    append(text, R"(","descriptors":")");
    appendField(text, descriptor.descriptorText);
    append(text, R"("})");
}

} // namespace

std::size_t buildNitJson(const wire::NitRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"NIT","NIT":{"descriptorCount":")");
    appendNumber(text, record.descriptorCount);
    append(text, R"(","tableID":")");
    appendHex(text, record.tableId);
    append(text, R"(","netID":")");
    appendHex(text, record.networkId);
    append(text, R"(","streamID":")");
    appendHex(text, record.transportStreamId);
    append(text, R"(","origNetID":")");
    appendHex(text, record.originalNetworkId);
    append(text, R"(","descriptorType":")");
    appendHex(text, record.descriptorType);
    append(text, R"(","descriptors":")");
    appendField(text, record.descriptorText);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"(",)");
    appendDetails(text, record.descriptorEntries, record.descriptorCount, "noServices", appendDescriptor);
    append(text, "}}");
    return finishText(text);
}

} // namespace mpegfe
