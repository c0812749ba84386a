#include "documents/psiDocument.h"

#include "documents/catDocument.h"
#include "documents/eitDocument.h"
#include "documents/nitDocument.h"
#include "documents/patDocument.h"
#include "documents/sdtDocument.h"
#include "documents/tdtDocument.h"
#include "model/streamRecords.h"

#include <array>
#include <cstdio>

namespace mpegfe {

namespace {

struct PsiTable {
    std::uint16_t pid;
    float* pidRate; // in the table's newest record
    std::size_t (*build)(DocumentBuffer& out);
};

constexpr std::array<PsiTable, 6> psiTables{{
    {wire::patPid, &newestRecords.pat.pidRate,
     [](DocumentBuffer& out) { return buildPatJson(newestRecords.pat, out); }},
    {wire::catPid, &newestRecords.cat.pidRate,
     [](DocumentBuffer& out) { return buildCatJson(newestRecords.cat, out); }},
    {wire::nitPid, &newestRecords.nit.pidRate,
     [](DocumentBuffer& out) { return buildNitJson(newestRecords.nit, out); }},
    {wire::sdtPid, &newestRecords.sdt.pidRate,
     [](DocumentBuffer& out) { return buildSdtJson(newestRecords.sdt, out); }},
    {wire::eitPid, &newestRecords.eit.pidRate,
     [](DocumentBuffer& out) { return buildEitJson(newestRecords.eit, out); }},
    {wire::tdtPid, &newestRecords.tdt.pidRate,
     [](DocumentBuffer& out) { return buildTdtJson(newestRecords.tdt, out); }},
}};

std::size_t buildEmptyJson(DocumentBuffer& out) {
    DocumentText text = startText(out);
    append(text, "{}");
    return finishText(text);
}

} // namespace

std::size_t buildPsiJson(std::uint16_t pid, DocumentBuffer& out) {
    for (const PsiTable& table : psiTables) {
        if (table.pid == pid) {
            *table.pidRate = measuredRate(pidPosition(pid));
            return table.build(out);
        }
    }
    std::printf("Unsupported PSI %d\n", pid);
    return buildEmptyJson(out);
}

} // namespace mpegfe
