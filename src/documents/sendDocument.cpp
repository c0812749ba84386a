#include "documents/sendDocument.h"

#include "documents/pgmDetailDocument.h"
#include "documents/pgmListDocument.h"
#include "documents/pidListDocument.h"
#include "documents/psiDocument.h"
#include "feed/recordStore.h"
#include "psiRequests.h"
#include "support/connection.h"
#include "trufios/trufiosChannels.h"
#include "trufios/trufiosReplies.h"

#include <array>
#include <cstdio>

namespace mpegfe {

namespace {

constexpr std::size_t nothingToSend = 0;

std::size_t buildPidList(const MpegSession*, DocumentBuffer& out) {
    const int count = newestRecords.pat.pidListCount;
    if (count == 0) {
        std::puts("No PID data to convert to JSON");
        return nothingToSend;
    }
    const std::size_t length = buildPidListJson(pidTable, count, aggStreamRate, out);
    std::printf("PID Json complete length %d\n", static_cast<int>(length));
    return length;
}

std::size_t buildPgmList(const MpegSession*, DocumentBuffer& out) {
    if (newestRecords.sdt.serviceCount == 0) {
        std::puts("No SDT Services to convert to JSON");
        return nothingToSend;
    }
    return buildPgmListJson(&newestRecords.sdt, out);
}

// The index is the client's, so it may be anything.
std::size_t buildPgmDetail(const MpegSession* session, DocumentBuffer& out) {
    const std::int32_t patIndex = session->requestParam;
    const std::int32_t programs = newestRecords.pat.programCount;
    if (patIndex < 0 || patIndex >= clampCount(programs, wire::maxPmtSlots)) {
        std::printf("No details for patindex %d, programs %d\n", patIndex, programs);
        return nothingToSend;
    }
    return buildPgmDetailJson(&newestRecords.pmt.slots[patIndex], &newestRecords.avPgm.slots[patIndex], out);
}

std::size_t buildPsiTable(const MpegSession* session, DocumentBuffer& out) {
    return buildPsiJson(static_cast<std::uint16_t>(session->requestParam), out);
}

struct DocumentRow {
    std::int32_t requestCode;
    std::size_t (*build)(const MpegSession* session, DocumentBuffer& out);
};

constexpr std::array<DocumentRow, 3> documentRows{{
    {requestPidData, buildPidList},
    {requestPgmData, buildPgmList},
    {requestPgmDetail, buildPgmDetail},
}};

std::size_t buildDocument(const MpegSession* session, DocumentBuffer& out) {
    for (const DocumentRow& row : documentRows) {
        if (row.requestCode == session->requestCode) {
            return row.build(session, out);
        }
    }
    if (findPsiRequest(&PsiRequest::code, session->requestCode) != nullptr) {
        return buildPsiTable(session, out);
    }
    std::printf("Illegal MPEG REQ %d\n", session->requestCode);
    return nothingToSend;
}

} // namespace

void sendJsonToGUI(const MpegSession* session) {
    std::printf("sendJsonToGUI entered req %d\n", session->requestCode);
    DocumentBuffer document;
    const std::size_t length = buildDocument(session, document);
    if (length == nothingToSend) {
        return;
    }
    sendRequest(session->docSocket, document, length, RequestLife::oncePeer);
    const ReplyResult reply = waitReply(session->docSocket);
    settleRequest(session->docSocket);
    if (reply == replyTimeout) {
        abandonDocument(session->docSocket);
    }
}

} // namespace mpegfe
