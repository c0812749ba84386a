#include "documentWorkloads.h"

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

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace {

template <int pids>
constexpr DocumentWorkload pidListOf(const char* name) {
    return {name,
            [] {
                loadStream({pids, (pids - 8) / 5, 2, 1, 0, true});
                collectPids(newestRecords.pat.programCount);
            },
            [](DocumentBuffer& out) { return buildPidListJson(pidTable, pids, aggStreamRate, out); }};
}

} // namespace

const std::vector<DocumentWorkload>& documentWorkloads() {
    static const std::vector<DocumentWorkload> workloads{
        pidListOf<1>("PidList/1"),
        pidListOf<16>("PidList/16"),
        pidListOf<64>("PidList/64"),
        pidListOf<108>("PidList/108"),
        {"PgmList/60", loadFullTables,
         [](DocumentBuffer& out) { return buildPgmListJson(&newestRecords.sdt, out); }},
        {"PgmDetail",
         [] {
             loadStream({108, 3, maxAudioTracks, 0, maxEcmPids, true});
         },
         [](DocumentBuffer& out) {
             return buildPgmDetailJson(&newestRecords.pmt.slots[1], &newestRecords.avPgm.slots[1], out);
         }},
        {"PAT/60", loadFullPat, [](DocumentBuffer& out) { return buildPatJson(newestRecords.pat, out); }},
        {"CAT/10", loadFullTables, [](DocumentBuffer& out) { return buildCatJson(newestRecords.cat, out); }},
        {"NIT/10", loadFullTables, [](DocumentBuffer& out) { return buildNitJson(newestRecords.nit, out); }},
        {"SDT/60", loadFullTables, [](DocumentBuffer& out) { return buildSdtJson(newestRecords.sdt, out); }},
        {"EIT/60", loadFullTables, [](DocumentBuffer& out) { return buildEitJson(newestRecords.eit, out); }},
        {"TDT", loadFullTables, [](DocumentBuffer& out) { return buildTdtJson(newestRecords.tdt, out); }},
    };
    return workloads;
}

const DocumentWorkload& documentWorkload(std::string_view name) {
    const std::vector<DocumentWorkload>& workloads = documentWorkloads();
    const auto found = std::find_if(workloads.begin(), workloads.end(),
                                    [=](const DocumentWorkload& workload) { return workload.name == name; });
    if (found == workloads.end()) {
        std::fputs("there is no such document\n", stderr);
        std::exit(1);
    }
    return *found;
}
