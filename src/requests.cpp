#include "requests.h"

#include "psiRequests.h"
#include "session/session.h"
#include "support/jsonText.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>

namespace mpegfe {

namespace {

struct RequestRow;
using Handler = RequestResult (*)(const RequestRow& row, json_t* request, MpegSession* session,
                                  FeedContext* feed);

RequestResult handleStream(const RequestRow& row, json_t* request, MpegSession* session, FeedContext* feed);
RequestResult handleProgramDetail(const RequestRow& row, json_t* request, MpegSession* session,
                                  FeedContext* feed);

constexpr std::int32_t noTable = -1;

struct RequestRow {
    const char* dataStream;
    RequestCode requestCode;
    std::int32_t tablePid; // becomes requestParam; noTable leaves that as it was
    Handler handle;
    const char* onText; // printed for "status" "on" and "off"; null prints nothing
    const char* offText;
};

constexpr std::array<RequestRow, 3> streamRows{{
    {"pidData", requestPidData, noTable, handleStream, "GUI Requests All PIDs", nullptr},
    {"pgmData", requestPgmData, noTable, handleStream, "Client Requests All PGMs", nullptr},
    {"pgmDetail", requestPgmDetail, noTable, handleProgramDetail, nullptr, nullptr},
}};

constexpr RequestRow tableRow(const PsiRequest& table) {
    return {table.dataStream,
            table.code,
            table.tablePid,
            handleStream,
            "Client Request PSI Request Recognized, send ACK: ack",
            "Stop PSI Request Recognized, send ACK: ack"};
}

// What a client can ask for, by the request's "dataStream".
constexpr auto requestRows = [] {
    std::array<RequestRow, streamRows.size() + psiRequests.size()> rows{};
    std::copy(streamRows.begin(), streamRows.end(), rows.begin());
    std::transform(psiRequests.begin(), psiRequests.end(), rows.begin() + streamRows.size(), tableRow);
    return rows;
}();

// The text under this key, empty when the request has none.
const char* textOrEmpty(json_t* request, const char* key) {
    const char* text = textOf(request, key);
    return text != nullptr ? text : "";
}

RequestResult runSession(std::int32_t state, RequestCode requestCode, MpegSession* session,
                         FeedContext* feed) {
    session->state = state;
    session->requestCode = requestCode;
    sendMpegData(session, feed);
    return requestServed;
}

// Every request that a client starts with "status" "on" and stops with "off".
RequestResult handleStream(const RequestRow& row, json_t* request, MpegSession* session, FeedContext* feed) {
    const char* status = textOrEmpty(request, "status");
    const bool on = std::strcmp(status, "on") == 0;
    if (!on && std::strcmp(status, "off") != 0) {
        std::printf("Illegal StreamType Request Status %s\n", status);
        return requestRefused;
    }
    const char* text = on ? row.onText : row.offText;
    if (text != nullptr) {
        std::puts(text);
    }
    if (row.tablePid != noTable) {
        session->requestParam = row.tablePid;
    }
    return runSession(on ? stateInitFeed : stateStop, row.requestCode, session, feed);
}

// The program index that a client wrote, cut to what an i32 holds; the sender refuses what the stream lacks.
std::int32_t programIndexOf(const char* text) {
    using Limits = std::numeric_limits<std::int32_t>;
    return static_cast<std::int32_t>(
        std::clamp<long>(std::strtol(text, nullptr, 10), Limits::min(), Limits::max()));
}

RequestResult handleProgramDetail(const RequestRow& row, json_t* request, MpegSession* session,
                                  FeedContext* feed) {
    const char* patIndex = textOf(request, "patIndex");
    if (patIndex == nullptr) {
        std::puts("Client Requests Detail without a patindex");
        return requestRefused;
    }
    session->requestParam = programIndexOf(patIndex);
    std::printf("Client Requests Detail from patindex %d\n", session->requestParam);
    return runSession(stateInitFeed, row.requestCode, session, feed);
}

} // namespace

RequestResult dispatchClientRequest(json_t* request, MpegSession* session, FeedContext* feed) {
    const char* dataStream = textOrEmpty(request, "dataStream");
    session->state = 0;
    for (const RequestRow& row : requestRows) {
        if (std::strcmp(row.dataStream, dataStream) == 0) {
            return row.handle(row, request, session, feed);
        }
    }
    std::printf("Illegal Client MPEG Request: %s\n", dataStream);
    std::puts("Client Request not recognized");
    return requestRefused;
}

} // namespace mpegfe
