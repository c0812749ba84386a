// The session record: what the client asked for last, and how far the service has got with it.
#pragma once

#include <cstdint>

namespace mpegfe {

// States of a session.
enum SessionState : std::int32_t {
    stateInitFeed = 1,
    stateSubscribe = 2,
    stateQuickWait = 3,
    stateQuickPidList = 4,
    stateQuickProgramList = 5,
    stateQuickProgramDetail = 6,
    stateQuickPsi = 7,
    stateStabilise = 8,
    stateUpdate = 9,
    stateStop = 10,
};

// Codes of the client's requests. 2 and 4 are not used.
enum RequestCode : std::int32_t {
    requestPidData = 1,
    requestPgmData = 3,
    requestPgmDetail = 5,
    requestPat = 6,
    requestCat = 7,
    requestNit = 8,
    requestSdt = 9,
    requestEit = 10,
    requestTdt = 11,
};

// One a process, zeroed at start.
struct MpegSession {
    std::int32_t state;           // a SessionState
    std::int32_t requestCode;     // a RequestCode
    std::int32_t requestParam;    // program index of requestPgmDetail; PID of the table for the PSI requests
    void* docSocket;              // the socket that documents are sent on
    std::int32_t updateCountdown; // update passes until the next document
};

} // namespace mpegfe
