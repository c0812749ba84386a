#include "documents/pidListDocument.h"

#include "documents/entryList.h"

namespace mpegfe {

namespace {

void appendPid(DocumentText& text, const PidEntry& entry) {
    append(text, R"({"patIndex":")");
    appendNumber(text, entry.patIndex);
    append(text, R"(","pidOrder":")");
    appendNumber(text, entry.pidOrder);
    append(text, R"(","pidNum":")");
    appendNumber(text, entry.pidNum);
    append(text, R"(","pidType":")");
    appendNumber(text, entry.pidType);
    append(text, R"(","referencePID":")");
    appendNumber(text, entry.referencePID);
    append(text, R"(","pgmNum":")");
    appendNumber(text, entry.pgmNum);
    append(text, R"(","pidRate":")");
    appendRate(text, entry.pidRate);
    append(text, R"(","scrambled":")");
    appendNumber(text, entry.scrambled);
    append(text, R"(","description":")");
    appendField(text, entry.description);
    append(text, R"("})");
}

} // namespace

std::size_t buildPidListJson(const PidEntry* entries, int count, float aggRate, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"pidData","pidData":{"pidCount":")");
    appendNumber(text, count);
    append(text, R"(","aggStreamRate":")");
    appendRate(text, aggRate);
    append(text, R"(","pids":[)");
    appendEntries(text, clampCount(count, wire::maxPids), "JSON PID Overflow", "]}}",
                  [&](int index) { appendPid(text, entries[index]); });
    return finishText(text);
}

} // namespace mpegfe
