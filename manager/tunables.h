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

// How long the last acknowledgement may take to leave at the end; a service that has gone costs this much.
inline constexpr milliseconds farewell{1000};

} // namespace manager::tunables
