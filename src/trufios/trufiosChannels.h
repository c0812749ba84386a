// The two ZeroMQ channels with the media manager, Trufios. It binds both endpoints; the service connects.
#pragma once

#include <cstdint>

namespace mpegfe {

// One a process, zeroed at start.
struct TrufiosChannels {
    void* context;
    void* mpegMstmlc;    // REQ: documents go out, Trufios acknowledges
    void* reserved[3];   // further channels
    void* mlcMstmpeg;    // REP: requests come in, the service acknowledges
    std::int32_t status; // cleared before each request; nothing reads it
};

// Opens both channels and prints a line for each. A null vtx, or a context, socket or connection that cannot
// be made, ends the process with an assertion report (after a line with the reason, for a connection). A
// manager that is not running yet is no error.
void initMPEGsideofMLC_MPEG_CTX(TrufiosChannels* vtx);

// Gives up a document that was not acknowledged in time: what has not been sent is dropped, and an
// acknowledgement that still comes goes nowhere, so that it is not taken for the next document's. The socket
// stays open for that one. A socket that is not connected to Trufios is left as it is.
void abandonDocument(void* docSocket);

// Closes both channels and their context without waiting for anything unsent, and sets the handles to null. A
// null vtx or a channel that is not open ends the process with an assertion report.
void closeMPEGsideofMLC_MPEG_CTX(TrufiosChannels* vtx);

} // namespace mpegfe
