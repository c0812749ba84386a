// Where service, parser board and media manager meet. Host and address of the parser board are each program's
// own matter; everything else is the same everywhere.
#pragma once

// Macros, because only literals can be put together to longer ones.
// NOLINTBEGIN(cppcoreguidelines-macro-usage)
#define WIRE_DIRECTORY "/run/shm/zmq"
#define WIRE_PARSER_PORT "5101"
// NOLINTEND(cppcoreguidelines-macro-usage)

namespace wire {

// Of the IPC endpoints. It has to be there before any of them is bound.
inline constexpr char directory[] = WIRE_DIRECTORY;

// TCP port of the parser board's publisher: PUB, records.
inline constexpr char parserPort[] = WIRE_PARSER_PORT;

// The parser board's: REP, instruction words.
inline constexpr char instructionEndpoint[] = "ipc://" WIRE_DIRECTORY "/uRO_MMR_MPEGFE-1";

// The media manager's: REP, documents.
inline constexpr char documentEndpoint[] = "ipc://" WIRE_DIRECTORY "/uRO_MpegFE_MMR";

// The media manager's: REQ, requests.
inline constexpr char requestEndpoint[] = "ipc://" WIRE_DIRECTORY "/uRO_MMR_MpegFE";

} // namespace wire
