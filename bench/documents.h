// The documents that are measured: the PID list at four sizes, the others at their largest. They are chosen
// so that they have none of their stray commas, which two of the peers could not write.
#pragma once

#include "workloads.h"

#include "documents/catDocument.h"
#include "documents/eitDocument.h"
#include "documents/nitDocument.h"
#include "documents/patDocument.h"
#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/sdtDocument.h"
#include "documents/tdtDocument.h"
#include "feed/recordStore.h"
#include "serviceNames.h"

// Each calls visit with a document's name, which ends in its number of entries, with what loads its records,
// with the service's builder, and with what makes its shape for another writer.

template <int pids, typename Visit>
void visitPidList(Visit visit, const char* name) {
    const auto load = [] {
        loadStream({pids, (pids - 8) / 5, 2, 1, 0, true});
        collectPids(newestRecords.pat.programCount);
    };
    visit(
        name, load, [](DocumentBuffer& out) { return buildPidListJson(pidTable, pids, aggStreamRate, out); },
        [] { return shape::pidList(pidTable, pids, aggStreamRate); });
}

template <auto record, auto build, auto shape, typename Visit>
void visitTable(Visit visit, const char* name, void (*load)()) {
    visit(
        name, load, [](DocumentBuffer& out) { return build(newestRecords.*record, out); },
        [] { return shape(newestRecords.*record); });
}

template <typename Visit>
void forEachDocument(Visit visit) {
    visitPidList<1>(visit, "PidList/1");
    visitPidList<16>(visit, "PidList/16");
    visitPidList<64>(visit, "PidList/64");
    visitPidList<108>(visit, "PidList/108");
    visit(
        "PgmList/60", loadFullTables,
        [](DocumentBuffer& out) { return buildPgmListJson(&newestRecords.sdt, out); },
        [] { return shape::pgmList(newestRecords.sdt); });
    static const PmtEntry& pmt = newestRecords.pmt.slots[1];
    static const AvPgmEntry& av = newestRecords.avPgm.slots[1];
    visit(
        "PgmDetail",
        [] {
            loadStream({108, 3, maxAudioTracks, 0, maxEcmPids, true});
        },
        [](DocumentBuffer& out) { return buildPgmDetailJson(&pmt, &av, out); },
        [] { return shape::pgmDetail(pmt, av); });
    visitTable<&RecordSet::pat, buildPatJson, shape::pat>(visit, "PAT/60", loadFullPat);
    visitTable<&RecordSet::cat, buildCatJson, shape::cat>(visit, "CAT/10", loadFullTables);
    visitTable<&RecordSet::nit, buildNitJson, shape::nit>(visit, "NIT/10", loadFullTables);
    visitTable<&RecordSet::sdt, buildSdtJson, shape::sdt>(visit, "SDT/60", loadFullTables);
    visitTable<&RecordSet::eit, buildEitJson, shape::eit>(visit, "EIT/60", loadFullTables);
    visitTable<&RecordSet::tdt, buildTdtJson, shape::tdt>(visit, "TDT", loadFullTables);
}
