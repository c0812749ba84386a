#include "documents/pgmListDocument.h"

#include "documents/entryList.h"

namespace mpegfe {

namespace {

void appendProgram(DocumentText& text, const wire::SdtService& service) {
    append(text, R"({"pgmNum":")");
    appendNumber(text, service.serviceId);
    append(text, R"(","patIndex":")");
    appendNumber(text, service.patIndex);
    append(text, R"(","svcType":")");
    appendNumber(text, service.serviceType);
    append(text, R"(","referencePID":")");
    appendNumber(text, service.pmtPid);
    append(text, R"(","pidCount":")");
    appendNumber(text, service.pidCount);
    append(text, R"(","pgmRate":")");
    appendRate(text, service.rate);
    append(text, R"(","caFlag":")");
    appendNumber(text, service.caFlag);
    append(text, R"(","allScrambled":")");
    appendNumber(text, service.allScrambled);
    append(text, R"(","svcProvider":")");
    appendField(text, service.providerName);
    append(text, R"(","svcName":")");
    appendField(text, service.serviceName);
    append(text, R"("})");
}

} // namespace

std::size_t buildPgmListJson(const wire::SdtRecord* sdt, DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, R"({"requestReply":"dataStream","dataStream":"pgmData","pgmData":{"svcCount":")");
    appendNumber(text, sdt->serviceCount);
    append(text, R"(","derived":")");
    appendNumber(text, sdt->actual);
    append(text, R"(","aggStreamRate":")");
    appendRate(text, sdt->aggregateRate);
    append(text, R"(","scrambledCount":")");
    appendNumber(text, sdt->scrambledCount);
    append(text, R"(","pgms":[)");
    appendEntries(text, clampCount(sdt->serviceCount, wire::maxServices), "JSON PGM Overflow", "]}}",
                  [&](int index) { appendProgram(text, sdt->services[index]); });
    return finishText(text);
}

} // namespace mpegfe
