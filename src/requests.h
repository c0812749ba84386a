// Client requests: which handler, session state and request code a request selects.
#pragma once

#include "feed/feedChannels.h"
#include "mpegSession.h"

#include <jansson.h>

namespace mpegfe {

enum RequestResult : int {
    requestServed = 0,
    requestRefused = 1,
};

// Runs the session for one parsed request, an object with "dataStream" and "status" or "patIndex"; null is a
// request that could not be parsed. A request that is not recognised, whose "status" is neither "on" nor
// "off", or that lacks the "patIndex" it needs is refused with console lines and starts nothing. Returns
// requestServed when the session ran.
RequestResult dispatchClientRequest(json_t* request, MpegSession* session, FeedContext* feed);

} // namespace mpegfe
