// Every tunable of the media manager, with its unit, in one place.
#pragma once

#include "wire/endpoints.h"

#include <chrono>
#include <cstddef>

namespace manager::tunables {

using std::chrono::milliseconds;
using std::chrono::seconds;

// Whoever holds this lock owns both endpoints.
inline constexpr const char* lockPath = WIRE_DIRECTORY "/mpegfe-manager.lock";

inline constexpr seconds timeout{10};           // for the next message, unless --timeout says otherwise
inline constexpr seconds longestTimeout{86400}; // that --timeout takes
inline constexpr int mostDocuments = 1'000'000; // that --documents takes

// How much later than a document the acknowledgement before it may be seen.
inline constexpr milliseconds overtaking{50};

inline constexpr std::size_t mostOrders =
    64; // requests that wait for the service, the one on the wire included
inline constexpr seconds recordsWait{
    5}; // a document that takes longer waits for a stream, not for its records

// How often the service is asked while somebody looks; the lists and what is looked at, kinds and scrambling
// of PIDs, PIDs of EMMs.
inline constexpr seconds listTime{1};
inline constexpr seconds kindsTime{10};
inline constexpr seconds emmTime{60};
inline constexpr seconds lookTime{10}; // how long somebody looks who says so once
// For a document, before something else is asked for, which costs nothing: a document that comes later still
// counts, and a service that is still at work takes the request when it is done.
inline constexpr milliseconds answerPatience{300};
inline constexpr int mostDoublings = 6; // of listTime, for what brings no document
inline constexpr seconds offDelay{3};   // nobody looks any more for so long

inline constexpr const char* webAddress = "127.0.0.1:8080"; // unless --web says otherwise
inline constexpr int mostConnections = 1100;                // of browsers
inline constexpr int otherDescriptors = 64;                 // kept for everything but them
inline constexpr std::size_t mostStreams = 200;             // of events
inline constexpr std::size_t mostWaiting = 8;               // messages for a stream that reads slowly
inline constexpr int streamSendBytes = 256 * 1024;          // in the system's buffer of a stream
inline constexpr std::size_t requestBytes = 16 * 1024;      // for a request's head, and an answer's way out
inline constexpr seconds idleConnection{30};                // until it is closed
inline constexpr milliseconds vanishedBrowser{10'000}; // has acknowledged nothing of a stream for so long
inline constexpr seconds heartbeat{10};                // of streams on which nothing is new
inline constexpr milliseconds publishTime{1000};       // between two changes
inline constexpr milliseconds settleTime{150};         // for what comes together
inline constexpr seconds openingTime{2}; // since somebody looks, in which only that is waited for
inline constexpr seconds streamStale{5}; // without a document

// How long the last acknowledgement may take to leave at the end; a service that has gone costs this much.
inline constexpr milliseconds farewell{1000};

} // namespace manager::tunables
