#include "documents/patDocument.h"

namespace mpegfe {

namespace {

void appendProgram(DocumentText& text, const wire::ProgramEntry& program) {
    append(text, R"({"pgmNum":")");
    appendNumber(text, program.pgmNum);
    append(text, R"(","referencePID":")");
    appendNumber(text, program.pmtPid);
    append(text, R"("})");
}

} // namespace

std::size_t buildPatJson(const wire::PatRecord& record, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"PAT","PAT":{"pgms":")");
    appendNumber(text, record.programCount);
    append(text, R"(","pidRate":")");
    appendRateKbps(text, record.pidRate);
    append(text, R"(","details":[)");
    const int count = clampCount(record.programCount, wire::maxPrograms);
    for (int k = 0; k < count; ++k) {
        if (k > 0) {
            append(text, ",");
        }
        appendProgram(text, record.programs[k]);
    }
    append(text, "]}}");
    return finishText(text);
}

} // namespace mpegfe
