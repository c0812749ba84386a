#include "documents/tdtDocument.h"

namespace mpegfe {

std::size_t buildTdtJson(const wire::TdtRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"TDT","TDT":{"tableID":")");
    appendHex(text, record.tableId);
    append(text, R"(","Date:MJD":")");
    appendNumber(text, record.dateMjd);
    append(text, R"(","TOD":")");
    appendField(text, record.timeOfDay);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"("}})");
    return finishText(text);
}

} // namespace mpegfe
