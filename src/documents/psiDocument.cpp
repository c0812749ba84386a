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

template <auto record, auto build>
constexpr PsiTable tableOn(std::uint16_t pid) {
    return {pid, &(newestRecords.*record).pidRate, [](DocumentBuffer& out) {
                return build(newestRecords.*record, out);
            }};
}

constexpr std::array psiTables{
    tableOn<&wire::RecordSet::pat, buildPatJson>(wire::patPid),
    tableOn<&wire::RecordSet::cat, buildCatJson>(wire::catPid),
    tableOn<&wire::RecordSet::nit, buildNitJson>(wire::nitPid),
    tableOn<&wire::RecordSet::sdt, buildSdtJson>(wire::sdtPid),
    tableOn<&wire::RecordSet::eit, buildEitJson>(wire::eitPid),
    tableOn<&wire::RecordSet::tdt, buildTdtJson>(wire::tdtPid),
};

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
