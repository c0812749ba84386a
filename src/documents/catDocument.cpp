#include "documents/catDocument.h"

#include "documents/detailList.h"

namespace mpegfe {

namespace {

void appendCa(DocumentText& text, const wire::CaEntry& entry) {
    append(text, R"({"systemID":")");
    appendHex(text, entry.caSystemId);
    append(text, R"(","pidNum":")");
    appendNumber(text, entry.caPid);
    append(text, R"("})");
}

} // namespace

std::size_t buildCatJson(const wire::CatRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"CAT","CAT":{"pidCount":")");
    appendNumber(text, record.caCount);
    append(text, R"(","tableID":")");
    appendHex(text, record.tableId);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"(",)");
    appendDetails(text, record.caEntries, record.caCount, "noServices", appendCa);
    append(text, "}}");
    return finishText(text);
}

} // namespace mpegfe
